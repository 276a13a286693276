#include "alerts/contract/Inspector.h"
#include "alerts/inspectors/InspectorFactories.h"

namespace Alerts::Detail
{

// Alerts::ActivityNotRespondingInspector is not in this build yet; its add-on still loads and says so when
// asked.
std::unique_ptr<Inspector> CreateActivityNotRespondingInspector(Runtime::ServiceHolder&)
{
    throw MakeInspectorNotInBuildError(
        COMMON_LOCATION("Alerts::Detail::CreateActivityNotRespondingInspector"),
        "Alerts::ActivityNotRespondingInspector");
}

} // namespace Alerts::Detail
