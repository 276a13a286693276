#include "alerts/ModuleController.h"

namespace Alerts
{

Core::ModuleAddonController& GetModuleController()
{
    // Destroyed with the module's other statics, at unload.
    static Core::ModuleAddonController controller;
    return controller;
}

} // namespace Alerts
