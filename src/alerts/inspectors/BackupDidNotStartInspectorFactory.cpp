#include "alerts/inspectors/BackupDidNotStartInspector.h"
#include "alerts/inspectors/InspectorFactories.h"

namespace Alerts::Detail
{

std::unique_ptr<Inspector> CreateBackupDidNotStartInspector(Runtime::ServiceHolder& holder)
{
    return std::make_unique<BackupDidNotStartInspector>(holder);
}

} // namespace Alerts::Detail
