#include "alerts/InspectorAddons.h"

#include "alerts/contract/Inspector.h"
#include "alerts/inspectors/InspectorFactories.h"

#include <utility>

namespace Alerts
{

ActivityFailingInspectorAddon::ActivityFailingInspectorAddon(std::string name, std::uint32_t version)
    : InspectorAddonBase(std::move(name), version)
{
}

std::unique_ptr<Inspector> ActivityFailingInspectorAddon::CreateInspector(Runtime::ServiceHolder& holder)
{
    return Detail::CreateActivityFailingInspector(holder);
}

ActivityNotRespondingInspectorAddon::ActivityNotRespondingInspectorAddon(std::string name,
                                                                         std::uint32_t version)
    : InspectorAddonBase(std::move(name), version)
{
}

std::unique_ptr<Inspector>
ActivityNotRespondingInspectorAddon::CreateInspector(Runtime::ServiceHolder& holder)
{
    return Detail::CreateActivityNotRespondingInspector(holder);
}

BackupDidNotStartInspectorAddon::BackupDidNotStartInspectorAddon(std::string name, std::uint32_t version)
    : InspectorAddonBase(std::move(name), version)
{
}

std::unique_ptr<Inspector> BackupDidNotStartInspectorAddon::CreateInspector(Runtime::ServiceHolder& holder)
{
    return Detail::CreateBackupDidNotStartInspector(holder);
}

EncryptionPasswordMissingInspectorAddon::EncryptionPasswordMissingInspectorAddon(std::string name,
                                                                                 std::uint32_t version)
    : InspectorAddonBase(std::move(name), version)
{
}

std::unique_ptr<Inspector>
EncryptionPasswordMissingInspectorAddon::CreateInspector(Runtime::ServiceHolder& holder)
{
    return Detail::CreateEncryptionPasswordMissingInspector(holder);
}

IncompleteMachineInfoInspectorAddon::IncompleteMachineInfoInspectorAddon(std::string name,
                                                                         std::uint32_t version)
    : InspectorAddonBase(std::move(name), version)
{
}

std::unique_ptr<Inspector>
IncompleteMachineInfoInspectorAddon::CreateInspector(Runtime::ServiceHolder& holder)
{
    return Detail::CreateIncompleteMachineInfoInspector(holder);
}

} // namespace Alerts
