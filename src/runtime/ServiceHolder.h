// Runtime::ServiceHolder: the facade through which the add-on takes the host's services from the
// component registry. It keeps no component: each call asks again, and a missing service throws a
// Common::Error that names it. Copyable; as thread-safe as the registry.
#pragma once

#include "common/DynamicCaster.h"
#include "runtime/ComponentRegistry.h"

#include <string_view>

namespace Dml
{
class PostOffice;
class ObjectRegistry;
} // namespace Dml

namespace Runtime
{

// Interfaces of host services the add-on can reach but does not call.
class ExecutionSubsystem;
class FeatureRegistry;
class MessageProcessor;

class ServiceHolder
{
public:
    explicit ServiceHolder(ComponentRegistry& registry) : Registry(&registry) {}
    // Throws 0x017E0013 "An incorrect component manager has been referenced." for a null registry.
    explicit ServiceHolder(ComponentRegistry* registry);

    // Each throws its code and text when the component is absent, and 0x017E0019 when it is present
    // but not of the interface.
    ExecutionSubsystem& GetBrain() const;           // 308, 0x017E000A
    FeatureRegistry& GetFeatures() const;           // 320, 0x017E000D
    MessageProcessor& GetMessageProcessor() const;  // 304, 0x017E000F
    Dml::ObjectRegistry& GetObjectRegistry() const; // 273, 0x017E000E
    Dml::PostOffice& GetPostOffice() const;         // 272, 0x017E000B

    ComponentRegistry& GetComponentRegistry() const { return *Registry; }

    // The component `id` as `Interface`: null when absent; throws 0x017E0019 (naming `interfaceName`)
    // when present but not of the interface.
    template <typename Interface>
    Interface* Get(ComponentId id, std::string_view interfaceName) const
    {
        return static_cast<Interface*>(
            GetInterface(id, Common::InterfaceTypeName<Interface>(), interfaceName));
    }

    // As Get, but an absent component throws 0x00AC0002 (ComponentRegistry::MakeNotFoundError).
    template <typename Interface>
    Interface& Require(ComponentId id, std::string_view interfaceName) const
    {
        Interface* found = Get<Interface>(id, interfaceName);
        if (found == nullptr)
        {
            throw ComponentRegistry::MakeNotFoundError(id);
        }
        return *found;
    }

private:
    void* GetInterface(ComponentId id, const char* typeName, std::string_view interfaceName) const;

    ComponentRegistry* Registry;
};

} // namespace Runtime
