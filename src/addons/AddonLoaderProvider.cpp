#include "addons/AddonLoaderProvider.h"

#include "common/CatalogIds.h"
#include "common/TextCatalog.h"
#include "common/Trace.h"

namespace Core
{
namespace
{

// Warnings: a module that nobody configured still works, it just loads nothing more.
constexpr int NullLoaderTraceLevel = 3;

class NullAddonLoader final : public AddonLoader
{
public:
    void Load(std::string_view, AddonSink&) override
    {
        Common::TraceText(NullLoaderTraceLevel, 0, 0, Common::GetText(Common::Texts::AddonNullLoaderUsed));
    }
};

} // namespace

AddonLoader::~AddonLoader() = default;

AddonLoaderProvider::~AddonLoaderProvider() = default;

AddonLoader& AddonLoaderProvider::GetLoader()
{
    // Stateless, so one serves every provider of this class.
    static NullAddonLoader loader;
    return loader;
}

} // namespace Core
