#include "addons/AddonLoaderProviderClient.h"

#include "addons/AddonLoaderProvider.h"
#include "common/SafeAssert.h"

#include <atomic>

namespace Core
{
namespace
{

std::atomic<AddonLoaderProvider*> GlobalProvider{nullptr};
std::atomic<std::uint32_t> GlobalTraceLevel{0};

} // namespace

void AddonLoaderProviderClient::SetGlobalInstance(AddonLoaderProvider* provider)
{
    AddonLoaderProvider* const previous = GlobalProvider.exchange(provider);
    // Every add-on of a module is configured with the same provider; only a different one is suspect.
    SAFE_ASSERT_TEXT(previous == nullptr || previous == provider,
                     "AddonLoaderProviderClient: global instance is being set more than once.");
}

AddonLoaderProvider& AddonLoaderProviderClient::GetGlobalInstance()
{
    AddonLoaderProvider* const provider = GlobalProvider.load();
    if (provider != nullptr)
    {
        return *provider;
    }
    SAFE_ASSERT_TEXT(false, "AddonLoaderProviderClient: global instance is not set but someone wants to "
                            "acquire it. using local instance.");
    static AddonLoaderProvider local;
    return local;
}

void AddonLoaderProviderClient::SetGlobalTraceLevel(std::uint32_t level)
{
    GlobalTraceLevel.store(level);
}

std::uint32_t AddonLoaderProviderClient::GetGlobalTraceLevel()
{
    return GlobalTraceLevel.load();
}

namespace Detail
{

void ResetAddonGlobalsForTesting()
{
    GlobalProvider.store(nullptr);
    GlobalTraceLevel.store(0);
}

} // namespace Detail
} // namespace Core
