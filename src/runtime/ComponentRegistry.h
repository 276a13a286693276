// Runtime::ComponentRegistry: the host's numbered components, each reached through its cast table.
// The registry belongs to the host and outlives the add-on; GetComponent is safe from any thread.
#pragma once

#include "common/DynamicCaster.h"
#include "common/Error.h"
#include "common/NonCopyable.h"

#include <cstdint>
#include <string_view>

namespace Runtime
{

using ComponentId = std::uint32_t;

// Ids of the host's components that the add-on asks for.
inline constexpr ComponentId TaskManagerId = 144;
inline constexpr ComponentId MachineManagerId = 145;
inline constexpr ComponentId ConfigurationManagerId = 182;
inline constexpr ComponentId PostOfficeId = 272;
inline constexpr ComponentId ObjectRegistryId = 273;
inline constexpr ComponentId EnvironmentAccessorId = 292;
inline constexpr ComponentId UnitFactoryProviderId = 298;
inline constexpr ComponentId MessageProcessorId = 304;
inline constexpr ComponentId ExecutionSubsystemId = 308;
inline constexpr ComponentId MessagingSystemId = 319;
inline constexpr ComponentId FeatureRegistryId = 320;
// The access layer's host services: the vault of secrets and the reader of profile data.
inline constexpr ComponentId ProfileVaultId = 336;
inline constexpr ComponentId ProfileViewId = 337;
inline constexpr ComponentId SessionManagerId = 344;

class ComponentRegistry : Common::NonCopyable
{
public:
    virtual ~ComponentRegistry() = default;
    // The component with `id`, or null.
    virtual Common::DynamicCaster* GetComponent(ComponentId id) = 0;

    // 0x00AC0002: the component named by the table, or by its number, can't be found.
    static Common::Error MakeNotFoundError(ComponentId id);
    // 0x017E0019: the component is not of the interface `interfaceName`.
    static Common::Error MakeBadCastError(ComponentId id, std::string_view interfaceName);
};

// The name of a well-known component for messages, or null.
const char* GetComponentName(ComponentId id);

} // namespace Runtime
