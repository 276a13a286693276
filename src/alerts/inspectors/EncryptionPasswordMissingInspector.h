// Alerts::EncryptionPasswordMissingInspector keeps "EncryptionPasswordMissing" active while the tenant's
// enhanced security is on ("TenantSettings"."EnhancedSecurity"."Enabled") and this machine's system
// profile holds no password for "_any_archive_". The password is not in the store, so while the alert is
// active a cyclic timer checks again (delays from one minute growing fivefold up to "CheckPeriod"), and
// the alert clears itself at the first check that finds a password. It is its own subscription reader.
// The timer's callback may overlap a subscription event; the timer's own lock guards its start and stop.
#pragma once

#include "alerts/contract/Inspector.h"
#include "alerts/inspectors/MachineAlert.h"
#include "dml/SubscriptionReader.h"
#include "runtime/ServiceHolder.h"

#include <memory>
#include <optional>

namespace Common
{
class CyclicTimeout;
}

namespace Dml
{
class AutoSubscription;
}

namespace Alerts
{

class EncryptionPasswordMissingInspector final : public Inspector, public Dml::SubscriptionReader
{
public:
    explicit EncryptionPasswordMissingInspector(Runtime::ServiceHolder holder);
    ~EncryptionPasswordMissingInspector() override;

    // Takes the machine id (its failure is thrown), "EncryptionPasswordMissing"."CheckPeriod" (seconds,
    // default 3600) from `settings`, and makes the stopped timer and the feed.
    void Initialize(std::shared_ptr<Listener> listener, const Por::View::Unit& settings) override;
    // Releases the feed, then the timer, then the listener.
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
    void OnCreated(const Por::View::Unit& object) override;
    // Acts only when "EnhancedSecurity"."Enabled" changed.
    void OnUpdated(const Por::View::Unit& before, const Por::View::Unit& after) override;
    void OnDeleted(const Por::View::Unit& object) override;

private:
    static unsigned CheckPassword(void* self);
    void HandleSettings(const Por::View::Unit& settings);
    bool IsEncryptionPasswordSet() const;
    // Active: activate, then (re)start the timer. Inactive: stop the timer, then deactivate.
    void SetAlertState(bool active);

    const Runtime::ServiceHolder Holder;
    std::shared_ptr<Listener> TheListener;
    std::unique_ptr<Dml::AutoSubscription> Subscription;
    std::unique_ptr<Common::CyclicTimeout> Timer;
    std::optional<Detail::MachineAlert> Alert;
};

} // namespace Alerts
