// Core::AddonLoadingTrigger: work a module wants done each time the host loads its add-ons, before the
// add-ons are handed over. Registered with the module's AddonController.
#pragma once

#include "common/NonCopyable.h"

namespace Core
{

class AddonSink;

class AddonLoadingTrigger : Common::NonCopyable
{
public:
    virtual ~AddonLoadingTrigger();
    // Called by LoadAddons with the host's sink, on the host's loading thread; may hand add-ons to it.
    virtual void OnLoading(AddonSink& sink) = 0;
};

} // namespace Core
