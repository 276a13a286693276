#include "alerts/inspectors/ProgressReader.h"

#include "alerts/AlertGuids.h"
#include "alerts/AlertTypes.h"
#include "alerts/MetaKeys.h"
#include "alerts/inspectors/ActivityReference.h"
#include "alerts/utils/ActivityProgressAlertListener.h"
#include "alerts/utils/ActivityWalker.h"
#include "alerts/utils/LogHelpers.h"
#include "alerts/utils/MetaReaders.h"
#include "common/Log.h"

#include <algorithm>
#include <limits>

namespace Alerts::Detail
{
namespace
{

// Seconds to the timer's 32-bit milliseconds; a duration beyond 49 days waits the longest a timer can.
std::uint32_t ToMilliseconds(std::uint32_t seconds)
{
    return static_cast<std::uint32_t>(
        std::min<std::uint64_t>(std::uint64_t{seconds} * 1000, std::numeric_limits<std::uint32_t>::max()));
}

} // namespace

ProgressReader::ProgressReader(ActivityProgressAlertListener& listener, const Common::Guid& machineId,
                               Dml::SynchronousDataStore store, std::string addon)
    : Listener(listener), MachineID(machineId), Store(std::move(store)), Addon(std::move(addon))
{
}

void ProgressReader::SetTimeout(std::string_view type, std::uint32_t seconds)
{
    if (type == AlertTypes::ActivityNotResponding)
    {
        ActivityTimeout.store(seconds, std::memory_order_relaxed);
    }
    else if (type == AlertTypes::BackupNotResponding)
    {
        BackupTimeout.store(seconds, std::memory_order_relaxed);
    }
}

std::uint32_t ProgressReader::GetTimeout(std::string_view type) const
{
    if (type == AlertTypes::ActivityNotResponding)
    {
        return ActivityTimeout.load(std::memory_order_relaxed);
    }
    if (type == AlertTypes::BackupNotResponding)
    {
        return BackupTimeout.load(std::memory_order_relaxed);
    }
    return DefaultTimeout;
}

void ProgressReader::Stop()
{
    Listener.StopAll();
    std::lock_guard<std::mutex> guard(Lock);
    ActivitiesInfo.clear();
    BackupPlanProcesses.clear();
}

void ProgressReader::OnSubject(const Por::View::Unit& object)
{
    OnCreated(object);
}

void ProgressReader::OnUpdated(const Por::View::Unit&, const Por::View::Unit& after)
{
    OnCreated(after);
}

void ProgressReader::OnCreated(const Por::View::Unit& activity)
{
    try
    {
        const Common::Guid activityId = GetActivityID(activity);
        Common::Guid commandId;
        Util::TryReadGuid(activity, ".Details.CommandID", commandId, Addon, false);
        const Common::Guid processId = GetProcessID(activity, activityId, Addon);
        const auto [type, previous] = UpdateActivityInfo(activityId, commandId, processId);
        if (previous)
        {
            // A sign of life clears an alert that had fired, and a timer of another type.
            Listener.Deactivate(previous->ProcessID, previous->AlertType, u"");
        }
        const Por::Unit meta = GetPartialMeta(activity, activityId, type);
        Listener.ActivateAfter(ToMilliseconds(GetTimeout(type)), processId, type, meta.Get(), u"");
    }
    catch (const Common::Error& error)
    {
        Util::LogObjectFailure(COMMON_LOCATION("Alerts::Detail::ProgressReader::OnCreated"), Addon, activity,
                               error);
    }
}

std::pair<const char*, std::optional<ProgressReader::ActivityInfo>>
ProgressReader::UpdateActivityInfo(const Common::Guid& activityId, const Common::Guid& commandId,
                                   const Common::Guid& processId)
{
    constexpr const char* Function = "Alerts::Detail::ProgressReader::UpdateActivityInfo";
    std::lock_guard<std::mutex> guard(Lock);
    LogGuids(COMMON_LOCATION(Function), LogLevels::Debug,
             "UpdateActivityInfo: Updating ActivityInfo for ActivityID %s with CommandID %s and ProcessID %s",
             activityId, commandId, processId);
    const char* type = AlertTypes::ActivityNotResponding;
    const bool planCommand = commandId == BackupPlanCommandID;
    if (planCommand || BackupPlanProcesses.count(processId) != 0)
    {
        type = AlertTypes::BackupNotResponding;
        LogGuids(COMMON_LOCATION(Function), LogLevels::Debug,
                 "UpdateActivityInfo: CommandID %s or ProcessID %s is associated with a backup plan, setting "
                 "alert "
                 "type to BackupNotResponding",
                 commandId, processId);
    }
    std::optional<ActivityInfo> previous;
    const auto found = ActivitiesInfo.find(activityId);
    if (found != ActivitiesInfo.end())
    {
        LogGuids(COMMON_LOCATION(Function), LogLevels::Debug,
                 "UpdateActivityInfo: Found existing ActivityInfo for ActivityID %s", activityId);
        previous = found->second;
        found->second = ActivityInfo{processId, type, commandId};
    }
    else
    {
        LogGuids(COMMON_LOCATION(Function), LogLevels::Debug,
                 "UpdateActivityInfo: No existing ActivityInfo found for ActivityID %s", activityId);
        ActivitiesInfo.emplace(activityId, ActivityInfo{processId, type, commandId});
        if (planCommand)
        {
            BackupPlanProcesses.insert(processId);
            LogGuids(
                COMMON_LOCATION(Function), LogLevels::Debug,
                "UpdateActivityInfo: Added ProcessID %s to BackupPlanProcesses as it is associated with a "
                "backup "
                "plan",
                processId);
        }
    }
    return {type, previous};
}

Por::Unit ProgressReader::GetPartialMeta(const Por::View::Unit& activity, const Common::Guid& activityId,
                                         std::string_view type) const
{
    constexpr const char* Function = "Alerts::Detail::ProgressReader::GetPartialMeta";
    Por::Unit meta = Por::Unit::Composite();
    meta[MetaKeys::MachineID] = MachineID;
    Util::CopyGuid(meta, MetaKeys::PlanID, activity, ".Environment.ProtectionPlanID", Addon, false);
    Util::CopyGuid(meta, MetaKeys::InstanceID, activity, ".Environment.InstanceID", Addon, false);
    Util::CopyGuid(meta, MetaKeys::ParentProcess, activity, ".Origin.ParentProcess", Addon, true);
    Logging::Log(COMMON_LOCATION(Function), LogLevels::Debug, Util::GetAlertsChannel(), "%s",
                 "GetPartialMeta: Copied ProtectionPlanID, InstanceID, and ParentProcess to partialMeta");
    const bool isBusiness = Util::ActivityWalker::IsBusiness(activity);
    Logging::Log(COMMON_LOCATION(Function), LogLevels::Debug, Util::GetAlertsChannel(),
                 "GetPartialMeta: Determined isBusiness = %s", isBusiness ? "true" : "false");
    if (FillActivityReference(meta, activity, activityId, isBusiness, Store, Addon) ==
        ActivityReference::Itself)
    {
        // The line names the parent that was not found, the null guid, as it always has.
        LogGuids(COMMON_LOCATION(Function), LogLevels::Debug, "GetPartialMeta: Found ParentActivityID %s",
                 Common::NullGuid);
    }
    if (type == AlertTypes::ActivityNotResponding)
    {
        Util::CopyString(meta, MetaKeys::ActivityName, activity, ".Name", Addon, true);
    }
    return meta;
}

void ProgressReader::OnDeleted(const Por::View::Unit& activity)
{
    constexpr const char* Function = "Alerts::Detail::ProgressReader::OnDeleted";
    try
    {
        const Common::Guid activityId = GetActivityID(activity);
        std::optional<ActivityInfo> info;
        {
            std::lock_guard<std::mutex> guard(Lock);
            const auto found = ActivitiesInfo.find(activityId);
            if (found != ActivitiesInfo.end())
            {
                info = found->second;
                LogGuids(COMMON_LOCATION(Function), LogLevels::Debug,
                         "Activity info for id %s is going to be erased from ActivitiesInfo", activityId);
                ActivitiesInfo.erase(found);
                if (info->CommandID == BackupPlanCommandID)
                {
                    LogGuids(COMMON_LOCATION(Function), LogLevels::Debug,
                             "A backup plan activity, info about the parent process for id %s is going to be "
                             "erased",
                             activityId);
                    BackupPlanProcesses.erase(info->ProcessID);
                }
            }
        }
        if (!info)
        {
            LogGuids(COMMON_LOCATION(Function), LogLevels::Error,
                     "Activity with id %s was not found in ProgressReader", activityId);
            return;
        }
        LogGuids(COMMON_LOCATION(Function), LogLevels::Debug,
                 "Callback.OnInactive, checking parentprocessid %s for activity id %s", info->ProcessID,
                 activityId);
        Listener.Deactivate(info->ProcessID, info->AlertType, u"");
    }
    catch (const Common::Error& error)
    {
        Util::LogObjectFailure(COMMON_LOCATION("Alerts::Detail::ProgressReader::OnDeleted"), Addon, activity,
                               error);
    }
}

std::size_t ProgressReader::GetTrackedCount() const
{
    std::lock_guard<std::mutex> guard(Lock);
    return ActivitiesInfo.size();
}

bool ProgressReader::IsPlanProcess(const Common::Guid& process) const
{
    std::lock_guard<std::mutex> guard(Lock);
    return BackupPlanProcesses.count(process) != 0;
}

} // namespace Alerts::Detail
