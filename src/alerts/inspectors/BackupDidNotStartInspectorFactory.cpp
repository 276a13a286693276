#include "alerts/contract/Inspector.h"
#include "alerts/inspectors/InspectorFactories.h"

namespace Alerts::Detail
{

// Alerts::BackupDidNotStartInspector is not in this build yet; its add-on still loads and says so when asked.
std::unique_ptr<Inspector> CreateBackupDidNotStartInspector(Runtime::ServiceHolder&)
{
    throw MakeInspectorNotInBuildError(COMMON_LOCATION("Alerts::Detail::CreateBackupDidNotStartInspector"),
                                       "Alerts::BackupDidNotStartInspector");
}

} // namespace Alerts::Detail
