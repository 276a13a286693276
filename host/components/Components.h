// Host::Components: the reference host's set of components over one store, registered under their ids:
// the store as post office (272) and object registry (273), the machine manager (145), the profile vault
// (336) and view (337). What tests and the host build inspectors with. Not copyable; the members live as
// long as the set.
#pragma once

#include "common/NonCopyable.h"
#include "components/ComponentRegistry.h"
#include "components/MachineManager.h"
#include "components/ProfileVault.h"
#include "components/ProfileView.h"
#include "components/StoreComponent.h"
#include "runtime/ServiceHolder.h"
#include "store/MemoryStore.h"

#include <memory>

namespace Host
{

class Components : Common::NonCopyable
{
public:
    // A new store in memory, without persistence.
    explicit Components(const Common::Guid& machineId = Common::NullGuid);
    // Over `store`, which the set owns from now on.
    Components(std::unique_ptr<Store::MemoryStore> store, const Common::Guid& machineId);
    ~Components();

    Store::MemoryStore& GetStore() { return *TheStore; }
    Host::MachineManager& GetMachineManager() { return Machine; }
    Host::ProfileVault& GetProfileVault() { return Vault; }
    Host::ProfileView& GetProfileView() { return View; }
    Host::ComponentRegistry& GetRegistry() { return Registry; }

    // A holder over the registry, valid while the set lives.
    Runtime::ServiceHolder MakeServiceHolder() { return Runtime::ServiceHolder(Registry); }

private:
    std::unique_ptr<Store::MemoryStore> TheStore;
    StoreComponent StoreEntry;
    Host::MachineManager Machine;
    Host::ProfileVault Vault;
    Host::ProfileView View;
    Host::ComponentRegistry Registry;
};

} // namespace Host
