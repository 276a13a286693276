#include "runtime/ServiceHolder.h"

#include "common/CatalogIds.h"
#include "common/TextCatalog.h"

namespace Runtime
{
namespace
{

ComponentRegistry* Dereference(ComponentRegistry* registry)
{
    if (registry == nullptr)
    {
        throw Common::Error(COMMON_LOCATION("Runtime::`anonymous-namespace'::Dereference"),
                            Common::MakeErrorCode(0x017E, 0x0013),
                            Common::GetText(Common::Texts::IncorrectComponentManager));
    }
    return registry;
}

template <typename Interface>
Interface& Demand(Interface* found, const Common::ErrorLocation& location, std::uint32_t value,
                  Common::WideTextId text)
{
    if (found == nullptr)
    {
        throw Common::Error(location, Common::MakeErrorCode(0x017E, value), Common::GetText(text));
    }
    return *found;
}

} // namespace

ServiceHolder::ServiceHolder(ComponentRegistry* registry) : Registry(Dereference(registry)) {}

void* ServiceHolder::GetInterface(ComponentId id, const char* typeName, std::string_view interfaceName) const
{
    Common::DynamicCaster* component = Registry->GetComponent(id);
    if (component == nullptr)
    {
        return nullptr;
    }
    void* found = component->Cast(typeName);
    if (found == nullptr)
    {
        throw ComponentRegistry::MakeBadCastError(id, interfaceName);
    }
    return found;
}

ExecutionSubsystem& ServiceHolder::GetBrain() const
{
    return Demand(Get<ExecutionSubsystem>(ExecutionSubsystemId, "Runtime::ExecutionSubsystem"),
                  COMMON_LOCATION("Runtime::ServiceHolder::GetBrain"), 0x000A,
                  Common::Texts::ExecutionSubsystemMissing);
}

FeatureRegistry& ServiceHolder::GetFeatures() const
{
    return Demand(Get<FeatureRegistry>(FeatureRegistryId, "Runtime::FeatureRegistry"),
                  COMMON_LOCATION("Runtime::ServiceHolder::GetFeatures"), 0x000D,
                  Common::Texts::FeatureRegistryMissing);
}

MessageProcessor& ServiceHolder::GetMessageProcessor() const
{
    return Demand(Get<MessageProcessor>(MessageProcessorId, "Tol::MesssageProcessor"),
                  COMMON_LOCATION("Runtime::ServiceHolder::GetMessageProcessor"), 0x000F,
                  Common::Texts::MessageProcessorMissing);
}

Dml::ObjectRegistry& ServiceHolder::GetObjectRegistry() const
{
    return Demand(Get<Dml::ObjectRegistry>(ObjectRegistryId, "Dml::ObjectRegistry"),
                  COMMON_LOCATION("Runtime::ServiceHolder::GetObjectRegistry"), 0x000E,
                  Common::Texts::ObjectRegistryMissing);
}

Dml::PostOffice& ServiceHolder::GetPostOffice() const
{
    return Demand(Get<Dml::PostOffice>(PostOfficeId, "Dml::PostOffice"),
                  COMMON_LOCATION("Runtime::ServiceHolder::GetPostOffice"), 0x000B,
                  Common::Texts::DataManagementLayerMissing);
}

} // namespace Runtime
