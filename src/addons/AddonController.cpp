#include "addons/AddonController.h"

namespace Core
{

// The key function: the type's information is emitted here, in the core, once per process.
AddonController::~AddonController() = default;

} // namespace Core
