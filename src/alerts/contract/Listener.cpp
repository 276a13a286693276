#include "alerts/contract/Listener.h"

namespace Alerts
{

// The key function: the type's information is emitted here, in the core, once per process.
Listener::~Listener() = default;

} // namespace Alerts
