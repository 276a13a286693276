#include "alerts/contract/Inspector.h"
#include "alerts/inspectors/InspectorFactories.h"

namespace Alerts::Detail
{

// Alerts::EncryptionPasswordMissingInspector is not in this build yet; its add-on still loads and says so
// when asked.
std::unique_ptr<Inspector> CreateEncryptionPasswordMissingInspector(Runtime::ServiceHolder&)
{
    throw MakeInspectorNotInBuildError(
        COMMON_LOCATION("Alerts::Detail::CreateEncryptionPasswordMissingInspector"),
        "Alerts::EncryptionPasswordMissingInspector");
}

} // namespace Alerts::Detail
