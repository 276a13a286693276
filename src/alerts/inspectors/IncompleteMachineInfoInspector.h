// Alerts::IncompleteMachineInfoInspector keeps "IncompleteMachineInfo" active while this machine's record
// ("MachineManagement::ThisMachine") says that the operating system's information could not be
// collected ("Info"."OS"."Error" set). It is its own subscription reader and acts on every event without
// remembering the alert's state, so the listener sees repeats.
#pragma once

#include "alerts/contract/Inspector.h"
#include "alerts/inspectors/MachineAlert.h"
#include "dml/SubscriptionReader.h"
#include "runtime/ServiceHolder.h"

#include <memory>
#include <optional>

namespace Dml
{
class AutoSubscription;
}

namespace Alerts
{

class IncompleteMachineInfoInspector final : public Inspector, public Dml::SubscriptionReader
{
public:
    explicit IncompleteMachineInfoInspector(Runtime::ServiceHolder holder);
    ~IncompleteMachineInfoInspector() override;

    // Takes the machine id (its failure is thrown) and makes the feed; the record arrives at Start.
    void Initialize(std::shared_ptr<Listener> listener, const Por::View::Unit& settings) override;
    void Deinitialize() override;
    void Start() override;
    void Stop() override;
    std::vector<std::string> GetAlertTypes() override;
    // No settings of its own: does nothing.
    void ChangeSettings(const std::string& type, const Por::View::Unit& object,
                        const Common::WideString& tenantID) override;

    using Dml::SubscriptionReader::OnCreated;
    using Dml::SubscriptionReader::OnDeleted;
    using Dml::SubscriptionReader::OnUpdated;
    // A record without the error reads as success. A failure is logged.
    void OnCreated(const Por::View::Unit& object) override;
    // The error must be there: an update without it changes nothing and logs nothing.
    void OnUpdated(const Por::View::Unit& before, const Por::View::Unit& after) override;
    // Deactivates; a failure of the listener goes to the feed.
    void OnDeleted(const Por::View::Unit& object) override;

private:
    void Apply(const Common::Error& osError);

    const Runtime::ServiceHolder Holder;
    std::shared_ptr<Listener> TheListener;
    std::unique_ptr<Dml::AutoSubscription> Subscription;
    std::optional<Detail::MachineAlert> Alert;
};

} // namespace Alerts
