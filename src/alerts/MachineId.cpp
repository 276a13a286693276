#include "alerts/MachineId.h"

#include "runtime/MachineManager.h"
#include "runtime/ServiceHolder.h"

namespace Alerts::Detail
{

Common::Guid GetMachineId(const Runtime::ServiceHolder& holder)
{
    MachineManagement::MachineManager& manager = holder.Require<MachineManagement::MachineManager>(
        Runtime::MachineManagerId, "MachineManagement::MachineManager");
    Common::Guid id;
    const Common::Error result = manager.GetMachineId(id);
    if (result.GetCode() != 0)
    {
        throw result;
    }
    return id;
}

} // namespace Alerts::Detail
