#include "alerts/inspectors/OverdueItemProtections.h"

#include "alerts/AlertIdentity.h"
#include "alerts/AlertTypes.h"
#include "alerts/MetaKeys.h"
#include "alerts/utils/LogHelpers.h"
#include "alerts/utils/MetaHelpers.h"
#include "alerts/utils/MetaReaders.h"
#include "por/PorUnit.h"

namespace Alerts::Detail
{

OverdueItemProtections::OverdueItemProtections(std::shared_ptr<Listener> listener,
                                               Dml::SynchronousDataStore store, const Common::Guid& machineId,
                                               std::string addon)
    : Next(std::move(listener)), Store(std::move(store)), MachineID(machineId), Addon(std::move(addon))
{
}

bool OverdueItemProtections::Process(const Por::View::Unit& record)
{
    try
    {
        Raise(record);
    }
    catch (const Common::Error& error)
    {
        Util::LogObjectFailure(COMMON_LOCATION("Alerts::Detail::OverdueItemProtections::Process"), Addon,
                               record, error);
    }
    return false;
}

void OverdueItemProtections::Raise(const Por::View::Unit& record)
{
    Common::Guid instance;
    Common::WideString name;
    if (!Util::TryReadGuid(record, ".InstanceID", instance, Addon, true) ||
        !Util::TryGetInstanceName(instance, name, Store, Addon))
    {
        return;
    }
    std::int64_t startTime = 0;
    const bool hasStart = Util::TryReadTime(record, ".StartTime", startTime, Addon, true);
    Common::Guid plan;
    Util::TryReadGuid(record, ".PlanID", plan, Addon, true);

    Por::Unit meta = Por::Unit::Composite();
    meta[MetaKeys::PlanID] = plan;
    meta[MetaKeys::InstanceID] = instance;
    meta[MetaKeys::MachineID] = MachineID;
    if (hasStart)
    {
        meta[MetaKeys::Time] = startTime;
    }
    meta[MetaKeys::MachineName] = name;
    const Por::Unit full = Util::GetOverdueMeta(meta.Get(), Store, Addon);
    Next->OnActive(XorGuids(plan, instance), AlertTypes::BackupDidNotStart, full.Get(), u"");
}

} // namespace Alerts::Detail
