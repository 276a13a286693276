#include "alerts/inspectors/BackupDidNotStartInspector.h"

#include "alerts/AddonNames.h"
#include "alerts/AlertIdentity.h"
#include "alerts/AlertTypes.h"
#include "alerts/InspectorAlertTypes.h"
#include "alerts/MachineId.h"
#include "alerts/MetaKeys.h"
#include "alerts/inspectors/OverdueItemProtections.h"
#include "alerts/utils/LogHelpers.h"
#include "alerts/utils/MetaHelpers.h"
#include "alerts/utils/MetaReaders.h"
#include "common/Clock.h"
#include "dml/QueryOptionNames.h"
#include "dml/ServiceHolder.h"
#include "por/Constraints.h"
#include "por/PorUnit.h"
#include "por/UnitAccess.h"
#include "por/Values.h"
#include "runtime/ServiceHolder.h"

#include <string_view>

namespace Alerts
{
namespace
{

constexpr const char* Addon = AddonNames::BackupDidNotStart;

// The alert of an item: its plan and instance.
Common::Guid ItemAlertId(const Por::View::Unit& item)
{
    Common::Guid plan;
    Common::Guid instance;
    Util::TryReadGuid(item, ".Local.PlanID", plan, Addon, true);
    Util::TryReadGuid(item, ".InstanceID", instance, Addon, true);
    return XorGuids(plan, instance);
}

// The item's "State", 0 when it has none.
std::int32_t ReadState(const Por::View::Unit& item)
{
    std::int32_t state = 0;
    Util::TryReadInt(item, ".State", state, Addon, false);
    return state;
}

bool HaveSameTime(const Por::View::Unit& before, const Por::View::Unit& after)
{
    std::int64_t first = 0;
    std::int64_t second = 0;
    const bool hasFirst = Util::TryReadTime(before, ".NextBackupTime.Time", first, Addon, false);
    const bool hasSecond = Util::TryReadTime(after, ".NextBackupTime.Time", second, Addon, false);
    return hasFirst == hasSecond && first == second;
}

bool HaveSameState(const Por::View::Unit& before, const Por::View::Unit& after)
{
    std::int32_t first = 0;
    std::int32_t second = 0;
    const bool hasFirst = Util::TryReadInt(before, ".State", first, Addon, false);
    const bool hasSecond = Util::TryReadInt(after, ".State", second, Addon, false);
    return hasFirst == hasSecond && first == second;
}

} // namespace

BackupDidNotStartInspector::ItemProtectionReader::ItemProtectionReader(std::shared_ptr<Listener> listener,
                                                                       std::uint32_t timeoutToStart,
                                                                       Dml::SynchronousDataStore store,
                                                                       const Common::Guid& machineId)
    : Timeouts(std::make_shared<Util::TimeoutListener>(
          [](const Por::View::Unit& partialMeta, const Dml::SynchronousDataStore& metaStore, std::string_view)
          { return Util::GetOverdueMeta(partialMeta, metaStore, Addon); },
          std::move(listener), store)),
      TimeoutToStart(timeoutToStart), Store(std::move(store)), MachineID(machineId)
{
}

void BackupDidNotStartInspector::ItemProtectionReader::Guarded(const Por::View::Unit& item,
                                                               const char* function,
                                                               std::int32_t previousState)
{
    try
    {
        ProcessChanges(item, previousState);
    }
    catch (const Common::Error& error)
    {
        Util::LogObjectFailure(COMMON_LOCATION(function), Addon, item, error);
    }
}

void BackupDidNotStartInspector::ItemProtectionReader::OnSubject(const Por::View::Unit& item)
{
    Guarded(item, "Alerts::BackupDidNotStartInspector::ItemProtectionReader::OnSubject", 0);
}

void BackupDidNotStartInspector::ItemProtectionReader::OnCreated(const Por::View::Unit& item)
{
    Guarded(item, "Alerts::BackupDidNotStartInspector::ItemProtectionReader::OnCreated", 0);
}

void BackupDidNotStartInspector::ItemProtectionReader::OnUpdated(const Por::View::Unit& before,
                                                                 const Por::View::Unit& after)
{
    try
    {
        if (!HaveSameTime(before, after) || !HaveSameState(before, after))
        {
            ProcessChanges(after, ReadState(before));
        }
    }
    catch (const Common::Error& error)
    {
        Util::LogObjectFailure(
            COMMON_LOCATION("Alerts::BackupDidNotStartInspector::ItemProtectionReader::OnUpdated"), Addon,
            after, error);
    }
}

void BackupDidNotStartInspector::ItemProtectionReader::OnDeleted(const Por::View::Unit& item)
{
    try
    {
        Timeouts->OnInactive(ItemAlertId(item), "", u"");
    }
    catch (const Common::Error& error)
    {
        Util::LogObjectFailure(
            COMMON_LOCATION("Alerts::BackupDidNotStartInspector::ItemProtectionReader::OnDeleted"), Addon,
            item, error);
    }
}

void BackupDidNotStartInspector::ItemProtectionReader::ProcessChanges(const Por::View::Unit& item,
                                                                      std::int32_t previousState)
{
    const Common::Guid id = ItemAlertId(item);
    if (ReadState(item) == RunningState)
    {
        // The backup has begun: the alert clears and the timer goes.
        Timeouts->OnInactive(id, "", u"");
        return;
    }
    Common::Guid instance;
    Util::TryReadGuid(item, ".InstanceID", instance, Addon, true);
    Common::WideString name;
    if (!Util::TryGetInstanceName(instance, name, Store, Addon))
    {
        return;
    }
    std::int64_t next = 0;
    Util::TryReadTime(item, ".NextBackupTime.Time", next, Addon, true);
    const std::int64_t now = Common::GetClock().GetWallTime().Seconds;

    Por::Unit meta = Por::Unit::Composite();
    meta[MetaKeys::MachineID] = MachineID;
    Util::CopyGuid(meta, MetaKeys::PlanID, item, ".Local.PlanID", Addon, true);
    meta[MetaKeys::Time] = next;
    meta[MetaKeys::InstanceID] = instance;
    meta[MetaKeys::MachineName] = name;

    const std::int64_t delay = next - now + static_cast<std::int64_t>(TimeoutToStart);
    if (delay > 0)
    {
        Timeouts->ActivateAfter(static_cast<std::uint64_t>(delay) * 1000, id, AlertTypes::BackupDidNotStart,
                                meta.Get(), u"");
    }
    else if (previousState != RunningState)
    {
        // Dropping any pending timer; an item that was just running raises nothing for a passed time.
        Timeouts->OnActive(id, AlertTypes::BackupDidNotStart, meta.Get(), u"");
    }
}

BackupDidNotStartInspector::BackupDidNotStartInspector(Runtime::ServiceHolder& holder)
    : PostOffice(holder.GetPostOffice()), UnitFactory(Por::GetUnitFactory()),
      MachineID(Detail::GetMachineId(holder))
{
}

BackupDidNotStartInspector::~BackupDidNotStartInspector()
{
    Subscription.reset();
}

void BackupDidNotStartInspector::Initialize(std::shared_ptr<Listener> listener,
                                            const Por::View::Unit& settings)
{
    Next = std::move(listener);
    Por::Unit pattern = Por::Unit::Composite(UnitFactory);
    Por::Detail::IsConstraint(u"Gtob::Dto::ItemProtection").Apply(pattern);
    // Matched by kind as well: the schema's times are 64-bit seconds, its enumerations signed 32-bit.
    Por::Unit time = pattern[".NextBackupTime.Time"];
    Por::Detail::UnaryConstraint<std::int64_t>("Greater", 0).Apply(time);
    pattern[".NextBackupTime.Trigger"] = std::int32_t{3};

    Por::Unit options = Por::Unit::Composite(UnitFactory);
    const Por::Unit mask = options[Dml::Query::Names::Mask];
    for (std::string_view path : {".Local.PlanID", ".InstanceID", ".NextBackupTime.Time", ".State"})
    {
        mask[path] = true;
    }
    options[Dml::Query::Names::FullObjectNotifications] = true;

    std::int32_t seconds = 0;
    const std::uint32_t timeoutToStart =
        Util::TryReadInt(settings, ".BackupDidNotStart.TimeoutToStart", seconds, Addon, false) && seconds >= 0
            ? static_cast<std::uint32_t>(seconds)
            : DefaultTimeoutToStart;
    Reader = std::make_shared<ItemProtectionReader>(
        Next, timeoutToStart,
        Dml::SynchronousDataStore(Dml::ServiceHolder(&PostOffice, nullptr, &UnitFactory)), MachineID);
    Subscription = Dml::MakeAutoSubscription(
        CORE_ENTRY_POINT(), PostOffice, Dml::ViewSpec{pattern.Result(), options.Result()}, Reader, Reader);
}

void BackupDidNotStartInspector::Deinitialize()
{
    Subscription.reset();
    Reader.reset();
    Next.reset();
}

void BackupDidNotStartInspector::Start()
{
    ProcessOverdueBackups();
    Subscription->Start();
}

void BackupDidNotStartInspector::Stop()
{
    Subscription->Stop();
    Reader->GetTimeoutListener().StopAll();
}

std::vector<std::string> BackupDidNotStartInspector::GetAlertTypes()
{
    return Detail::GetBackupDidNotStartAlertTypes();
}

void BackupDidNotStartInspector::ChangeSettings(const std::string&, const Por::View::Unit&,
                                                const Common::WideString&)
{
}

void BackupDidNotStartInspector::ProcessOverdueBackups()
{
    const Dml::SynchronousDataStore store(Dml::ServiceHolder(&PostOffice, nullptr, &UnitFactory));
    Por::Unit pattern = Por::Unit::Composite(UnitFactory);
    Por::Detail::IsConstraint(u"Gtob::Dto::OverdueBackups").Apply(pattern);
    const Dml::ViewSpec spec{pattern.Result(), Por::Unit::Composite(UnitFactory).Result()};
    Por::UnitPtr overdue;
    try
    {
        overdue = store.ReadSingleOrNone(CORE_ENTRY_POINT(), spec);
    }
    catch (const Common::Error& error)
    {
        Util::LogDmlReadFailure(COMMON_LOCATION("Alerts::BackupDidNotStartInspector::ProcessOverdueBackups"),
                                Addon, spec, error);
        return;
    }
    const Por::View::Unit* table =
        overdue != nullptr ? Por::Util::FindPropertyValue(*overdue, "Table") : nullptr;
    const Por::View::ArrayValue* records = table != nullptr ? Por::Util::FindArray(*table) : nullptr;
    if (records != nullptr)
    {
        Detail::OverdueItemProtections visitor(Next, store, MachineID, Addon);
        records->ForEach(visitor);
    }
}

} // namespace Alerts
