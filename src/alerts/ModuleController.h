// The module's add-on controller: built by the first LoadAddons (binding the trace to the host's
// logging library from then on) and destroyed when the module is unloaded.
#pragma once

#include "addons/ModuleAddonController.h"

namespace Alerts
{

// The same controller on every call; thread-safe.
Core::ModuleAddonController& GetModuleController();

} // namespace Alerts
