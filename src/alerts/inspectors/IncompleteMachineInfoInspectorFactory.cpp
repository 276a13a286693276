#include "alerts/contract/Inspector.h"
#include "alerts/inspectors/InspectorFactories.h"

namespace Alerts::Detail
{

// Alerts::IncompleteMachineInfoInspector is not in this build yet; its add-on still loads and says so when
// asked.
std::unique_ptr<Inspector> CreateIncompleteMachineInfoInspector(Runtime::ServiceHolder&)
{
    throw MakeInspectorNotInBuildError(
        COMMON_LOCATION("Alerts::Detail::CreateIncompleteMachineInfoInspector"),
        "Alerts::IncompleteMachineInfoInspector");
}

} // namespace Alerts::Detail
