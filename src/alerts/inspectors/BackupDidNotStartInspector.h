// Alerts::BackupDidNotStartInspector: raises "BackupDidNotStart" when the next scheduled backup of a
// protection item is more than a grace time overdue and the item has not begun to run. One timer per
// item (XorGuids(plan, instance)) waits for the scheduled time plus the grace; an item that starts
// running clears its alert and timer. At Start it raises the alerts of the backups found overdue while
// the service was down. The host's calling order is the only guard.
#pragma once

#include "alerts/contract/Inspector.h"
#include "alerts/utils/TimeoutListener.h"
#include "common/Guid.h"
#include "dml/AutoSubscription.h"
#include "dml/ReportReader.h"
#include "dml/SubscriptionReader.h"
#include "dml/SynchronousDataStore.h"
#include "por/Forward.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Runtime
{
class ServiceHolder;
}

namespace Alerts
{

class BackupDidNotStartInspector final : public Inspector
{
public:
    // The feed's reader of item protections. Each event catches and logs its Common::Error.
    class ItemProtectionReader final : public Dml::ReportReader, public Dml::SubscriptionReader
    {
    public:
        // Alerts go to `listener` through a timeout listener that completes their meta with the plan's.
        ItemProtectionReader(std::shared_ptr<Listener> listener, std::uint32_t timeoutToStart,
                             Dml::SynchronousDataStore store, const Common::Guid& machineId);

        using Dml::ReportReader::OnSubject;
        using Dml::SubscriptionReader::OnCreated;
        using Dml::SubscriptionReader::OnDeleted;
        using Dml::SubscriptionReader::OnUpdated;
        void OnSubject(const Por::View::Unit& item) override;
        void OnCreated(const Por::View::Unit& item) override;
        // Acts only when the schedule or the state changed.
        void OnUpdated(const Por::View::Unit& before, const Por::View::Unit& after) override;
        // Clears the item's alert and drops its timer.
        void OnDeleted(const Por::View::Unit& item) override;

        Util::TimeoutListener& GetTimeoutListener() { return *Timeouts; }

    private:
        // Arms the timer of the item's schedule, or raises the alert now when the time has passed (not
        // when the item was just running).
        void ProcessChanges(const Por::View::Unit& item, std::int32_t previousState);
        void Guarded(const Por::View::Unit& item, const char* function, std::int32_t previousState);

        const std::shared_ptr<Util::TimeoutListener> Timeouts;
        const std::uint32_t TimeoutToStart;
        const Dml::SynchronousDataStore Store;
        const Common::Guid MachineID;
    };

    // The grace in seconds when the settings say nothing.
    static constexpr std::uint32_t DefaultTimeoutToStart = 20;
    // The item protection's "State" of a running backup.
    static constexpr std::int32_t RunningState = 1;

    // Takes the post office, the unit factory and the machine id; throws what they throw.
    explicit BackupDidNotStartInspector(Runtime::ServiceHolder& holder);
    ~BackupDidNotStartInspector() override;

    void Initialize(std::shared_ptr<Listener> listener, const Por::View::Unit& settings) override;
    void Deinitialize() override;
    void Start() override;
    void Stop() override;
    std::vector<std::string> GetAlertTypes() override;
    // Nothing changes.
    void ChangeSettings(const std::string& type, const Por::View::Unit& object,
                        const Common::WideString& tenantID) override;

private:
    // The overdue table read at Start; a failed read is logged and Start goes on.
    void ProcessOverdueBackups();

    Dml::PostOffice& PostOffice;
    const Por::Construction::UnitFactory& UnitFactory;
    const Common::Guid MachineID;
    std::shared_ptr<Listener> Next;
    std::shared_ptr<ItemProtectionReader> Reader;
    std::unique_ptr<Dml::AutoSubscription> Subscription;
};

} // namespace Alerts
