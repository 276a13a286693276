// Core::AddonController: the module-wide registry of add-on loading triggers. One per module, built on
// the first LoadAddons and destroyed when the module is unloaded.
#pragma once

#include "common/NonCopyable.h"

#include <memory>

namespace Core
{

class AddonLoadingTrigger;

class AddonController : Common::NonCopyable
{
public:
    virtual ~AddonController();
    // Appends `trigger` to the list that every LoadAddons runs in order. A null trigger takes its place
    // in the list and is skipped. Thread-safe.
    virtual void AddTrigger(std::shared_ptr<AddonLoadingTrigger> trigger) = 0;
};

} // namespace Core
