#include "addons/ModuleAddonController.h"

#include "addons/AddonLoadingTrigger.h"

namespace Core
{

ModuleAddonController::ModuleAddonController() = default;

ModuleAddonController::~ModuleAddonController() = default;

void ModuleAddonController::AddTrigger(std::shared_ptr<AddonLoadingTrigger> trigger)
{
    std::lock_guard<std::mutex> guard(Lock);
    Triggers.push_back(std::move(trigger));
}

void ModuleAddonController::RunTriggers(AddonSink& sink)
{
    std::vector<std::shared_ptr<AddonLoadingTrigger>> triggers;
    {
        std::lock_guard<std::mutex> guard(Lock);
        triggers = Triggers;
    }
    for (const std::shared_ptr<AddonLoadingTrigger>& trigger : triggers)
    {
        if (trigger != nullptr)
        {
            trigger->OnLoading(sink);
        }
    }
}

} // namespace Core
