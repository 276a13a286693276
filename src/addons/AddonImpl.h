// Core::AddonImpl: an add-on with a cast table. Configure is the same for every add-on of a module: it
// makes the host's loader provider and trace level the module's globals (AddonLoaderProviderClient).
#pragma once

#include "addons/Addon.h"
#include "common/DynamicCaster.h"

namespace Core
{

class AddonImpl : public Addon, public Common::DynamicCasterImpl
{
public:
    ~AddonImpl() override;

    // A second, different provider is a broken invariant ("AddonLoaderProviderClient: global instance is
    // being set more than once.") and still replaces the first. Thread-safe.
    void Configure(const AddonEnvironment& environment) override;
};

} // namespace Core
