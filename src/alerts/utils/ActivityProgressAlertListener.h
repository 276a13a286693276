// Alerts::Detail::ActivityProgressAlertListener: the watchdog of the not-responding and queued alerts.
// ActivateAfter (re-)arms one timer per subject and kind: "ActivityNotResponding" has its own timer, the
// other types share one. When a timer fires, its alert is cleared and raised anew with the full meta, so
// a later firing replaces the meta; Deactivate drops the timer and clears the alert whether or not a
// timer ran. The alert id is XorGuids(subject, ProgressAlertKey) for every type. Thread-safe: the mutex
// guards the map and the next listener, and no timer is stopped and no listener called under it.
#pragma once

#include "alerts/contract/Listener.h"
#include "alerts/utils/ActivityTimeoutInfo.h"
#include "alerts/utils/GuidHash.h"
#include "alerts/utils/TimerWithCallback.h"
#include "common/Guid.h"
#include "common/NonCopyable.h"
#include "common/WideString.h"
#include "dml/SynchronousDataStore.h"
#include "por/Forward.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace Alerts::Detail
{

class ActivityProgressAlertListener : Common::NonCopyable
{
public:
    // `machineId` names the machine in the log lines of the meta look-ups.
    ActivityProgressAlertListener(Dml::SynchronousDataStore store, const Common::Guid& machineId);
    // StopAll.
    ~ActivityProgressAlertListener();

    // The listener the alerts go to; null (the start, and after the inspector let its listener go) sends
    // nothing.
    void SetNextListener(std::shared_ptr<Listener> next);

    // Arms the timer of (subject, type) for `delay` milliseconds, replacing the one that runs. Throws
    // Common::Error code 7 when no thread can be started.
    void ActivateAfter(std::uint32_t delay, const Common::Guid& subjectId, std::string_view type,
                       const Por::View::Unit& partialMeta, Common::WideStringView tenantID);
    // Drops the timer of (subject, type) and clears the subject's alert of `type`. The next listener's
    // errors pass to the caller.
    void Deactivate(const Common::Guid& subjectId, std::string_view type, Common::WideStringView tenantID);
    // Drops every timer, waiting for callbacks under way.
    void StopAll();

    // The map key of a subject's timer: XorGuids with NotRespondingTimerKey for "ActivityNotResponding",
    // with ProgressAlertKey for any other type.
    static Common::Guid TimerKey(const Common::Guid& subjectId, std::string_view type);
    // XorGuids(subject, ProgressAlertKey).
    static Common::Guid AlertId(const Common::Guid& subjectId);

private:
    using Entry = std::pair<std::shared_ptr<TimerWithCallback>, std::shared_ptr<ActivityTimeoutInfo>>;

    static void OnTimer(void* self, const ActivityTimeoutInfo& info, TimerWithCallback& timer);
    // Clears and raises the subject's alert with the full meta.
    void OnTimeoutAction(const ActivityTimeoutInfo& info);
    // Takes the key's entry out of the map; with `only` set, only when it holds that timer.
    Entry TakeOut(const Common::Guid& key, const TimerWithCallback* only);
    std::shared_ptr<Listener> GetNext();

    const Dml::SynchronousDataStore Store;
    const Common::Guid MachineID;
    std::mutex Lock;
    std::shared_ptr<Listener> Next;                           // guarded by Lock
    std::unordered_map<Common::Guid, Entry, GuidHash> Timers; // guarded by Lock
};

} // namespace Alerts::Detail
