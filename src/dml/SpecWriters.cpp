#include "dml/SpecWriters.h"

#include "dml/QueryOptionNames.h"
#include "dml/QueryReaders.h"
#include "dml/QueryWriters.h"
#include "por/UnitAccess.h"
#include "por/Values.h"

namespace Dml::Query
{
namespace
{

// A clone of the options to write on, or a new composite.
Por::UnitPtr CloneOptions(const Por::ConstUnitPtr& options, const Por::Construction::UnitFactory& factory)
{
    if (options == nullptr)
    {
        return factory.CreateComposite();
    }
    const Por::ValueKind kind = Por::GetValueTypeIndex(*options);
    if (kind != Por::ValueKind::Composite)
    {
        throw Por::Util::Detail::MakeTypeMismatchError(Por::ValueKind::Composite, kind);
    }
    return Por::Util::Copy(*options, factory);
}

template <typename Write>
ViewSpec CopyOnWrite(const ViewSpec& spec, const Por::Construction::UnitFactory& factory, Write&& write)
{
    ViewSpec copy = spec;
    Por::UnitPtr options = CloneOptions(spec.Options, factory);
    write(*options);
    copy.Options = std::move(options);
    return copy;
}

} // namespace

ViewSpec WithLimit(const ViewSpec& spec, std::uint32_t limit, const Por::Construction::UnitFactory& factory)
{
    return CopyOnWrite(spec, factory,
                       [&](Por::Construction::Unit& options) { SetLimit(options, limit, factory); });
}

ViewSpec WithMask(const ViewSpec& spec, const Por::View::Unit& mask,
                  const Por::Construction::UnitFactory& factory)
{
    return CopyOnWrite(spec, factory,
                       [&](Por::Construction::Unit& options) { SetMask(options, mask, factory); });
}

ViewSpec WithTenantInfo(const ViewSpec& spec, const TenantInfo& tenant,
                        const Por::Construction::UnitFactory& factory)
{
    return CopyOnWrite(spec, factory,
                       [&](Por::Construction::Unit& options) { SetTenantInfo(options, tenant, factory); });
}

ViewSpec WithEntryPoint(const ViewSpec& spec, const Core::EntryPoint& entryPoint,
                        const Por::Construction::UnitFactory& factory)
{
    return CopyOnWrite(spec, factory,
                       [&](Por::Construction::Unit& options)
                       { SetEntryPoint(options, entryPoint, factory); });
}

ViewSpec WithAscendingOrder(const ViewSpec& spec, const Por::View::Unit& sortTemplate,
                            const Por::Construction::UnitFactory& factory)
{
    return CopyOnWrite(spec, factory,
                       [&](Por::Construction::Unit& options)
                       { AddAscendingOrder(options, sortTemplate, factory); });
}

ViewSpec WithDescendingOrder(const ViewSpec& spec, const Por::View::Unit& sortTemplate,
                             const Por::Construction::UnitFactory& factory)
{
    return CopyOnWrite(spec, factory,
                       [&](Por::Construction::Unit& options)
                       { AddDescendingOrder(options, sortTemplate, factory); });
}

ViewSpec WithAscendingTimeStampOrder(const ViewSpec& spec, const Por::Construction::UnitFactory& factory)
{
    return CopyOnWrite(spec, factory,
                       [&](Por::Construction::Unit& options)
                       { AddAscendingTimeStampOrder(options, factory); });
}

ViewSpec WithFullObjectNotifications(const ViewSpec& spec, const Por::Construction::UnitFactory& factory)
{
    return CopyOnWrite(spec, factory,
                       [&](Por::Construction::Unit& options)
                       { SetFullObjectNotifications(options, factory); });
}

ViewSpec WithReentrantNotifications(const ViewSpec& spec, const Por::Construction::UnitFactory& factory)
{
    return CopyOnWrite(spec, factory,
                       [&](Por::Construction::Unit& options)
                       { SetReentrantNotifications(options, factory); });
}

ViewSpec WithCacheReadDisabled(const ViewSpec& spec, const Por::Construction::UnitFactory& factory)
{
    return CopyOnWrite(spec, factory,
                       [&](Por::Construction::Unit& options) { SetCacheReadDisabled(options, factory); });
}

ViewSpec WithCounter(const ViewSpec& spec, const Por::Construction::UnitFactory& factory)
{
    return CopyOnWrite(spec, factory,
                       [&](Por::Construction::Unit& options) { SetCounter(options, factory); });
}

Por::ConstUnitPtr WithoutFullObjectNotifications(const Por::ConstUnitPtr& options,
                                                 const Por::Construction::UnitFactory& factory)
{
    if (options == nullptr || !IsFullObjectNotifications(*options))
    {
        return options;
    }
    Por::UnitPtr clone = Por::Util::Copy(*options, factory);
    Por::Util::GetComposite(*clone).Remove(Names::FullObjectNotifications);
    return clone;
}

} // namespace Dml::Query
