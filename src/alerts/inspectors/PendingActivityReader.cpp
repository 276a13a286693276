#include "alerts/inspectors/PendingActivityReader.h"

#include "alerts/AlertTypes.h"
#include "alerts/MetaKeys.h"
#include "alerts/inspectors/ActivityReference.h"
#include "alerts/utils/ActivityProgressAlertListener.h"
#include "alerts/utils/ActivityWalker.h"
#include "alerts/utils/LogHelpers.h"
#include "alerts/utils/MetaReaders.h"
#include "common/Clock.h"
#include "dml/QueryOptionNames.h"
#include "por/PorUnit.h"

#include <algorithm>
#include <array>
#include <limits>

namespace Alerts::Detail
{
namespace
{

// Instances of these types wait in a queue by design.
constexpr std::array<std::int32_t, 12> IgnoredInstanceTypes = {4, 5, 6, 14, 19, 20, 21, 22, 23, 24, 25, 26};

// The instance's "Type" only; null when there is no such instance.
Por::UnitPtr GetInstance(const Common::Guid& instanceId, const Dml::SynchronousDataStore& store)
{
    Por::Unit pattern = Por::Unit::Composite();
    pattern.AddTrait("Is", Por::Unit(u"InstanceManagement::Instance").Get());
    pattern["ID"] = instanceId;
    Por::Unit options = Por::Unit::Composite();
    options[Dml::Query::Names::Mask][".Type"] = true;
    return store.ReadSingleOrNone(CORE_ENTRY_POINT(), Dml::ViewSpec{pattern.Result(), options.Result()});
}

std::uint32_t ToMilliseconds(std::uint32_t seconds)
{
    return static_cast<std::uint32_t>(
        std::min<std::uint64_t>(std::uint64_t{seconds} * 1000, std::numeric_limits<std::uint32_t>::max()));
}

} // namespace

PendingActivityReader::PendingActivityReader(ActivityProgressAlertListener& listener,
                                             const Common::Guid& machineId, Dml::SynchronousDataStore store,
                                             std::uint32_t timeout, std::string addon)
    : Listener(listener), MachineID(machineId), Store(std::move(store)), Timeout(timeout),
      Addon(std::move(addon))
{
}

bool PendingActivityReader::IsIgnoredInstanceType(std::int32_t type)
{
    return std::find(IgnoredInstanceTypes.begin(), IgnoredInstanceTypes.end(), type) !=
           IgnoredInstanceTypes.end();
}

void PendingActivityReader::Stop()
{
    Listener.StopAll();
    std::lock_guard<std::mutex> guard(Lock);
    ActivityProcesses.clear();
    ProcessActivities.clear();
}

void PendingActivityReader::OnSubject(const Por::View::Unit& object)
{
    OnCreated(object);
}

void PendingActivityReader::OnUpdated(const Por::View::Unit&, const Por::View::Unit&) {}

bool PendingActivityReader::IsWatchedInstance(const Common::Guid& instanceId) const
{
    const Por::UnitPtr instance = GetInstance(instanceId, Store);
    if (instance == nullptr)
    {
        return false;
    }
    std::int32_t type = 0;
    return !Util::TryReadInt(*instance, ".Type", type, Addon, true) || !IsIgnoredInstanceType(type);
}

void PendingActivityReader::OnCreated(const Por::View::Unit& activity)
{
    try
    {
        const Common::Guid activityId = GetActivityID(activity);
        Por::Unit meta = Por::Unit::Composite();
        meta[MetaKeys::MachineID] = MachineID;
        Util::CopyGuid(meta, MetaKeys::PlanID, activity, ".Environment.ProtectionPlanID", Addon, false);
        if (Util::CopyGuid(meta, MetaKeys::InstanceID, activity, ".Environment.InstanceID", Addon, false) &&
            !IsWatchedInstance(meta[MetaKeys::InstanceID].As<Common::Guid>()))
        {
            return;
        }
        FillActivityReference(meta, activity, activityId, Util::ActivityWalker::IsBusiness(activity), Store,
                              Addon);
        meta[MetaKeys::Time] = Common::GetClock().GetWallTime().Seconds;
        const Common::Guid processId = GetProcessID(activity, activityId, Addon);
        bool first = false;
        {
            std::lock_guard<std::mutex> guard(Lock);
            ActivityProcesses[activityId] = processId;
            std::set<Common::Guid>& activities = ProcessActivities[processId];
            first = activities.empty();
            activities.insert(activityId);
        }
        if (first)
        {
            Listener.Deactivate(processId, AlertTypes::BackupQueued, u"");
        }
        Listener.ActivateAfter(ToMilliseconds(Timeout), processId, AlertTypes::BackupQueued, meta.Get(), u"");
    }
    catch (const Common::Error& error)
    {
        Util::LogObjectFailure(COMMON_LOCATION("Alerts::Detail::PendingActivityReader::OnCreated"), Addon,
                               activity, error);
    }
}

void PendingActivityReader::OnDeleted(const Por::View::Unit& activity)
{
    try
    {
        const Common::Guid activityId = GetActivityID(activity);
        Common::Guid processId;
        bool last = false;
        {
            std::lock_guard<std::mutex> guard(Lock);
            const auto found = ActivityProcesses.find(activityId);
            if (found != ActivityProcesses.end())
            {
                processId = found->second;
                std::set<Common::Guid>& activities = ProcessActivities[processId];
                activities.erase(activityId);
                // An id that shares its process with another queued activity stays, and so does the
                // process's emptied set: leftovers that Stop clears.
                if (activities.empty())
                {
                    ActivityProcesses.erase(found);
                    last = true;
                }
            }
        }
        if (last)
        {
            Listener.Deactivate(processId, AlertTypes::BackupQueued, u"");
        }
    }
    catch (const Common::Error& error)
    {
        Util::LogObjectFailure(COMMON_LOCATION("Alerts::Detail::PendingActivityReader::OnDeleted"), Addon,
                               activity, error);
    }
}

} // namespace Alerts::Detail
