#include "common/TextCatalog.h"

#include "Platform/TextBundle.h"
#include "common/Language.h"

#include <atomic>
#include <bit>
#include <cerrno>
#include <cstring>
#include <vector>

namespace Common
{

namespace
{

// Written without a lock: two first callers may both load, with the same outcome. Release and acquire
// cost nothing over relaxed here and make a bundle's bytes visible with its address.
std::atomic<const unsigned char*> CurrentBundle{nullptr};
std::atomic<bool> BundleLoaded{false};

std::uint32_t ReadWord(const unsigned char* address)
{
    std::uint32_t word;
    std::memcpy(&word, address, sizeof word);
    if constexpr (std::endian::native == std::endian::big)
    {
        word = __builtin_bswap32(word);
    }
    return word;
}

// A bundle of another stamp numbers its texts differently, so it falls back to the built-in one.
void OnLanguagesSet(const LanguageList& languages)
{
    std::vector<const char*> names;
    names.reserve(languages.size());
    for (const std::string& language : languages)
    {
        names.push_back(language.c_str());
    }
    auto bundle = static_cast<const unsigned char*>(hsv_text_bundle_get_text(names.data(), names.size()));
    if (bundle == nullptr || ReadWord(bundle + 4) != CatalogStamp)
    {
        bundle = static_cast<const unsigned char*>(GetBuiltInBundle());
    }
    CurrentBundle.store(bundle, std::memory_order_release);
    BundleLoaded.store(true, std::memory_order_release);
}

// Texts are fetched on error paths, where errno is about to be reported: loading must not change it.
void LoadBundle()
{
    const int savedErrno = errno;
    SubscribeLanguage(&OnLanguagesSet);
    errno = savedErrno;
}

} // namespace

const void* GetText(TextId id)
{
    if (!BundleLoaded.load(std::memory_order_acquire))
    {
        LoadBundle();
    }
    const unsigned char* bundle = CurrentBundle.load(std::memory_order_acquire);
    if (bundle == nullptr)
    {
        return nullptr;
    }
    const unsigned char* entry = bundle + id;
    return entry + ReadWord(entry);
}

bool IsCatalogText(const void* address)
{
    const unsigned char* bundle = CurrentBundle.load(std::memory_order_acquire);
    if (bundle == nullptr)
    {
        return false;
    }
    const auto begin = reinterpret_cast<std::uintptr_t>(bundle);
    const auto at = reinterpret_cast<std::uintptr_t>(address);
    return at >= begin && at - begin < ReadWord(bundle);
}

const void* GetBuiltInBundle()
{
    return Detail::BuiltInBundleBytes();
}

} // namespace Common
