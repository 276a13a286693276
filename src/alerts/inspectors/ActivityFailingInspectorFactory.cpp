#include "alerts/contract/Inspector.h"
#include "alerts/inspectors/InspectorFactories.h"

namespace Alerts::Detail
{

// Alerts::ActivityFailingInspector is not in this build yet; its add-on still loads and says so when asked.
std::unique_ptr<Inspector> CreateActivityFailingInspector(Runtime::ServiceHolder&)
{
    throw MakeInspectorNotInBuildError(COMMON_LOCATION("Alerts::Detail::CreateActivityFailingInspector"),
                                       "Alerts::ActivityFailingInspector");
}

} // namespace Alerts::Detail
