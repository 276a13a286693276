#include "alerts/LoadAddons.h"

#include "addons/Module.h"
#include "alerts/AddonNames.h"
#include "alerts/InspectorAddons.h"
#include "alerts/ModuleController.h"

#include <memory>

namespace Alerts
{
namespace
{

template <typename AddonClass>
void Hand(Core::AddonSink& sink, const char* name)
{
    // A sink that leaves the add-on behind lets the pointer delete it.
    sink.AddAddon(std::make_unique<AddonClass>(name, AddonVersion));
}

} // namespace

void RegisterAddons(Core::Module&, Core::AddonSink& sink)
{
    Hand<ActivityFailingInspectorAddon>(sink, AddonNames::ActivityFailing);
    Hand<ActivityNotRespondingInspectorAddon>(sink, AddonNames::ActivityNotResponding);
    Hand<BackupDidNotStartInspectorAddon>(sink, AddonNames::BackupDidNotStart);
    Hand<EncryptionPasswordMissingInspectorAddon>(sink, AddonNames::EncryptionPasswordMissing);
    Hand<IncompleteMachineInfoInspectorAddon>(sink, AddonNames::IncompleteMachineInfo);
}

} // namespace Alerts

extern "C" void LoadAddons(Core::AddonSink* sink)
{
    if (sink == nullptr)
    {
        return;
    }
    Core::Module module;
    Alerts::GetModuleController().RunTriggers(*sink);
    Alerts::RegisterAddons(module, *sink);
}
