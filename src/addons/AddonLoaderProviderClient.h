// Core::AddonLoaderProviderClient: the module's global loader provider and trace level, as the host
// hands them to Configure. Every add-on of the module shares them. Thread-safe.
#pragma once

#include <cstdint>

namespace Core
{

class AddonLoaderProvider;

class AddonLoaderProviderClient
{
public:
    AddonLoaderProviderClient() = delete;

    // Setting a provider other than the one already set is a broken invariant ("AddonLoaderProviderClient:
    // global instance is being set more than once."); the new one replaces the old one anyway. The
    // provider is borrowed and must outlive every use.
    static void SetGlobalInstance(AddonLoaderProvider* provider);
    // The provider set. Before one is set, a broken invariant ("AddonLoaderProviderClient: global instance
    // is not set but someone wants to acquire it. using local instance.") and a local provider, whose
    // loader loads nothing.
    static AddonLoaderProvider& GetGlobalInstance();

    static void SetGlobalTraceLevel(std::uint32_t level);
    // 0 until Configure sets it.
    static std::uint32_t GetGlobalTraceLevel();
};

namespace Detail
{
// Forgets the provider and the trace level, as before the first Configure.
void ResetAddonGlobalsForTesting();
} // namespace Detail

} // namespace Core
