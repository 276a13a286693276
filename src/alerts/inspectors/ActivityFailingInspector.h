// Alerts::ActivityFailingInspector: turns finished activities of the history into alerts: failed,
// canceled or finished with warnings. An alert raised for a plan clears when a new activity with the same
// id starts. The feed resumes after the "DmlTimeStamp" of the last handled activity, persisted in the
// store, so activities that finished while the inspector was down are replayed oldest first; on the
// first start (no mark) the last finishes kept by the item protections stand in for the history. The
// host's calling order is the only guard.
#pragma once

#include "alerts/contract/Inspector.h"
#include "alerts/utils/ActivityWalker.h"
#include "common/Guid.h"
#include "dml/AutoSubscription.h"
#include "dml/SubscriptionReader.h"
#include "dml/SynchronousDataStore.h"
#include "por/Forward.h"
#include "por/PorUnit.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Dml
{
class ObjectRegistry;
class PostOffice;
} // namespace Dml

namespace Runtime
{
class ServiceHolder;
}

namespace Alerts
{

class ActivityFailingInspector final : public Inspector
{
public:
    // The feed's reader. Runs one notification at a time on the feed's thread and blocks in store reads.
    class ActivityReader final : public Dml::SubscriptionReader
    {
    public:
        ActivityReader(std::shared_ptr<Listener> listener, Dml::PostOffice& postOffice,
                       Dml::ObjectRegistry& objectRegistry, const Common::Guid& machineId);

        using Dml::SubscriptionReader::OnCreated;
        using Dml::SubscriptionReader::OnDeleted;
        using Dml::SubscriptionReader::OnUpdated;
        // A started activity clears the alerts of its id; a finished one (the opening report hands over
        // finished activities too) is processed. A failing listener on the clearing branch is not caught:
        // the error goes to the feed.
        void OnCreated(const Por::View::Unit& activity) override;
        // Only a change of "State" to finished counts.
        void OnUpdated(const Por::View::Unit& before, const Por::View::Unit& after) override;
        void OnDeleted(const Por::View::Unit& activity) override;

        // The walker's predicate: a failed result or any warning.
        static bool HasProblem(const Por::View::Unit& activity);

    private:
        // Alerts if the walker picks the activity, then stores the mark; a Common::Error is logged and
        // skips the mark, so the activity comes again after a restart.
        void ProcessCompletedActivity(const Por::View::Unit& activity);
        void GenerateAlertForBackupCommands(const Por::View::Unit& activity);
        void GenerateAlertForOtherCommands(const Por::View::Unit& activity);
        // Strict reads log a miss at level 3, the others at level 1.
        Por::Unit GetActivityMeta(const Por::View::Unit& activity, bool strict);
        // The nearest ancestor run by a backup command, or null.
        Por::UnitPtr FindParentBackup(const Por::View::Unit& activity);
        // The activity named by "Environment"."ParentProtectActivityID", or null.
        Por::UnitPtr GetParentAcivity(const Por::View::Unit& activity);
        void StoreLastDmlTimeStamp(const Por::View::Unit& activity);

        Util::ActivityWalker Walker;
        const std::shared_ptr<Listener> Next;
        Dml::PostOffice& PostOffice;
        Dml::ObjectRegistry& ObjectRegistry;
        const Common::Guid MachineID;
        const Dml::SynchronousDataStore Store;
    };

    // Takes the post office, the object registry, the unit factory and the machine id; throws what they
    // throw.
    explicit ActivityFailingInspector(Runtime::ServiceHolder& holder);
    ~ActivityFailingInspector() override;

    // `settings` is not read. Reads the mark; without one, raises the alerts of the item protections'
    // last finishes before the feed is made, and the feed's opening report is empty.
    void Initialize(std::shared_ptr<Listener> listener, const Por::View::Unit& settings) override;
    void Deinitialize() override;
    void Start() override;
    void Stop() override;
    std::vector<std::string> GetAlertTypes() override;
    // Nothing changes.
    void ChangeSettings(const std::string& type, const Por::View::Unit& object,
                        const Common::WideString& tenantID) override;

private:
    // False when there is no mark or it cannot be read (logged): a failing store looks like a first start.
    bool TryReadLastDmlTimeStamp(std::int64_t& value);
    // A failed report is logged and the start goes on.
    void InspectItemProtections();
    Dml::SynchronousDataStore MakeStore() const;

    std::unique_ptr<Dml::AutoSubscription> Subscription;
    std::shared_ptr<ActivityReader> Reader;
    std::shared_ptr<Listener> Next;
    Dml::PostOffice& PostOffice;
    Dml::ObjectRegistry& ObjectRegistry;
    const Por::Construction::UnitFactory& UnitFactory;
    const Common::Guid MachineID;
};

} // namespace Alerts
