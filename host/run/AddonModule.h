// Host::Run::AddonModule: the alerts add-on as the host loads it: the module opened with dlopen,
// LoadAddons called with the host's sink, each add-on configured with the host's loader provider and
// trace level, and its inspector factory found in its cast table. The module stays loaded for the
// process's life: its statics may outlive the add-ons.
#pragma once

#include "addons/AddonLoaderProvider.h"
#include "common/NonCopyable.h"

#include <memory>
#include <string>
#include <vector>

namespace Core
{
class Addon;
}

namespace Alerts
{
class InspectorFactory;
}

namespace Host::Run
{

struct LoadedAddon
{
    std::string Name;
    std::unique_ptr<Core::Addon> Addon;
    Alerts::InspectorFactory* Factory = nullptr; // null when the add-on offers none
};

class AddonModule : Common::NonCopyable
{
public:
    // Throws Common::Error when the module cannot be loaded or has no LoadAddons.
    AddonModule(const std::string& path, std::uint32_t traceLevel);
    ~AddonModule();

    std::vector<LoadedAddon>& GetAddons() { return Addons; }

private:
    Core::AddonLoaderProvider Provider;
    std::vector<LoadedAddon> Addons;
};

} // namespace Host::Run
