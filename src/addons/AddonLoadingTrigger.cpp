#include "addons/AddonLoadingTrigger.h"

namespace Core
{

// The key function: the type's information is emitted here, in the core, once per process.
AddonLoadingTrigger::~AddonLoadingTrigger() = default;

} // namespace Core
