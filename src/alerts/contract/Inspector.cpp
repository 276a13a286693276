#include "alerts/contract/Inspector.h"

namespace Alerts
{

// The key function: the type's information is emitted here, in the core, once per process.
Inspector::~Inspector() = default;

} // namespace Alerts
