#include "run/AddonModule.h"

#include "addons/Addon.h"
#include "addons/AddonSink.h"
#include "alerts/contract/InspectorFactory.h"
#include "common/CatalogIds.h"
#include "common/DynamicCaster.h"
#include "common/Error.h"
#include "common/FormatText.h"
#include "common/StringConversion.h"
#include "common/TextCatalog.h"

#include <dlfcn.h>

namespace Host::Run
{
namespace
{

constexpr std::uint32_t ModuleFault = 0x03000021;

class CollectingSink final : public Core::AddonSink
{
public:
    void AddAddon(std::unique_ptr<Core::Addon> addon) override { Addons.push_back(std::move(addon)); }
    std::vector<std::unique_ptr<Core::Addon>> Addons;
};

[[noreturn]] void Fail(const std::string& path, const char* problem)
{
    const std::u16string text =
        Common::FormatText(Common::GetText(Common::Texts::HostModuleFault),
                           {Core::ConvertFromUtf8(path), Core::ConvertFromUtf8(problem)});
    throw Common::Error(COMMON_LOCATION("Host::Run::AddonModule::AddonModule"), ModuleFault,
                        Common::WideStringView(text));
}

} // namespace

AddonModule::AddonModule(const std::string& path, std::uint32_t traceLevel)
{
    void* module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr)
    {
        const char* reason = dlerror();
        Fail(path, reason != nullptr ? reason : "dlopen failed");
    }
    const auto load = reinterpret_cast<Core::LoadAddonsFunction>(dlsym(module, "LoadAddons"));
    if (load == nullptr)
    {
        Fail(path, "the module has no LoadAddons");
    }
    CollectingSink sink;
    load(&sink);
    const Core::AddonEnvironment environment{&Provider, traceLevel};
    for (std::unique_ptr<Core::Addon>& addon : sink.Addons)
    {
        addon->Configure(environment);
        LoadedAddon loaded;
        loaded.Name = addon->GetName();
        loaded.Factory = Common::DynamicCast<Alerts::InspectorFactory>(*addon);
        loaded.Addon = std::move(addon);
        Addons.push_back(std::move(loaded));
    }
}

AddonModule::~AddonModule() = default;

} // namespace Host::Run
