// Core::ModuleAddonController: the controller a module keeps for its lifetime. It binds the process's
// trace to the host's logging library (Logging::Bind) for as long as it lives, and runs the triggers.
#pragma once

#include "addons/AddonController.h"
#include "common/LoggingBind.h"

#include <memory>
#include <mutex>
#include <vector>

namespace Core
{

class AddonSink;

class ModuleAddonController final : public AddonController
{
public:
    ModuleAddonController();
    ~ModuleAddonController() override;

    void AddTrigger(std::shared_ptr<AddonLoadingTrigger> trigger) override;

    // Calls every trigger registered so far with `sink`, in order of registration; triggers added
    // meanwhile wait for the next run. A trigger's Common::Error leaves and ends the run.
    void RunTriggers(AddonSink& sink);

private:
    Logging::Bind Bind;
    std::mutex Lock; // guards Triggers only, never held while a trigger runs
    std::vector<std::shared_ptr<AddonLoadingTrigger>> Triggers;
};

} // namespace Core
