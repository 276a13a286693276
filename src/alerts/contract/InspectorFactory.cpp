#include "alerts/contract/InspectorFactory.h"

#include "alerts/contract/Inspector.h"

namespace Alerts
{

// The key function: the type's information is emitted here, in the core, once per process.
InspectorFactory::~InspectorFactory() = default;

} // namespace Alerts
