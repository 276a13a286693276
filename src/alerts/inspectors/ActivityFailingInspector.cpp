#include "alerts/inspectors/ActivityFailingInspector.h"

#include "alerts/AddonNames.h"
#include "alerts/AlertErrors.h"
#include "alerts/AlertGuids.h"
#include "alerts/AlertIdentity.h"
#include "alerts/AlertTypes.h"
#include "alerts/InspectorAlertTypes.h"
#include "alerts/MachineId.h"
#include "alerts/MetaKeys.h"
#include "alerts/contract/Listener.h"
#include "alerts/inspectors/ActivityFailingQuery.h"
#include "alerts/inspectors/CompletionOutcome.h"
#include "alerts/inspectors/FailedItemProtectionReader.h"
#include "alerts/inspectors/LastDmlTimeStamp.h"
#include "alerts/utils/LogHelpers.h"
#include "alerts/utils/MetaHelpers.h"
#include "alerts/utils/MetaReaders.h"
#include "common/Clock.h"
#include "common/Log.h"
#include "dml/QueryOptionNames.h"
#include "dml/ServiceHolder.h"
#include "por/Constraints.h"
#include "por/Path.h"
#include "por/Unit.h"
#include "por/UnitAccess.h"
#include "runtime/EntryPoint.h"
#include "runtime/ServiceHolder.h"

#include <optional>
#include <string_view>

