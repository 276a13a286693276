#include "alerts/utils/TimeoutListener.h"

#include "alerts/utils/LogHelpers.h"
#include "async/Errors.h"
#include "async/ImmediateResultAction.h"
#include "common/Log.h"
#include "por/UnitAccess.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace Alerts::Util
{
namespace
{

void LogAlertId(const Common::ErrorLocation& site, const char* format, const Common::Guid& id)
{
    Logging::Log(site, LogLevels::Debug, GetAlertsChannel(), format, Common::GuidToString(id).c_str());
}

} // namespace

TimeoutListener::TimeoutListener(MetaFunction meta, std::shared_ptr<Listener> next,
                                 Dml::SynchronousDataStore store)
    : Meta(std::move(meta)), Next(std::move(next)), Store(std::move(store))
{
}

TimeoutListener::~TimeoutListener()
{
    StopAll();
}

void TimeoutListener::ActivateAfter(std::uint64_t delay, const Common::Guid& id, std::string_view type,
                                    const Por::View::Unit& partialMeta, Common::WideStringView tenantID)
{
    auto info = std::make_shared<TimeoutInfo>(Store);
    info->Owner = this;
    info->Remaining = delay;
    info->AlertID = id;
    info->Type = type;
    info->PartialMeta = Por::Util::Copy(partialMeta, Por::GetUnitFactory());
    info->TenantID = tenantID;
    info->Meta = Meta;
    info->Next = Next;
    Arm(info, nullptr);
}

void TimeoutListener::Arm(const std::shared_ptr<TimeoutInfo>& info, const TimeoutInfo* expected)
{
    const auto slice = static_cast<std::uint32_t>(std::min(info->Remaining, MaximumSlice));
    LogActivateAfter(info->Remaining, info->Type, info->AlertID, info->TenantID, *info->PartialMeta);
    Entry dropped;
    bool found = false;
    {
        Common::MutexLock guard(Lock);
        const auto current = Timers.find(info->AlertID);
        if (expected != nullptr && (current == Timers.end() || current->second.Info.get() != expected))
        {
            return; // dropped while its slice ran out
        }
        found = current != Timers.end();
        if (found)
        {
            LogAlertId(COMMON_LOCATION("Alerts::Util::TimeoutListener::DropIfExist"),
                       "DropIfExist: AlertID %s found, stopping and erasing timer", info->AlertID);
            dropped = std::move(current->second);
            Timers.erase(current);
        }
        else
        {
            LogAlertId(COMMON_LOCATION("Alerts::Util::TimeoutListener::DropIfExist"),
                       "DropIfExist: AlertID %s not found, no action taken", info->AlertID);
        }
        // Armed under the mutex, so that no drop of the id can slip between arming and entering. A
        // slice's callback takes the mutex only after waiting its slice, never at once.
        Timers[info->AlertID] = Entry{Common::Timeout(&TimeoutCallback, info.get(), slice, false), info};
    }
    // Outside the mutex: the dropped timer's callback may be waiting for it.
    dropped.Timer.Stop();
}

bool TimeoutListener::TakeOut(const Common::Guid& id, Entry& taken)
{
    Common::MutexLock guard(Lock);
    const auto found = Timers.find(id);
    if (found == Timers.end())
    {
        LogAlertId(COMMON_LOCATION("Alerts::Util::TimeoutListener::DropIfExist"),
                   "DropIfExist: AlertID %s not found, no action taken", id);
        return false;
    }
    LogAlertId(COMMON_LOCATION("Alerts::Util::TimeoutListener::DropIfExist"),
               "DropIfExist: AlertID %s found, stopping and erasing timer", id);
    taken = std::move(found->second);
    Timers.erase(found);
    return true;
}

void TimeoutListener::DropIfExist(const Common::Guid& id)
{
    Entry taken;
    if (TakeOut(id, taken))
    {
        // Waits for a callback under way on another thread, which keeps the info alive until it ends.
        taken.Timer.Stop();
    }
}

void TimeoutListener::StopAll()
{
    std::map<Common::Guid, Entry> timers;
    {
        Common::MutexLock guard(Lock);
        timers.swap(Timers);
    }
    for (auto& [id, entry] : timers)
    {
        entry.Timer.Stop();
    }
}

void TimeoutListener::OnActive(const Common::Guid& id, const std::string& type, const Por::View::Unit& meta,
                               const Common::WideString& tenantID)
{
    LogAlertId(COMMON_LOCATION("Alerts::Util::TimeoutListener::OnActive"),
               "OnActive: AlertID %s, dropping old timer if it is active", id);
    DropIfExist(id);
    const Por::Unit full = Meta(meta, Store, type);
    Next->OnActive(id, type, full.Get(), tenantID);
}

void TimeoutListener::OnInactive(const Common::Guid& id, const std::string& type,
                                 const Common::WideString& tenantID)
{
    LogAlertId(COMMON_LOCATION("Alerts::Util::TimeoutListener::OnInactive"),
               "OnInactive: AlertID %s, dropping old timer if it is active", id);
    DropIfExist(id);
    Next->OnInactive(id, type, tenantID);
}

std::unique_ptr<Async::Action> TimeoutListener::CleanupAlerts(const std::string&, const Por::View::Unit&)
{
    return Async::MakeImmediateResult();
}

std::unique_ptr<Async::Action> TimeoutListener::IgnoreAlerts(const std::string&, const Por::View::Unit&)
{
    return Async::MakeImmediateResult();
}

unsigned TimeoutListener::TimeoutCallback(void* argument)
{
    // Whoever removes the entry stops this timer first, which waits for this call: the info lives now,
    // and the reference keeps it through a re-arm that drops the entry from inside the call.
    const std::shared_ptr<TimeoutInfo> info = static_cast<TimeoutInfo*>(argument)->shared_from_this();
    try
    {
        Fire(info);
    }
    catch (const Common::Error& error)
    {
        LogTimeoutFailure(COMMON_LOCATION("Alerts::Util::TimeoutListener::TimeoutCallback"), info->Type,
                          error);
    }
    catch (...)
    {
        LogTimeoutFailure(COMMON_LOCATION("Alerts::Util::TimeoutListener::TimeoutCallback"), info->Type,
                          Async::Errors::CurrentException(
                              COMMON_LOCATION("Alerts::Util::TimeoutListener::TimeoutCallback"), u"Timeout"));
    }
    return 0;
}

void TimeoutListener::Fire(const std::shared_ptr<TimeoutInfo>& info)
{
    if (info->Remaining >= MaximumSlice)
    {
        // A long wait is a chain of slices: the next one carries the rest.
        auto next = std::make_shared<TimeoutInfo>(*info);
        next->Remaining = info->Remaining - MaximumSlice;
        info->Owner->Arm(next, info.get());
        return;
    }
    const Por::Unit full = info->Meta(*info->PartialMeta, info->Store, info->Type);
    info->Next->OnActive(info->AlertID, info->Type, full.Get(), info->TenantID);
}

} // namespace Alerts::Util
