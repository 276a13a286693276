// Core::AddonLoaderProvider: the host's source of add-on loaders, through which an add-on may load the
// add-ons of other modules. A provider of this class itself, as the local fallback of a module that the
// host never configured, gives a loader that only reports "Null AddonLoader is being used.".
#pragma once

#include "common/NonCopyable.h"

#include <string_view>

namespace Core
{

class AddonSink;

class AddonLoader : Common::NonCopyable
{
public:
    virtual ~AddonLoader();
    // Loads the add-ons of `module` and hands them to `sink`; failures are thrown as Common::Error.
    virtual void Load(std::string_view module, AddonSink& sink) = 0;
};

class AddonLoaderProvider : Common::NonCopyable
{
public:
    AddonLoaderProvider() = default;
    virtual ~AddonLoaderProvider();
    // The loader lives as long as the provider. This class's own is the null loader: it loads nothing
    // and traces "Null AddonLoader is being used." at level 3 on every use.
    virtual AddonLoader& GetLoader();
};

} // namespace Core
