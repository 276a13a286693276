// Alerts::Util::PerProcessCallback: a listener that lets one alert per parent process through. An
// activation whose meta names a "ParentProcess" that an alert already passed for is swallowed, and stays
// swallowed until that first alert is cleared; a meta without one is forwarded with no bookkeeping.
// Deactivations always pass. Thread-safe: a small mutex guards the map and is never held while the next
// listener runs.
#pragma once

#include "alerts/contract/Listener.h"
#include "common/Guid.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace Alerts::Util
{

class PerProcessCallback final : public Listener
{
public:
    // `addon` signs the log line of a meta without "ParentProcess".
    PerProcessCallback(std::shared_ptr<Listener> next, std::string addon);

    // The next listener's errors pass to the caller.
    void OnActive(const Common::Guid& id, const std::string& type, const Por::View::Unit& meta,
                  const Common::WideString& tenantID) override;
    void OnInactive(const Common::Guid& id, const std::string& type,
                    const Common::WideString& tenantID) override;
    // Not forwarded: an action that has already succeeded.
    std::unique_ptr<Async::Action> CleanupAlerts(const std::string& addon,
                                                 const Por::View::Unit& pattern) override;
    std::unique_ptr<Async::Action> IgnoreAlerts(const std::string& addon,
                                                const Por::View::Unit& pattern) override;

private:
    const std::shared_ptr<Listener> Next;
    const std::string Addon;
    std::mutex Lock;
    std::map<Common::Guid, Common::Guid> ParentProcesses; // alert id to parent process; guarded by Lock
};

} // namespace Alerts::Util
