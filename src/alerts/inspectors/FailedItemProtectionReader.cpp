#include "alerts/inspectors/FailedItemProtectionReader.h"

#include "alerts/AddonNames.h"
#include "alerts/MetaKeys.h"
#include "alerts/contract/Listener.h"
#include "alerts/inspectors/CompletionOutcome.h"
#include "alerts/utils/LogHelpers.h"
#include "alerts/utils/MetaHelpers.h"
#include "alerts/utils/MetaReaders.h"
#include "common/Clock.h"
#include "por/Unit.h"

namespace Alerts::Detail
{
namespace
{

constexpr const char* Addon = AddonNames::ActivityFailing;

} // namespace

FailedItemProtectionReader::FailedItemProtectionReader(std::shared_ptr<Listener> listener,
                                                       Dml::SynchronousDataStore store,
                                                       const Common::Guid& machineId)
    : Next(std::move(listener)), Store(std::move(store)), MachineID(machineId)
{
}

void FailedItemProtectionReader::OnSubject(const Por::View::Unit& item)
{
    try
    {
        Inspect(item);
    }
    catch (const Common::Error& error)
    {
        Util::LogObjectFailure(COMMON_LOCATION("Alerts::Detail::FailedItemProtectionReader::OnSubject"),
                               Addon, item, error);
    }
}

void FailedItemProtectionReader::Inspect(const Por::View::Unit& item)
{
    const CompletionOutcome outcome =
        ReadCompletionOutcome(item, u".LastFinishInfo.CompletionResult", u".LastFinishInfo.Warnings");
    if (!outcome.HasProblem())
    {
        return;
    }
    Common::Guid plan;
    const bool hasPlan = Util::TryReadGuid(item, ".Local.PlanID", plan, Addon, true);
    Common::Guid id = plan;
    if (!hasPlan)
    {
        Common::GenerateGuid(id);
    }
    Por::Unit meta = GetItemProtectionMeta(item, hasPlan ? &plan : nullptr);
    const char* type = ChooseBackupAlert(outcome, meta);
    Next->OnActive(id, type, meta.Get(), u"");
}

Por::Unit FailedItemProtectionReader::GetItemProtectionMeta(const Por::View::Unit& item,
                                                            const Common::Guid* plan)
{
    Por::Unit meta = Por::Unit::Composite();
    Common::Guid instance;
    const bool hasInstance = Util::TryReadGuid(item, ".InstanceID", instance, Addon, true);
    if (hasInstance)
    {
        meta[MetaKeys::InstanceID] = instance;
    }
    if (plan != nullptr)
    {
        Util::MergeMeta(meta, Util::GetPlanMeta(*plan, instance, MachineID, Store, Addon).Get());
    }
    Common::WideString name;
    if (hasInstance && Util::TryGetInstanceName(instance, name, Store, Addon))
    {
        meta[MetaKeys::MachineName] = name;
    }
    Common::Guid activity;
    Por::UnitPtr root;
    if (Util::TryReadGuid(item, ".LastFinishInfo.ActivityID", activity, Addon, true) &&
        Util::TryGetRootBusinessActivityObject(activity, root, Store, Addon))
    {
        Util::CopyGuid(meta, MetaKeys::ActivityID, *root, ".ID", Addon, true);
        Util::FillTimePeriod(meta, *root, Addon);
    }
    meta[MetaKeys::Time] = Common::GetClock().GetWallTime().Seconds;
    return meta;
}

} // namespace Alerts::Detail
