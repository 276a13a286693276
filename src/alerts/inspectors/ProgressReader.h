// Alerts::Detail::ProgressReader: the reader of running activities. Every report object, creation and
// update of an activity is a sign of life: it clears the activity's process alert and re-arms its
// watchdog in the progress listener; an activity that leaves the running states drops its watchdog and
// clears the alert. A plan run's process, once seen with the plan command, makes every activity of that
// process backup work ("BackupNotResponding"). Callbacks catch and log their Common::Error. Thread-safe:
// the mutex guards the maps, and the listener is called outside it.
#pragma once

#include "alerts/utils/GuidHash.h"
#include "common/Guid.h"
#include "dml/ReportReader.h"
#include "dml/SubscriptionReader.h"
#include "dml/SynchronousDataStore.h"
#include "por/Forward.h"
#include "por/PorUnit.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace Alerts::Detail
{

class ActivityProgressAlertListener;

class ProgressReader final : public Dml::ReportReader, public Dml::SubscriptionReader
{
public:
    struct ActivityInfo
    {
        Common::Guid ProcessID;
        const char* AlertType = nullptr; // one of the module's alert-type constants
        Common::Guid CommandID;
    };

    static constexpr std::uint32_t DefaultTimeout = 3600;

    // `listener` must outlive the reader; `addon` signs log lines and errors.
    ProgressReader(ActivityProgressAlertListener& listener, const Common::Guid& machineId,
                   Dml::SynchronousDataStore store, std::string addon);

    // Seconds without change before "ActivityNotResponding" or "BackupNotResponding"; other types are
    // ignored. Running timers keep their length. Thread-safe.
    void SetTimeout(std::string_view type, std::uint32_t seconds);
    // The value of one of the two types; DefaultTimeout for another type.
    std::uint32_t GetTimeout(std::string_view type) const;
    // Drops every watchdog and forgets every activity and plan process.
    void Stop();

    using Dml::ReportReader::OnSubject;
    using Dml::SubscriptionReader::OnCreated;
    using Dml::SubscriptionReader::OnDeleted;
    using Dml::SubscriptionReader::OnUpdated;
    void OnSubject(const Por::View::Unit& object) override;
    void OnCreated(const Por::View::Unit& activity) override;
    void OnUpdated(const Por::View::Unit& before, const Por::View::Unit& after) override;
    void OnDeleted(const Por::View::Unit& activity) override;

    // The meta the watchdog starts from: machine, plan, instance and process, the activity it points
    // at with its period, and for "ActivityNotResponding" the activity's name.
    Por::Unit GetPartialMeta(const Por::View::Unit& activity, const Common::Guid& activityId,
                             std::string_view type) const;

    // For tests and measurements: what is tracked now.
    std::size_t GetTrackedCount() const;
    bool IsPlanProcess(const Common::Guid& process) const;

private:
    // Enters the activity's info under the mutex; returns its alert type and the info it replaced.
    std::pair<const char*, std::optional<ActivityInfo>> UpdateActivityInfo(const Common::Guid& activityId,
                                                                           const Common::Guid& commandId,
                                                                           const Common::Guid& processId);

    ActivityProgressAlertListener& Listener;
    const Common::Guid MachineID;
    const Dml::SynchronousDataStore Store;
    const std::string Addon;
    std::atomic<std::uint32_t> BackupTimeout{DefaultTimeout};
    std::atomic<std::uint32_t> ActivityTimeout{DefaultTimeout};
    mutable std::mutex Lock;
    std::set<Common::Guid> BackupPlanProcesses;                              // guarded by Lock
    std::unordered_map<Common::Guid, ActivityInfo, GuidHash> ActivitiesInfo; // guarded by Lock
};

} // namespace Alerts::Detail
