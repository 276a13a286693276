#include "components/Components.h"

#include <utility>

namespace Host
{

Components::Components(const Common::Guid& machineId)
    : Components(std::make_unique<Store::MemoryStore>(), machineId)
{
}

Components::Components(std::unique_ptr<Store::MemoryStore> store, const Common::Guid& machineId)
    : TheStore(std::move(store)), StoreEntry(*TheStore), Machine(machineId), View(Vault)
{
    Registry.Register(Runtime::PostOfficeId, StoreEntry);
    Registry.Register(Runtime::ObjectRegistryId, StoreEntry);
    Registry.Register(Runtime::MachineManagerId, Machine);
    Registry.Register(Runtime::ProfileVaultId, Vault);
    Registry.Register(Runtime::ProfileViewId, View);
}

Components::~Components() = default;

} // namespace Host
