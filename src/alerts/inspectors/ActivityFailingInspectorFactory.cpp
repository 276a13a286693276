#include "alerts/inspectors/ActivityFailingInspector.h"
#include "alerts/inspectors/InspectorFactories.h"

namespace Alerts::Detail
{

std::unique_ptr<Inspector> CreateActivityFailingInspector(Runtime::ServiceHolder& holder)
{
    return std::make_unique<ActivityFailingInspector>(holder);
}

} // namespace Alerts::Detail
