// The module's entry point, the one symbol the shared object exports: LoadAddons runs the module's
// triggers and hands the host its five add-ons, in a fixed order.
#pragma once

#include "addons/AddonSink.h"

namespace Core
{
class Module;
}

namespace Alerts
{

// Hands the five add-ons to `sink`, each new, in the order of InspectorAddons.h, with version 1.
void RegisterAddons(Core::Module& module, Core::AddonSink& sink);

} // namespace Alerts

// Called by the host on its loading thread, any number of times; each call runs the triggers registered
// with the module's controller (Alerts::GetModuleController) and then hands over five new add-ons. A
// null sink gets nothing.
extern "C" __attribute__((visibility("default"))) void LoadAddons(Core::AddonSink* sink);
