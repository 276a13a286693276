// Host::ComponentRegistry: the reference host's numbered components. A component is registered under
// its id, either borrowed (it must outlive its registration) or shared with the registry; registering an
// id again replaces the component. GetComponent is safe from any thread, also during registration.
#pragma once

#include "runtime/ComponentRegistry.h"

#include <map>
#include <memory>
#include <shared_mutex>

namespace Host
{

class ComponentRegistry final : public Runtime::ComponentRegistry
{
public:
    Common::DynamicCaster* GetComponent(Runtime::ComponentId id) override;

    void Register(Runtime::ComponentId id, Common::DynamicCaster& component);
    void Register(Runtime::ComponentId id, std::shared_ptr<Common::DynamicCaster> component);
    // An id that was never registered is left alone.
    void Unregister(Runtime::ComponentId id);

private:
    struct Entry
    {
        Common::DynamicCaster* Component = nullptr;
        std::shared_ptr<Common::DynamicCaster> Owned; // null for a borrowed component
    };

    std::shared_mutex Lock;
    std::map<Runtime::ComponentId, Entry> Components;
};

} // namespace Host
