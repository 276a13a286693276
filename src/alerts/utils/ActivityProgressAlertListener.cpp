#include "alerts/utils/ActivityProgressAlertListener.h"

#include "alerts/AlertGuids.h"
#include "alerts/AlertIdentity.h"
#include "alerts/AlertTypes.h"
#include "alerts/utils/LogHelpers.h"
#include "alerts/utils/MetaHelpers.h"
#include "async/Errors.h"
#include "por/Blob.h"
#include "por/Unit.h"

#include <set>
#include <string>

namespace Alerts::Detail
{
namespace
{

// The type as a text that lives as long as the process: the module's constant, or an interned copy.
const char* InternType(std::string_view type)
{
    for (const char* known :
         {AlertTypes::ActivityNotResponding, AlertTypes::BackupNotResponding, AlertTypes::BackupQueued})
    {
        if (type == known)
        {
            return known;
        }
    }
    static std::mutex lock;
    static std::set<std::string, std::less<>> others;
    std::lock_guard<std::mutex> guard(lock);
    return others.emplace(type).first->c_str();
}

} // namespace

ActivityProgressAlertListener::ActivityProgressAlertListener(Dml::SynchronousDataStore store,
                                                             const Common::Guid& machineId)
    : Store(std::move(store)), MachineID(machineId)
{
}

ActivityProgressAlertListener::~ActivityProgressAlertListener()
{
    StopAll();
}

void ActivityProgressAlertListener::SetNextListener(std::shared_ptr<Listener> next)
{
    std::lock_guard<std::mutex> guard(Lock);
    Next = std::move(next);
}

std::shared_ptr<Listener> ActivityProgressAlertListener::GetNext()
{
    std::lock_guard<std::mutex> guard(Lock);
    return Next;
}

Common::Guid ActivityProgressAlertListener::TimerKey(const Common::Guid& subjectId, std::string_view type)
{
    return XorGuids(subjectId,
                    type == AlertTypes::ActivityNotResponding ? NotRespondingTimerKey : ProgressAlertKey);
}

Common::Guid ActivityProgressAlertListener::AlertId(const Common::Guid& subjectId)
{
    return XorGuids(subjectId, ProgressAlertKey);
}

void ActivityProgressAlertListener::ActivateAfter(std::uint32_t delay, const Common::Guid& subjectId,
                                                  std::string_view type, const Por::View::Unit& partialMeta,
                                                  Common::WideStringView tenantID)
{
    Util::LogActivateAfter(delay, type, AlertId(subjectId), tenantID, partialMeta);
    auto info = std::make_shared<ActivityTimeoutInfo>();
    info->SubjectID = subjectId;
    info->Type = InternType(type);
    if (!tenantID.empty())
    {
        info->TenantID = std::make_unique<const Common::WideString>(tenantID);
    }
    info->PartialMeta.reserve(Por::Util::GetBlobSize(partialMeta));
    Por::Util::WriteBlob(partialMeta, info->PartialMeta);
    const Common::Guid key = TimerKey(subjectId, type);
    Entry replaced;
    {
        std::lock_guard<std::mutex> guard(Lock);
        // Armed under the mutex: its callback finds the map only once the entry is in it.
        auto timer = TimerWithCallback::Start(delay, info, &ActivityProgressAlertListener::OnTimer, this);
        Entry& slot = Timers[key];
        replaced = std::exchange(slot, Entry{std::move(timer), std::move(info)});
    }
    // The replaced info goes first, so that the old timer, should it fire now, finds nothing to do.
    replaced.second.reset();
    if (replaced.first != nullptr)
    {
        replaced.first->Stop();
    }
}

ActivityProgressAlertListener::Entry ActivityProgressAlertListener::TakeOut(const Common::Guid& key,
                                                                            const TimerWithCallback* only)
{
    std::lock_guard<std::mutex> guard(Lock);
    const auto found = Timers.find(key);
    if (found == Timers.end() || (only != nullptr && found->second.first.get() != only))
    {
        return {};
    }
    Entry taken = std::move(found->second);
    Timers.erase(found);
    return taken;
}

void ActivityProgressAlertListener::Deactivate(const Common::Guid& subjectId, std::string_view type,
                                               Common::WideStringView tenantID)
{
    Entry taken = TakeOut(TimerKey(subjectId, type), nullptr);
    taken.second.reset();
    if (taken.first != nullptr)
    {
        taken.first->Stop();
    }
    if (const std::shared_ptr<Listener> next = GetNext())
    {
        next->OnInactive(AlertId(subjectId), std::string(type), Common::WideString(tenantID));
    }
}

void ActivityProgressAlertListener::StopAll()
{
    std::unordered_map<Common::Guid, Entry, GuidHash> timers;
    {
        std::lock_guard<std::mutex> guard(Lock);
        timers.swap(Timers);
    }
    for (auto& [key, entry] : timers)
    {
        entry.second.reset();
        entry.first->Stop();
    }
}

void ActivityProgressAlertListener::OnTimer(void* self, const ActivityTimeoutInfo& info,
                                            TimerWithCallback& timer)
{
    auto& listener = *static_cast<ActivityProgressAlertListener*>(self);
    try
    {
        listener.OnTimeoutAction(info);
    }
    catch (const Common::Error& error)
    {
        Util::LogTimeoutFailure(COMMON_LOCATION("Alerts::Detail::ActivityProgressAlertListener::OnTimer"),
                                info.Type, error);
    }
    catch (...)
    {
        const Common::ErrorLocation site =
            COMMON_LOCATION("Alerts::Detail::ActivityProgressAlertListener::OnTimer");
        Util::LogTimeoutFailure(site, info.Type, Async::Errors::CurrentException(site, u"Timeout"));
    }
    // Only this timer's own entry: a newer timer of the key may have replaced it meanwhile.
    Entry own = listener.TakeOut(TimerKey(info.SubjectID, info.Type), &timer);
    if (own.first != nullptr)
    {
        own.first->Stop();
    }
}

void ActivityProgressAlertListener::OnTimeoutAction(const ActivityTimeoutInfo& info)
{
    const Common::Guid id = AlertId(info.SubjectID);
    Por::UnitPtr partialMeta = Por::Util::ReadBlob(info.PartialMeta, Por::GetUnitFactory());
    if (partialMeta == nullptr)
    {
        partialMeta = Por::Unit::Composite().GetRoot();
    }
    const Por::Unit meta = Util::GetProgressMeta(*partialMeta, Store, MachineID, info.Type);
    const std::shared_ptr<Listener> next = GetNext();
    if (next == nullptr)
    {
        return;
    }
    // Cleared first, so that a later firing replaces the meta of an alert still standing.
    const Common::WideString tenantID = info.GetTenantID();
    next->OnInactive(id, info.Type, tenantID);
    next->OnActive(id, info.Type, meta.Get(), tenantID);
}

} // namespace Alerts::Detail