namespace Alerts
{
namespace
{

constexpr const char* Addon = AddonNames::ActivityFailing;

// The "State" of a finished activity.
constexpr std::uint32_t FinishedState = 5;

// The value at `path` unless it is absent or nil; another kind than T throws the type mismatch.
template <typename T>
std::optional<T> Find(const Por::View::Unit& object, std::u16string_view path)
{
    const Por::View::Unit* found = Por::Util::ResolvePath(path, object);
    if (found == nullptr || Por::Util::IsNil(*found))
    {
        return std::nullopt;
    }
    return Por::Util::GetValue<T>(*found);
}

bool Has(const Por::View::Unit& object, std::u16string_view path)
{
    const Por::View::Unit* found = Por::Util::ResolvePath(path, object);
    return found != nullptr && !Por::Util::IsNil(*found);
}

// An absent "State" reads as 0, as the schema's default.
std::uint32_t ReadState(const Por::View::Unit& activity)
{
    return Find<std::uint32_t>(activity, u".State").value_or(0);
}

Common::Guid ReadCommand(const Por::View::Unit& activity)
{
    return Find<Common::Guid>(activity, u".Details.CommandID").value_or(Common::NullGuid);
}

bool IsBackupCommand(const Common::Guid& command)
{
    return command == BackupCommandID || command == BackupPlanCommandID;
}

std::int64_t Now()
{
    return Common::GetClock().GetWallTime().Seconds;
}

} // namespace

// ActivityReader

ActivityFailingInspector::ActivityReader::ActivityReader(std::shared_ptr<Listener> listener,
                                                         Dml::PostOffice& postOffice,
                                                         Dml::ObjectRegistry& objectRegistry,
                                                         const Common::Guid& machineId)
    : Walker(&HasProblem), Next(std::move(listener)), PostOffice(postOffice), ObjectRegistry(objectRegistry),
      MachineID(machineId), Store(Dml::ServiceHolder(&PostOffice, &ObjectRegistry))
{
}

bool ActivityFailingInspector::ActivityReader::HasProblem(const Por::View::Unit& activity)
{
    return Detail::ReadCompletionOutcome(activity, u".CompletionResult", u".Warnings").HasProblem();
}

void ActivityFailingInspector::ActivityReader::OnCreated(const Por::View::Unit& activity)
{
    if (ReadState(activity) == FinishedState)
    {
        ProcessCompletedActivity(activity);
        return;
    }
    // The activity has only begun: whatever its id raised before is over.
    const GeneratedAlertId id = GenerateAlertId(activity, Addon);
    if (!id.IsComplete)
    {
        LogIncompleteIdOnDeactivate(activity);
        return;
    }
    Next->OnInactive(id.Id, "", u"");
}

void ActivityFailingInspector::ActivityReader::OnUpdated(const Por::View::Unit& before,
                                                         const Por::View::Unit& after)
{
    try
    {
        const std::uint32_t state = ReadState(after);
        if (state == FinishedState && ReadState(before) != state)
        {
            ProcessCompletedActivity(after);
        }
    }
    catch (const Common::Error& error)
    {
        Util::LogObjectFailure(COMMON_LOCATION("Alerts::ActivityFailingInspector::ActivityReader::OnUpdated"),
                               Addon, after, error);
    }
}

void ActivityFailingInspector::ActivityReader::OnDeleted(const Por::View::Unit&) {}

void ActivityFailingInspector::ActivityReader::ProcessCompletedActivity(const Por::View::Unit& activity)
{
    try
    {
        if (Walker.Process(activity))
        {
            if (IsBackupCommand(ReadCommand(activity)))
            {
                GenerateAlertForBackupCommands(activity);
            }
            else
            {
                GenerateAlertForOtherCommands(activity);
            }
        }
        // Also after activities that raise nothing: the mark follows every finished one.
        StoreLastDmlTimeStamp(activity);
    }
    catch (const Common::Error& error)
    {
        Util::LogObjectFailure(
            COMMON_LOCATION("Alerts::ActivityFailingInspector::ActivityReader::ProcessCompletedActivity"),
            Addon, activity, error);
    }
}

void ActivityFailingInspector::ActivityReader::GenerateAlertForBackupCommands(const Por::View::Unit& activity)
{
    const GeneratedAlertId id = GenerateAlertId(activity, Addon);
    if (!id.IsComplete)
    {
        LogIncompleteIdOnActivate(id.Id, activity);
    }
    Por::Unit meta = GetActivityMeta(activity, true);
    const Detail::CompletionOutcome outcome =
        Detail::ReadCompletionOutcome(activity, u".CompletionResult", u".Warnings");
    if (const char* type = Detail::ChooseBackupAlert(outcome, meta))
    {
        Next->OnActive(id.Id, type, meta.Get(), u"");
    }
}

void ActivityFailingInspector::ActivityReader::GenerateAlertForOtherCommands(const Por::View::Unit& activity)
{
    const GeneratedAlertId id = GenerateAlertId(activity, Addon);
    if (!id.IsComplete)
    {
        LogIncompleteIdOnActivate(id.Id, activity);
    }
    Por::Unit meta = GetActivityMeta(activity, false);
    const std::optional<Por::String> name = Find<Por::String>(activity, u".Name");
    if (name && *name != u"<unnamed-activity>")
    {
        meta[MetaKeys::ActivityName] = *name;
    }
    const Detail::CompletionOutcome outcome =
        Detail::ReadCompletionOutcome(activity, u".CompletionResult", u".Warnings");
    if (IsCanceledDueClosedBackupWindow(outcome.Result))
    {
        Next->OnActive(id.Id, AlertTypes::BackupCanceledDueClosedBackupWindow, meta.Get(), u"");
    }
    else if (IsBackupCanceled(outcome.Result))
    {
        // A canceled command that is no backup is only a warning, and counts none.
        const std::optional<Common::Error> warning =
            outcome.WarningsCount != 0 ? outcome.FirstWarning : outcome.Result;
        if (warning)
        {
            meta[MetaKeys::Warning] = *warning;
        }
        Next->OnActive(id.Id, AlertTypes::ActivityFinishedWithWarnings, meta.Get(), u"");
    }
    else if (outcome.Result.GetCode() != 0)
    {
        meta[MetaKeys::Error] = outcome.Result;
        Next->OnActive(id.Id, AlertTypes::ActivityFailed, meta.Get(), u"");
        const Por::UnitPtr parent = FindParentBackup(activity);
        if (parent != nullptr && ReadCommand(activity) != NonEscalatingCommandID)
        {
            const GeneratedAlertId parentId = GenerateAlertId(*parent, Addon);
            if (parentId.IsComplete)
            {
                Next->OnActive(parentId.Id, AlertTypes::BackupFailed, meta.Get(), u"");
            }
        }
    }
    else if (outcome.WarningsCount != 0)
    {
        if (outcome.FirstWarning)
        {
            meta[MetaKeys::Warning] = *outcome.FirstWarning;
        }
        Next->OnActive(id.Id, AlertTypes::ActivityFinishedWithWarnings, meta.Get(), u"");
    }
}

Por::Unit ActivityFailingInspector::ActivityReader::GetActivityMeta(const Por::View::Unit& activity,
                                                                    bool strict)
{
    Por::Unit meta = Por::Unit::Composite();
    Common::Guid instance;
    const bool hasInstance = Util::TryReadGuid(activity, ".Environment.InstanceID", instance, Addon, true);
    if (hasInstance)
    {
        meta[MetaKeys::InstanceID] = instance;
    }

    Common::Guid plan;
    const bool hasPlan = Util::TryReadGuid(activity, ".Environment.ProtectionPlanID", plan, Addon, strict);
    const Por::Unit planMeta =
        hasPlan ? Util::GetPlanMeta(plan, instance, MachineID, Store, Addon) : Por::Unit();
    Common::WideString planName;
    if (planMeta.HasValue())
    {
        Util::MergeMeta(meta, planMeta.Get());
    }
    else if (Util::TryReadString(activity, ".Environment.ProtectionPlanName", planName, Addon, strict))
    {
        // The plan can't be read: the activity's own plan fields stand in for its meta.
        if (hasPlan)
        {
            meta[MetaKeys::PlanID] = plan;
        }
        meta[MetaKeys::PlanName] = planName;
    }
    Util::CopyString(meta, MetaKeys::PlanType, activity, ".Environment.PlanType", Addon, strict);

    Common::WideString machineName;
    if (hasInstance && Util::TryGetInstanceName(instance, machineName, Store, Addon))
    {
        meta[MetaKeys::MachineName] = machineName;
    }

    if (!Util::CopyGuid(meta, MetaKeys::ActivityID, activity, ".Environment.TaskUUID", Addon, false))
    {
        if (Has(activity, u".Environment.BusinessParent") ||
            Has(activity, u".Environment.ParentProtectActivityID"))
        {
            const std::optional<Common::Guid> id = Find<Common::Guid>(activity, u".ID");
            Por::UnitPtr root;
            if (id && Util::TryGetRootBusinessActivityObject(*id, root, Store, Addon))
            {
                Util::CopyGuid(meta, MetaKeys::ActivityID, *root, ".ID", Addon, true);
            }
        }
        else if (Util::ActivityWalker::IsBusiness(activity))
        {
            Util::CopyGuid(meta, MetaKeys::ActivityID, activity, ".ID", Addon, true);
        }
    }

    Util::FillTimePeriod(meta, activity, Addon);
    meta[MetaKeys::Time] = Now();
    return meta;
}

Por::UnitPtr ActivityFailingInspector::ActivityReader::FindParentBackup(const Por::View::Unit& activity)
{
    Por::UnitPtr parent = GetParentAcivity(activity);
    while (parent != nullptr && Has(*parent, u".Details"))
    {
        if (IsBackupCommand(ReadCommand(*parent)))
        {
            return parent;
        }
        parent = GetParentAcivity(*parent);
    }
    return nullptr;
}

Por::UnitPtr ActivityFailingInspector::ActivityReader::GetParentAcivity(const Por::View::Unit& activity)
{
    const std::optional<Common::Guid> parentId =
        Find<Common::Guid>(activity, u".Environment.ParentProtectActivityID");
    if (!parentId)
    {
        return nullptr;
    }
    Por::Unit pattern = Detail::MakeActivityPattern();
    pattern["ID"] = *parentId;
    const Dml::ViewSpec spec{pattern.Result(), nullptr};
    try
    {
        return Store.ReadSingleOrNone(CORE_ENTRY_POINT(), spec);
    }
    catch (const Common::Error& error)
    {
        Util::LogDmlReadFailure(
            COMMON_LOCATION("Alerts::ActivityFailingInspector::ActivityReader::GetParentAcivity"), Addon,
            spec, error);
        return nullptr;
    }
}

void ActivityFailingInspector::ActivityReader::StoreLastDmlTimeStamp(const Por::View::Unit& activity)
{
    try
    {
        Detail::WriteLastDmlTimeStamp(
            Store, Por::Util::GetPropertyValue<std::int64_t>(activity, Dml::Query::Names::DmlTimeStamp));
    }
    catch (const Common::Error& error)
    {
        Util::LogObjectFailure(
            COMMON_LOCATION("Alerts::ActivityFailingInspector::ActivityReader::StoreLastDmlTimeStamp"), Addon,
            activity, error);
    }
}

// ActivityFailingInspector

ActivityFailingInspector::ActivityFailingInspector(Runtime::ServiceHolder& holder)
    : PostOffice(holder.GetPostOffice()), ObjectRegistry(holder.GetObjectRegistry()),
      UnitFactory(Por::GetUnitFactory()), MachineID(Detail::GetMachineId(holder))
{
}

ActivityFailingInspector::~ActivityFailingInspector() = default;

void ActivityFailingInspector::Initialize(std::shared_ptr<Listener> listener, const Por::View::Unit&)
{
    Next = std::move(listener);
    Por::Unit pattern = Detail::MakeActivityPattern(UnitFactory);
    Por::Unit options = Detail::MakeActivityOptions(UnitFactory);
    std::int64_t mark = 0;
    if (TryReadLastDmlTimeStamp(mark))
    {
        Logging::Log(COMMON_LOCATION("Alerts::ActivityFailingInspector::Initialize"), LogLevels::Info,
                     Util::GetAlertsChannel(), "[%s]: read activities with DML timestamp > %lld", Addon,
                     static_cast<long long>(mark));
        Detail::ResumeAfter(pattern, mark);
    }
    else
    {
        Logging::Log(COMMON_LOCATION("Alerts::ActivityFailingInspector::Initialize"), LogLevels::Info,
                     Util::GetAlertsChannel(),
                     "Inspect problems from ItemProtection objects. It's first start of inspector.");
        // The history is not replayed: the item protections' last finishes stand in for it.
        Detail::SkipExistingActivities(options);
        InspectItemProtections();
    }
    Reader = std::make_shared<ActivityReader>(Next, PostOffice, ObjectRegistry, MachineID);
    Subscription = Dml::MakeAutoSubscription(CORE_ENTRY_POINT(), PostOffice,
                                             Dml::ViewSpec{pattern.Result(), options.Result()},
                                             std::shared_ptr<Dml::SubscriptionReader>(Reader));
}

void ActivityFailingInspector::Deinitialize()
{
    Subscription.reset();
    Reader.reset();
    Next.reset();
}

void ActivityFailingInspector::Start()
{
    Subscription->Start();
}

void ActivityFailingInspector::Stop()
{
    Subscription->Stop();
}

std::vector<std::string> ActivityFailingInspector::GetAlertTypes()
{
    return Detail::GetActivityFailingAlertTypes();
}

void ActivityFailingInspector::ChangeSettings(const std::string&, const Por::View::Unit&,
                                              const Common::WideString&)
{
}

bool ActivityFailingInspector::TryReadLastDmlTimeStamp(std::int64_t& value)
{
    try
    {
        const std::optional<std::int64_t> mark = Detail::ReadLastDmlTimeStamp(MakeStore());
        if (mark)
        {
            value = *mark;
        }
        return mark.has_value();
    }
    catch (const Common::Error& error)
    {
        Util::LogDmlReadFailure(COMMON_LOCATION("Alerts::ActivityFailingInspector::TryReadLastDmlTimeStamp"),
                                Addon, Detail::MakeLastDmlTimeStampSpec(UnitFactory), error);
        return false;
    }
}

void ActivityFailingInspector::InspectItemProtections()
{
    Por::Unit pattern = Por::Unit::Composite(UnitFactory);
    Por::Detail::IsConstraint(u"Gtob::Dto::ItemProtection").Apply(pattern);
    Por::Unit options = Por::Unit::Composite(UnitFactory);
    const Por::Unit mask = options[Dml::Query::Names::Mask];
    for (std::string_view path : {".LastFinishInfo.CompletionResult", ".LastFinishInfo.ActivityID",
                                  ".LastFinishInfo.Warnings", ".Local.PlanID", ".InstanceID"})
    {
        mask[path] = true;
    }
    const Dml::ViewSpec spec{pattern.Result(), options.Result()};
    const Dml::SynchronousDataStore store = MakeStore();
    Detail::FailedItemProtectionReader reader(Next, store, MachineID);
    try
    {
        store.Report(CORE_ENTRY_POINT(), spec, reader);
    }
    catch (const Common::Error& error)
    {
        Util::LogDmlReadFailure(COMMON_LOCATION("Alerts::ActivityFailingInspector::InspectItemProtections"),
                                Addon, spec, error);
    }
}

Dml::SynchronousDataStore ActivityFailingInspector::MakeStore() const
{
    return Dml::SynchronousDataStore(Dml::ServiceHolder(&PostOffice, &ObjectRegistry, &UnitFactory));
}

} // namespace Alerts
