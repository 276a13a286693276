#include "alerts/AlertIdentity.h"

#include "alerts/AlertGuids.h"
#include "alerts/utils/LogHelpers.h"
#include "alerts/utils/MetaReaders.h"
#include "common/CatalogIds.h"
#include "common/LogRecord.h"
#include "common/TextCatalog.h"

namespace Alerts
{
namespace
{

// The guid at `path`, or a fresh random one when it is missing.
bool ReadOrRandom(const Por::View::Unit& activity, std::string_view path, Common::Guid& out,
                  std::string_view addon)
{
    if (Util::TryReadGuid(activity, path, out, addon, true))
    {
        return true;
    }
    Common::GenerateGuid(out);
    return false;
}

} // namespace

GeneratedAlertId GenerateAlertId(const Por::View::Unit& activity, std::string_view addon)
{
    Common::Guid command;
    Common::Guid instance;
    Common::Guid plan;
    const bool hasCommand = ReadOrRandom(activity, ".Details.CommandID", command, addon);
    const bool hasInstance = ReadOrRandom(activity, ".Environment.InstanceID", instance, addon);
    const bool hasPlan = ReadOrRandom(activity, ".Environment.ProtectionPlanID", plan, addon);

    const Common::Guid base = XorGuids(instance, plan);
    // A random stand-in for a missing command is neither backup command, so it lands in the second case.
    if (command == BackupCommandID || command == BackupPlanCommandID)
    {
        return {base, hasInstance && hasPlan};
    }
    return {XorGuids(base, command), hasCommand && hasInstance && hasPlan};
}

void LogIncompleteIdOnActivate(const Common::Guid& id, const Por::View::Unit& activity)
{
    StructuredLogs::LogRecord record(Common::GetText(Common::Texts::AlertsIncompleteIdOnActivate));
    record.Values.emplace_back("alertID", Common::GuidToString(id));
    record.Values.emplace_back("activity", Util::UnitText(activity));
    Util::LogRecord(COMMON_LOCATION("Alerts::LogIncompleteIdOnActivate"), record);
}

void LogIncompleteIdOnDeactivate(const Por::View::Unit& activity)
{
    StructuredLogs::LogRecord record(Common::GetText(Common::Texts::AlertsIncompleteIdOnDeactivate));
    record.Values.emplace_back("activity", Util::UnitText(activity));
    Util::LogRecord(COMMON_LOCATION("Alerts::LogIncompleteIdOnDeactivate"), record);
}

} // namespace Alerts
