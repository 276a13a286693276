// Alerts::Listener: the host's sink for alert state, implemented by the host and by the decorators that
// inspectors put in front of it. Inspectors call it from reader callbacks and timer routines, so an
// implementation must be thread-safe; it must not call back into the inspector.
#pragma once

#include "common/Guid.h"
#include "common/NonCopyable.h"
#include "common/WideString.h"
#include "por/Forward.h"

#include <memory>
#include <string>

namespace Async
{
class Action;
}

namespace Alerts
{

class Listener : Common::NonCopyable
{
public:
    virtual ~Listener();

    // The alert `id` of `type` is active, described by `meta`; `tenantID` is empty for this module's
    // inspectors.
    virtual void OnActive(const Common::Guid& id, const std::string& type, const Por::View::Unit& meta,
                          const Common::WideString& tenantID) = 0;
    // The alert `id` is no longer active; an empty `type` means any type under that id.
    virtual void OnInactive(const Common::Guid& id, const std::string& type,
                            const Common::WideString& tenantID) = 0;
    // Remove, or stop reporting, the stored alerts of add-on `addon` that match `pattern`. The action does
    // the work when performed; the caller owns it.
    virtual std::unique_ptr<Async::Action> CleanupAlerts(const std::string& addon,
                                                         const Por::View::Unit& pattern) = 0;
    virtual std::unique_ptr<Async::Action> IgnoreAlerts(const std::string& addon,
                                                        const Por::View::Unit& pattern) = 0;
};

} // namespace Alerts
