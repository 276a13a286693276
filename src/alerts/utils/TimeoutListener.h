// Alerts::Util::TimeoutListener: a listener that delays activations. ActivateAfter arms one timer per
// alert id on the timeout monitor's thread; when it fires, the meta function completes the partial meta
// and the next listener gets OnActive. A delay longer than a timer takes runs as a chain of 30-day
// slices. OnActive and OnInactive pass through at once and cancel a pending timer of the id. The map
// entry of a fired timer stays until the id is dropped. Thread-safe: the mutex guards the map alone and
// is never held while a timer is stopped or another listener is called.
#pragma once

#include "alerts/contract/Listener.h"
#include "common/Guid.h"
#include "common/Mutex.h"
#include "common/Timeout.h"
#include "common/WideString.h"
#include "dml/SynchronousDataStore.h"
#include "por/Forward.h"
#include "por/PorUnit.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace Alerts::Util
{

class TimeoutListener final : public Listener
{
public:
    // Makes the full meta of an alert from its partial meta; may read the store and throw Common::Error.
    using MetaFunction = std::function<Por::Unit(
        const Por::View::Unit& partialMeta, const Dml::SynchronousDataStore& store, std::string_view type)>;

    // The longest delay of one timer: 30 days.
    static constexpr std::uint64_t MaximumSlice = 2592000000;

    // What a timer alerts with; shared by the map entry and the running callback.
    struct TimeoutInfo : std::enable_shared_from_this<TimeoutInfo>
    {
        explicit TimeoutInfo(Dml::SynchronousDataStore store) : Store(std::move(store)) {}

        TimeoutListener* Owner = nullptr;
        std::uint64_t Remaining = 0; // the whole delay still to wait, this slice included
        Common::Guid AlertID;
        std::string Type;
        Por::ConstUnitPtr PartialMeta;
        Common::WideString TenantID;
        MetaFunction Meta;
        std::shared_ptr<Listener> Next;
        Dml::SynchronousDataStore Store;
    };

    TimeoutListener(MetaFunction meta, std::shared_ptr<Listener> next, Dml::SynchronousDataStore store);
    // StopAll: no callback runs once it returns.
    ~TimeoutListener() override;

    // Arms (or re-arms) the timer of `id`: after `delay` milliseconds the next listener gets OnActive with
    // the full meta. Throws Common::Error code 7 when the monitor's thread can't be started.
    void ActivateAfter(std::uint64_t delay, const Common::Guid& id, std::string_view type,
                       const Por::View::Unit& partialMeta, Common::WideStringView tenantID);

    // Drop the id's timer, then forward at once (OnActive with the full meta). The next listener's
    // and the meta function's errors pass to the caller.
    void OnActive(const Common::Guid& id, const std::string& type, const Por::View::Unit& meta,
                  const Common::WideString& tenantID) override;
    void OnInactive(const Common::Guid& id, const std::string& type,
                    const Common::WideString& tenantID) override;
    // Not forwarded: an action that has already succeeded.
    std::unique_ptr<Async::Action> CleanupAlerts(const std::string& addon,
                                                 const Por::View::Unit& pattern) override;
    std::unique_ptr<Async::Action> IgnoreAlerts(const std::string& addon,
                                                const Por::View::Unit& pattern) override;

    // Stops and forgets the timer of `id`, waiting for its callback if one runs on another thread.
    void DropIfExist(const Common::Guid& id);
    // Stops and forgets every timer.
    void StopAll();

private:
    struct Entry
    {
        Common::Timeout Timer;
        std::shared_ptr<TimeoutInfo> Info;
    };

    // Arms a timer for the info's next slice and enters it under its id, dropping the id's previous
    // entry. With `expected` set the entry is replaced only while it still holds that info: a slice does
    // not re-arm an alert that was dropped while it fired.
    void Arm(const std::shared_ptr<TimeoutInfo>& info, const TimeoutInfo* expected);
    // Takes the id's entry out of the map, under the mutex.
    bool TakeOut(const Common::Guid& id, Entry& taken);
    static unsigned TimeoutCallback(void* argument);
    static void Fire(const std::shared_ptr<TimeoutInfo>& info);

    const MetaFunction Meta;
    const std::shared_ptr<Listener> Next;
    const Dml::SynchronousDataStore Store;
    Common::Mutex Lock;
    std::map<Common::Guid, Entry> Timers; // guarded by Lock
};

} // namespace Alerts::Util
