// Core::Addon: what a loadable module contributes to the host. The host reaches the add-on's services
// through its cast table (Common::DynamicCaster) by the type name of a pointer to the interface it
// wants, and configures the add-on once with its environment before it asks for anything.
#pragma once

#include "common/DynamicCaster.h"

#include <cstdint>
#include <string>

namespace Core
{

class AddonLoaderProvider;

// The host's environment, handed to every add-on by Configure.
struct AddonEnvironment
{
    // Borrowed: the host's provider outlives its add-ons.
    AddonLoaderProvider* LoaderProvider = nullptr;
    std::uint32_t TraceLevel = 0;
};

class Addon : public virtual Common::DynamicCaster
{
public:
    // The name, as the add-on signs its log lines and errors.
    virtual std::string GetName() const = 0;
    virtual std::uint32_t GetVersion() const = 0;
    // Stores the environment for the whole module; see AddonImpl::Configure.
    virtual void Configure(const AddonEnvironment& environment) = 0;

    ~Addon() override;
};

} // namespace Core
