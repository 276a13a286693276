// Host::Run::AlertBook: the host's listener for one inspector. It keeps alerts as the host does, as
// "Alerts::Object" objects in the store, one per alert id and type (key "<id>/<type>"), with "ID",
// "Type", "Inspector", "TenantID" and "Meta"; OnInactive with an empty type removes every type of the id.
// Each call is also handed to the event log with the virtual time. Thread-safe: readers and timers call
// it from any thread, and it only uses the synchronous store.
#pragma once

#include "alerts/contract/Listener.h"

#include <functional>
#include <string>

namespace Dml
{
class SynchronousDataStore;
}

namespace Host::Run
{

class EventLog;

class AlertBook final : public Alerts::Listener
{
public:
    // `now` gives the virtual milliseconds since the scenario's start.
    AlertBook(std::string inspector, std::size_t order, Dml::SynchronousDataStore& store, EventLog& log,
              std::function<std::uint64_t()> now);

    void OnActive(const Common::Guid& id, const std::string& type, const Por::View::Unit& meta,
                  const Common::WideString& tenantID) override;
    void OnInactive(const Common::Guid& id, const std::string& type,
                    const Common::WideString& tenantID) override;
    // The host cleans and ignores nothing for these inspectors: both give an action that succeeds.
    std::unique_ptr<Async::Action> CleanupAlerts(const std::string& addon,
                                                 const Por::View::Unit& pattern) override;
    std::unique_ptr<Async::Action> IgnoreAlerts(const std::string& addon,
                                                const Por::View::Unit& pattern) override;

private:
    const std::string Inspector;
    const std::size_t Order;
    Dml::SynchronousDataStore& Store;
    EventLog& Log;
    const std::function<std::uint64_t()> Now;
};

// The class of the stored alerts, and a pattern of them (all, or of one id).
inline constexpr const char16_t* AlertObjectClass = u"Alerts::Object";
Por::ConstUnitPtr MakeAlertPattern(const Common::Guid* id = nullptr);

} // namespace Host::Run
