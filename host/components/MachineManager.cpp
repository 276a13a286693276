#include "components/MachineManager.h"

namespace Host
{

MachineManager::MachineManager(const Common::Guid& machineId) : MachineId(machineId)
{
    RegisterInterface<MachineManagement::MachineManager>(this);
}

Common::Error MachineManager::GetMachineId(Common::Guid& id)
{
    std::lock_guard<std::mutex> guard(Lock);
    if (Failure.GetCode() != 0)
    {
        return Failure;
    }
    id = MachineId;
    return Common::Success;
}

void MachineManager::SetMachineId(const Common::Guid& machineId)
{
    std::lock_guard<std::mutex> guard(Lock);
    MachineId = machineId;
}

void MachineManager::SetFailure(Common::Error error)
{
    std::lock_guard<std::mutex> guard(Lock);
    Failure = std::move(error);
}

} // namespace Host
