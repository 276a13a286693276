// Alerts::Detail::PendingActivityReader: the reader of queued backups. A queued activity arms its
// process's "BackupQueued" timer in the progress listener, unless its instance is of a kind that waits
// in a queue by design; the timer and the alert go when the process's last queued activity leaves the
// queue. Updates change nothing. Callbacks catch and log their Common::Error. Thread-safe: the mutex
// guards the maps, and the listener is called outside it.
#pragma once

#include "common/Guid.h"
#include "dml/ReportReader.h"
#include "dml/SubscriptionReader.h"
#include "dml/SynchronousDataStore.h"
#include "por/Forward.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>

namespace Alerts::Detail
{

class ActivityProgressAlertListener;

class PendingActivityReader final : public Dml::ReportReader, public Dml::SubscriptionReader
{
public:
    // `listener` must outlive the reader; `timeout` is the seconds in the queue before the alert.
    PendingActivityReader(ActivityProgressAlertListener& listener, const Common::Guid& machineId,
                          Dml::SynchronousDataStore store, std::uint32_t timeout, std::string addon);

    // Instance types that never arm a timer.
    static bool IsIgnoredInstanceType(std::int32_t type);

    // Drops every timer and forgets every activity and process.
    void Stop();

    using Dml::ReportReader::OnSubject;
    using Dml::SubscriptionReader::OnCreated;
    using Dml::SubscriptionReader::OnDeleted;
    using Dml::SubscriptionReader::OnUpdated;
    void OnSubject(const Por::View::Unit& object) override;
    void OnCreated(const Por::View::Unit& activity) override;
    void OnUpdated(const Por::View::Unit& before, const Por::View::Unit& after) override;
    void OnDeleted(const Por::View::Unit& activity) override;

    std::uint32_t GetTimeout() const { return Timeout; }

private:
    // False when the activity's instance can't be found or is of an ignored type.
    bool IsWatchedInstance(const Common::Guid& instanceId) const;

    ActivityProgressAlertListener& Listener;
    const Common::Guid MachineID;
    const Dml::SynchronousDataStore Store;
    const std::uint32_t Timeout;
    const std::string Addon;
    std::mutex Lock;
    std::map<Common::Guid, Common::Guid> ActivityProcesses;           // activity to process; guarded by Lock
    std::map<Common::Guid, std::set<Common::Guid>> ProcessActivities; // guarded by Lock
};

} // namespace Alerts::Detail
