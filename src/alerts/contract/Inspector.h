// Alerts::Inspector: one watcher of the store that tells the host's Listener when its alerts become
// active or inactive. The host keeps the calling order, which is the only guard: Initialize, Start, any
// number of ChangeSettings, Stop, Deinitialize, destruction. Each step may throw Common::Error.
#pragma once

#include "common/NonCopyable.h"
#include "common/WideString.h"
#include "por/Forward.h"

#include <memory>
#include <string>
#include <vector>

namespace Alerts
{

class Listener;

class Inspector : Common::NonCopyable
{
public:
    virtual ~Inspector();

    // Keeps `listener` until Deinitialize; `settings` holds the default settings, one property per
    // alert-type name. No notification reaches the inspector before Start.
    virtual void Initialize(std::shared_ptr<Listener> listener, const Por::View::Unit& settings) = 0;
    // Afterwards the inspector holds no listener.
    virtual void Deinitialize() = 0;
    virtual void Start() = 0;
    // When Stop returns, none of the inspector's readers or timers runs any more.
    virtual void Stop() = 0;
    // The names of the alert types the inspector stands for.
    virtual std::vector<std::string> GetAlertTypes() = 0;
    // The settings object `object` of `type` changed for `tenantID`.
    virtual void ChangeSettings(const std::string& type, const Por::View::Unit& object,
                                const Common::WideString& tenantID) = 0;
};

} // namespace Alerts
