#include "alerts/inspectors/MachineAlert.h"

#include "alerts/AlertIdentity.h"
#include "alerts/MetaKeys.h"
#include "alerts/contract/Listener.h"
#include "alerts/utils/LogHelpers.h"
#include "alerts/utils/MetaHelpers.h"
#include "por/PorUnit.h"

namespace Alerts::Detail
{

MachineAlert::MachineAlert(const char* addon, const char* type, const Common::Guid& seed,
                           const Common::Guid& machineId, Common::Error (*makeError)())
    : Addon(addon), Type(type), MachineId(machineId), Id(XorGuids(seed, machineId)), MakeError(makeError)
{
}

void MachineAlert::Activate(Listener& listener, Dml::PostOffice& postOffice) const
{
    Util::LogText(Addon, 1, "Activating alert");
    // This machine's instance; without one the id stays null and the name empty.
    Common::Guid instanceId;
    Common::WideString machineName;
    Util::TryGetInstance(postOffice, Addon, instanceId, machineName);
    Por::Unit meta = Por::Unit::Composite();
    meta[MetaKeys::MachineID] = MachineId;
    meta[MetaKeys::InstanceID] = instanceId;
    meta[MetaKeys::MachineName] = machineName;
    meta[MetaKeys::Error] = MakeError();
    listener.OnActive(Id, Type, meta.Get(), Common::WideString());
}

void MachineAlert::Deactivate(Listener& listener) const
{
    Util::LogText(Addon, 1, "Deactivating alert");
    listener.OnInactive(Id, Type, Common::WideString());
}

} // namespace Alerts::Detail
