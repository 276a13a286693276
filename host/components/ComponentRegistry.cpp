#include "components/ComponentRegistry.h"

#include <mutex>

namespace Host
{

Common::DynamicCaster* ComponentRegistry::GetComponent(Runtime::ComponentId id)
{
    std::shared_lock<std::shared_mutex> guard(Lock);
    const auto found = Components.find(id);
    return found != Components.end() ? found->second.Component : nullptr;
}

void ComponentRegistry::Register(Runtime::ComponentId id, Common::DynamicCaster& component)
{
    std::unique_lock<std::shared_mutex> guard(Lock);
    Components.insert_or_assign(id, Entry{&component, nullptr});
}

void ComponentRegistry::Register(Runtime::ComponentId id, std::shared_ptr<Common::DynamicCaster> component)
{
    Common::DynamicCaster* const pointer = component.get();
    std::unique_lock<std::shared_mutex> guard(Lock);
    Components.insert_or_assign(id, Entry{pointer, std::move(component)});
}

void ComponentRegistry::Unregister(Runtime::ComponentId id)
{
    std::shared_ptr<Common::DynamicCaster> released;
    {
        std::unique_lock<std::shared_mutex> guard(Lock);
        const auto found = Components.find(id);
        if (found == Components.end())
        {
            return;
        }
        released = std::move(found->second.Owned);
        Components.erase(found);
    }
    // An owned component goes here, outside the lock.
}

} // namespace Host
