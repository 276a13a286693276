// Core::AddonSink: the host's receiver of the add-ons that LoadAddons makes. It takes each add-on over;
// one it leaves in the pointer is deleted by the caller. Called on the host's loading thread.
#pragma once

#include "common/NonCopyable.h"

#include <memory>

namespace Core
{

class Addon;

class AddonSink : Common::NonCopyable
{
public:
    // The first operation of the table, as loaders of every version call it.
    virtual void AddAddon(std::unique_ptr<Addon> addon) = 0;

    virtual ~AddonSink();
};

// The module's exported entry "LoadAddons", as a host finds it by name.
using LoadAddonsFunction = void (*)(AddonSink* sink);

} // namespace Core
