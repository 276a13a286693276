// Alerts::ActivityNotRespondingInspector: raises "ActivityNotResponding" or "BackupNotResponding" when a
// running business activity shows no change for its duration, and "BackupQueued" when a queued backup
// stays queued. Two feeds (running and queued activities) drive one watchdog listener, which sends at
// most one alert per parent process to the host. Timers live only in memory, so Start wipes the stored
// alerts of its three types and the opening reports arm every watchdog afresh. The host's calling order
// is the only guard; ChangeSettings may come from another thread than the feeds.
#pragma once

#include "alerts/contract/Inspector.h"
#include "alerts/utils/ActivityProgressAlertListener.h"
#include "common/Guid.h"
#include "dml/AutoSubscription.h"
#include "dml/SynchronousDataStore.h"
#include "por/Forward.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Runtime
{
class ServiceHolder;
}

namespace Alerts
{

namespace Detail
{
class PendingActivityReader;
class ProgressReader;
} // namespace Detail

class ActivityNotRespondingInspector final : public Inspector
{
public:
    // Seconds without change, and in the queue, when the settings say nothing.
    static constexpr std::uint32_t DefaultDuration = 3600;
    static constexpr std::uint32_t DefaultQueuedDuration = 5;

    // Takes the post office, the object registry and the machine id; throws what they throw.
    explicit ActivityNotRespondingInspector(Runtime::ServiceHolder& holder);
    ~ActivityNotRespondingInspector() override;

    void Initialize(std::shared_ptr<Listener> listener, const Por::View::Unit& settings) override;
    void Deinitialize() override;
    // A store failure of the wipe leaves as Common::Error, and the feeds are not started.
    void Start() override;
    void Stop() override;
    std::vector<std::string> GetAlertTypes() override;
    // The type's running-watchdog duration: the object's "Duration", else the initial settings' one, else
    // DefaultDuration. Running timers keep their length until their activity changes; "BackupQueued" is
    // fixed at Initialize and stays.
    void ChangeSettings(const std::string& type, const Por::View::Unit& object,
                        const Common::WideString& tenantID) override;

    // The "Duration" of `type` in `settings`, or `fallback`.
    static std::uint32_t ReadDuration(const Por::View::Unit& settings, std::string_view type,
                                      std::uint32_t fallback);
    // For tests: the reader of running activities (null before Initialize).
    const Detail::ProgressReader* GetProgressReader() const { return Progress.get(); }

private:
    void SubscribeToFrozenActivities(const Por::View::Unit& settings);
    void SubscribeToPendingActivities(const Por::View::Unit& settings);

    Dml::PostOffice& PostOffice;
    Dml::ObjectRegistry& ObjectRegistry;
    const Common::Guid MachineID;
    const Dml::SynchronousDataStore Store;
    // Declared before the readers and feeds that use it, so that it is destroyed after them.
    Detail::ActivityProgressAlertListener ProgressListener;
    Por::ConstUnitPtr Settings;
    std::shared_ptr<Detail::ProgressReader> Progress;
    std::shared_ptr<Detail::PendingActivityReader> Pending;
    std::unique_ptr<Dml::AutoSubscription> FrozenSubscription;
    std::unique_ptr<Dml::AutoSubscription> PendingSubscription;
};

} // namespace Alerts
