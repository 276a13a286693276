#include "alerts/inspectors/ActivityNotRespondingInspector.h"

#include "alerts/AddonNames.h"
#include "alerts/AlertGuids.h"
#include "alerts/AlertTypes.h"
#include "alerts/InspectorAlertTypes.h"
#include "alerts/MachineId.h"
#include "alerts/inspectors/PendingActivityReader.h"
#include "alerts/inspectors/ProgressReader.h"
#include "alerts/utils/MetaReaders.h"
#include "alerts/utils/PerProcessCallback.h"
#include "dml/OperationFactory.h"
#include "dml/QueryOptionNames.h"
#include "dml/ServiceHolder.h"
#include "por/Constraints.h"
#include "por/PorUnit.h"
#include "por/UnitAccess.h"
#include "runtime/ServiceHolder.h"

#include <set>
#include <string_view>

namespace Alerts
{
namespace
{

constexpr const char* Addon = AddonNames::ActivityNotResponding;
constexpr const char16_t* ActivityClass = u"Tol::History::Plain::Activity";

// What the watchdogs read of a running activity.
constexpr std::string_view FrozenMaskPaths[] = {
    ".Progress.Timestamp",
    ".CompletionResult",
    ".Details.CommandID",
    ".Details.Specific",
    ".Environment.InstanceID",
    ".Environment.ParentProtectActivityID",
    ".Environment.ProtectionPlanID",
    ".Environment.BusinessParent",
    ".Origin.ParentProcess",
    ".Name",
    ".Period.StartTime",
    ".Period.FinishTime",
};

// What the queue timers read of a queued activity.
constexpr std::string_view PendingMaskPaths[] = {
    ".Details.Specific",
    ".Environment.InstanceID",
    ".Environment.ParentProtectActivityID",
    ".Environment.ProtectionPlanID",
    ".Environment.BusinessParent",
    ".Origin.ParentProcess",
    ".Period.StartTime",
    ".Period.FinishTime",
};

Por::Unit ClassPattern(const char16_t* className)
{
    Por::Unit pattern = Por::Unit::Composite();
    Por::Detail::IsConstraint(className).Apply(pattern);
    return pattern;
}

template <std::size_t Count>
Por::Unit MaskOptions(const std::string_view (&paths)[Count])
{
    Por::Unit options = Por::Unit::Composite();
    const Por::Unit mask = options[Dml::Query::Names::Mask];
    for (std::string_view path : paths)
    {
        mask[path] = true;
    }
    return options;
}

} // namespace

ActivityNotRespondingInspector::ActivityNotRespondingInspector(Runtime::ServiceHolder& holder)
    : PostOffice(holder.GetPostOffice()), ObjectRegistry(holder.GetObjectRegistry()),
      MachineID(Detail::GetMachineId(holder)), Store(Dml::ServiceHolder(&PostOffice, &ObjectRegistry)),
      ProgressListener(Store, MachineID)
{
}

ActivityNotRespondingInspector::~ActivityNotRespondingInspector()
{
    // The feeds end before the readers and the listener they call go.
    FrozenSubscription.reset();
    PendingSubscription.reset();
}

std::uint32_t ActivityNotRespondingInspector::ReadDuration(const Por::View::Unit& settings,
                                                           std::string_view type, std::uint32_t fallback)
{
    std::string path = ".";
    path += type;
    path += ".Duration";
    std::int32_t seconds = 0;
    // A negative duration is no duration: the default stands.
    return Util::TryReadInt(settings, path, seconds, Addon, false) && seconds >= 0
               ? static_cast<std::uint32_t>(seconds)
               : fallback;
}

void ActivityNotRespondingInspector::Initialize(std::shared_ptr<Listener> listener,
                                                const Por::View::Unit& settings)
{
    ProgressListener.SetNextListener(std::make_shared<Util::PerProcessCallback>(std::move(listener), Addon));
    SubscribeToFrozenActivities(settings);
    SubscribeToPendingActivities(settings);
}

void ActivityNotRespondingInspector::SubscribeToFrozenActivities(const Por::View::Unit& settings)
{
    Por::Unit pattern = ClassPattern(ActivityClass);
    pattern[".Details.Specific"] = Por::String(u"Business");
    // Every state but the finished one (5).
    Por::Unit state = pattern["State"];
    Por::Detail::ValueInConstraint<std::set<std::uint32_t>>({1, 2, 3, 4, 6}).Apply(state);
    Por::Unit options = MaskOptions(FrozenMaskPaths);
    options[Dml::Query::Names::FullObjectNotifications] = true;

    Settings = Por::Util::Copy(settings, Por::GetUnitFactory());
    Progress = std::make_shared<Detail::ProgressReader>(ProgressListener, MachineID, Store, Addon);
    Progress->SetTimeout(AlertTypes::ActivityNotResponding,
                         ReadDuration(settings, AlertTypes::ActivityNotResponding, DefaultDuration));
    Progress->SetTimeout(AlertTypes::BackupNotResponding,
                         ReadDuration(settings, AlertTypes::BackupNotResponding, DefaultDuration));
    // The opening report hands every running activity to the reader, which arms its watchdog.
    FrozenSubscription =
        Dml::MakeAutoSubscription(CORE_ENTRY_POINT(), PostOffice,
                                  Dml::ViewSpec{pattern.Result(), options.Result()}, Progress, Progress);
}

void ActivityNotRespondingInspector::SubscribeToPendingActivities(const Por::View::Unit& settings)
{
    Por::Unit pattern = ClassPattern(ActivityClass);
    pattern[".Details.CommandID"] = QueuedBackupCommandID;
    pattern["State"] = std::uint32_t{0};
    const Por::Unit options = MaskOptions(PendingMaskPaths);

    Pending = std::make_shared<Detail::PendingActivityReader>(
        ProgressListener, MachineID, Store,
        ReadDuration(settings, AlertTypes::BackupQueued, DefaultQueuedDuration), Addon);
    PendingSubscription = Dml::MakeAutoSubscription(
        CORE_ENTRY_POINT(), PostOffice, Dml::ViewSpec{pattern.Result(), options.Result()}, Pending, Pending);
}

void ActivityNotRespondingInspector::Deinitialize()
{
    FrozenSubscription.reset();
    PendingSubscription.reset();
    Progress.reset();
    Pending.reset();
    ProgressListener.SetNextListener(nullptr);
}

void ActivityNotRespondingInspector::Start()
{
    // No timer survives a restart, so no stored alert of these types could be cleared by its own timer:
    // wipe them all; the reports raise again what still holds.
    Por::Unit pattern = ClassPattern(u"Alerts::Object");
    const std::vector<std::string> types = GetAlertTypes();
    Por::Unit type = pattern["Type"];
    Por::Detail::ValueInConstraint<std::set<std::string>>(std::set<std::string>(types.begin(), types.end()))
        .Apply(type);
    Dml::Operation::OperationFactory operations;
    operations.DeleteByPattern(pattern.Result(), nullptr);
    Store.Create(CORE_ENTRY_POINT(), *operations.Finish());

    FrozenSubscription->Start();
    PendingSubscription->Start();
}

void ActivityNotRespondingInspector::Stop()
{
    FrozenSubscription->Stop();
    Progress->Stop();
    PendingSubscription->Stop();
    Pending->Stop();
}

std::vector<std::string> ActivityNotRespondingInspector::GetAlertTypes()
{
    return Detail::GetActivityNotRespondingAlertTypes();
}

void ActivityNotRespondingInspector::ChangeSettings(const std::string& type, const Por::View::Unit& object,
                                                    const Common::WideString&)
{
    std::int32_t seconds = 0;
    const std::uint32_t duration =
        Util::TryReadInt(object, ".Duration", seconds, Addon, false) && seconds >= 0
            ? static_cast<std::uint32_t>(seconds)
            : ReadDuration(*Settings, type, DefaultDuration);
    // "BackupQueued" is not the progress reader's: it ignores it.
    Progress->SetTimeout(type, duration);
}

} // namespace Alerts
