#include "alerts/inspectors/ActivityNotRespondingInspector.h"
#include "alerts/inspectors/InspectorFactories.h"

namespace Alerts::Detail
{

std::unique_ptr<Inspector> CreateActivityNotRespondingInspector(Runtime::ServiceHolder& holder)
{
    return std::make_unique<ActivityNotRespondingInspector>(holder);
}

} // namespace Alerts::Detail
