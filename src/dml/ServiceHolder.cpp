#include "dml/ServiceHolder.h"

#include "Platform/LineTag.h"
#include "dml/Errors.h"
#include "por/UnitFactory.h"

namespace Dml
{
namespace
{

Common::ErrorLocation ToLocation(const ServiceHolder::CallSite& site)
{
    return Common::ErrorLocation{Platform::ComputeLineTag(site.File, site.Line), site.File, site.Function,
                                 site.Line};
}

template <typename Service>
Service& Demand(Service* service, const Common::ErrorLocation& site, const char16_t* name)
{
    if (service == nullptr)
    {
        throw Errors::MakeServiceMissing(site, name);
    }
    return *service;
}

} // namespace

ServiceHolder::ServiceHolder(PostOffice* postOffice) : ServiceHolder(postOffice, nullptr) {}

ServiceHolder::ServiceHolder(PostOffice* postOffice, ObjectRegistry* registry)
    : ServiceHolder(postOffice, registry, &Por::GetUnitFactory())
{
}

ServiceHolder::ServiceHolder(PostOffice* postOffice, ObjectRegistry* registry,
                             const Por::Construction::UnitFactory* factory)
    : PostOfficePointer(postOffice), Registry(registry), UnitFactory(factory)
{
}

const Por::Construction::UnitFactory& ServiceHolder::GetUnitFactory(CallSite site) const
{
    return GetUnitFactory(ToLocation(site));
}

PostOffice& ServiceHolder::GetPostOffice(CallSite site) const
{
    return GetPostOffice(ToLocation(site));
}

ObjectRegistry& ServiceHolder::GetObjectRegistry(CallSite site) const
{
    return GetObjectRegistry(ToLocation(site));
}

const Por::Construction::UnitFactory& ServiceHolder::GetUnitFactory(const Common::ErrorLocation& site) const
{
    return Demand(UnitFactory, site, u"UnitFactory");
}

PostOffice& ServiceHolder::GetPostOffice(const Common::ErrorLocation& site) const
{
    return Demand(PostOfficePointer, site, u"PostOffice");
}

ObjectRegistry& ServiceHolder::GetObjectRegistry(const Common::ErrorLocation& site) const
{
    return Demand(Registry, site, u"ObjectRegistry");
}

} // namespace Dml
