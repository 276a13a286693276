// Default text-bundle library: bundles installed in memory by language, and bundle files under a
// directory, each read once and kept until the process ends.

#include "Platform/TextBundle.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace
{

struct BundleStore
{
    std::mutex Mutex; // guards everything below
    std::map<std::string, const void*> Installed;
    std::string Directory;
    std::map<std::string, std::vector<unsigned char>> Files; // by path; never erased
};

// Never destroyed: texts are held by address until the very end of the process.
BundleStore& Store()
{
    static BundleStore* store = new BundleStore;
    return *store;
}

std::uint32_t ReadWord(const unsigned char* address)
{
    return address[0] | address[1] << 8 | address[2] << 16 | static_cast<std::uint32_t>(address[3]) << 24;
}

// Reads a whole file; a file too short for its own size word is no bundle.
bool ReadBundleFile(const std::string& path, std::vector<unsigned char>& bytes)
{
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr)
    {
        return false;
    }
    unsigned char buffer[65536];
    for (std::size_t count; (count = std::fread(buffer, 1, sizeof buffer, file)) > 0;)
    {
        bytes.insert(bytes.end(), buffer, buffer + count);
    }
    const bool ok = !std::ferror(file);
    std::fclose(file);
    return ok && bytes.size() >= 8 && ReadWord(bytes.data()) >= 8 && ReadWord(bytes.data()) <= bytes.size();
}

// Called with the store's mutex held.
const void* FindBundle(BundleStore& store, const std::string& language)
{
    if (const auto installed = store.Installed.find(language); installed != store.Installed.end())
    {
        return installed->second;
    }
    if (store.Directory.empty())
    {
        return nullptr;
    }
    const std::string path = store.Directory + "/" + language + "/texts.bundle";
    if (const auto cached = store.Files.find(path); cached != store.Files.end())
    {
        return cached->second.data();
    }
    std::vector<unsigned char> bytes;
    if (!ReadBundleFile(path, bytes))
    {
        return nullptr;
    }
    return store.Files.emplace(path, std::move(bytes)).first->second.data();
}

} // namespace

const void* hsv_text_bundle_get_text(const char* const* languages, std::size_t count)
{
    BundleStore& store = Store();
    std::lock_guard lock(store.Mutex);
    for (std::size_t i = 0; i < count; ++i)
    {
        if (languages[i] == nullptr || languages[i][0] == '\0')
        {
            continue;
        }
        if (const void* bundle = FindBundle(store, languages[i]))
        {
            return bundle;
        }
    }
    return nullptr;
}

void hsv_text_bundle_install(const char* language, const void* bundle)
{
    if (language == nullptr)
    {
        return;
    }
    BundleStore& store = Store();
    std::lock_guard lock(store.Mutex);
    if (bundle == nullptr)
    {
        store.Installed.erase(language);
    }
    else
    {
        store.Installed[language] = bundle;
    }
}

void hsv_text_bundle_set_directory(const char* directory)
{
    BundleStore& store = Store();
    std::lock_guard lock(store.Mutex);
    store.Directory = directory != nullptr ? directory : "";
}
