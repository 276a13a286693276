// The built shared object exports LoadAddons and nothing else of its own: every other symbol of the
// module is hidden, so that nothing of it can interpose or be interposed. What the standard library's
// templates leave in the table (type information of its own classes, shared statics) belongs to the
// library, not to the module, and is told apart by its mangled name.
#include <elf.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace
{

std::vector<char> ReadFile(const char* path)
{
    std::ifstream file(path, std::ios::binary);
    return std::vector<char>(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

template <typename T>
const T* At(const std::vector<char>& image, std::size_t offset, std::size_t count = 1)
{
    if (offset > image.size() || count * sizeof(T) > image.size() - offset)
    {
        ADD_FAILURE() << "the ELF image is truncated at offset " << offset;
        return nullptr;
    }
    return reinterpret_cast<const T*>(image.data() + offset);
}

// The names of the dynamic symbols the image defines with default visibility.
std::vector<std::string> DefinedDynamicSymbols(const std::vector<char>& image)
{
    const auto* header = At<Elf64_Ehdr>(image, 0);
    if (header == nullptr || std::memcmp(header->e_ident, ELFMAG, SELFMAG) != 0 ||
        header->e_ident[EI_CLASS] != ELFCLASS64)
    {
        ADD_FAILURE() << "not a 64-bit ELF image";
        return {};
    }
    const auto* sections = At<Elf64_Shdr>(image, header->e_shoff, header->e_shnum);
    if (sections == nullptr)
    {
        return {};
    }
    std::vector<std::string> names;
    for (std::size_t index = 0; index < header->e_shnum; ++index)
    {
        const Elf64_Shdr& table = sections[index];
        if (table.sh_type != SHT_DYNSYM || table.sh_link >= header->e_shnum)
        {
            continue;
        }
        const Elf64_Shdr& strings = sections[table.sh_link];
        const std::size_t count = table.sh_size / sizeof(Elf64_Sym);
        const auto* symbols = At<Elf64_Sym>(image, table.sh_offset, count);
        for (std::size_t symbol = 0; symbols != nullptr && symbol < count; ++symbol)
        {
            const Elf64_Sym& entry = symbols[symbol];
            if (entry.st_shndx == SHN_UNDEF || ELF64_ST_BIND(entry.st_info) == STB_LOCAL ||
                ELF64_ST_VISIBILITY(entry.st_other) != STV_DEFAULT || entry.st_name >= strings.sh_size)
            {
                continue;
            }
            names.emplace_back(image.data() + strings.sh_offset + entry.st_name);
        }
    }
    return names;
}

// Whether a mangled name is an entity of namespace std (or of the library's __gnu_cxx), or a special
// object of one (type information, its name, a vtable, a guard, a local static), or the type information
// of a function type, which the sanitizers' function checks emit.
bool IsStandardLibrarySymbol(const std::string& name)
{
    if (name.rfind("_Z", 0) != 0)
    {
        return false;
    }
    std::size_t at = 2;
    for (const char* special : {"TI", "TS", "TV", "TT", "GV", "TH", "TW"})
    {
        if (name.compare(at, 2, special) == 0)
        {
            at += 2;
            break;
        }
    }
    const bool typeInformation = name.compare(2, 2, "TI") == 0 || name.compare(2, 2, "TS") == 0;
    if (typeInformation && name.compare(at, 1, "F") == 0)
    {
        return true;
    }
    at += name.compare(at, 1, "Z") == 0 ? 1 : 0; // a local entity of a function
    at += name.compare(at, 1, "N") == 0 ? 1 : 0; // a nested name
    while (at < name.size() && (name[at] == 'K' || name[at] == 'V' || name[at] == 'r'))
    {
        ++at;
    }
    const std::string_view entity = std::string_view(name).substr(std::min(at, name.size()));
    return entity.starts_with("St") || entity.starts_with("9__gnu_cxx") ||
           (entity.size() > 1 && entity[0] == 'S' && std::strchr("absiod", entity[1]) != nullptr);
}

TEST(AddonExportsTest, StandardLibraryNamesAreToldApartFromTheModulesOwn)
{
    EXPECT_TRUE(IsStandardLibrarySymbol("_ZTISt16_Sp_counted_baseILN9__gnu_cxx12_Lock_policyE2EE"));
    EXPECT_TRUE(IsStandardLibrarySymbol("_ZZNSt19_Sp_make_shared_tag5_S_tiEvE5__tag"));
    EXPECT_TRUE(IsStandardLibrarySymbol("_ZNKSt6vectorIiSaIiEE4sizeEv"));
    EXPECT_TRUE(IsStandardLibrarySymbol("_ZN9__gnu_cxx13new_allocatorIcE8allocateEm"));
    EXPECT_TRUE(IsStandardLibrarySymbol("_ZTSFvPcjmE"));
    EXPECT_FALSE(IsStandardLibrarySymbol("LoadAddons"));
    EXPECT_FALSE(IsStandardLibrarySymbol("_ZN6Alerts19GetModuleControllerEv"));
    EXPECT_FALSE(IsStandardLibrarySymbol("_ZTIN6Alerts29ActivityFailingInspectorAddonE"));
    EXPECT_FALSE(IsStandardLibrarySymbol(
        "_ZN6Alerts6Detail30CreateActivityFailingInspectorERN7Runtime13ServiceHolderE"));
    EXPECT_FALSE(IsStandardLibrarySymbol(
        "_ZNK4Core13AddOnImplBaseIN6Alerts16InspectorFactoryENS_6Detail9EmptyBaseEE7GetNameB5cxx11Ev"));
}

TEST(AddonExportsTest, TheModuleExportsLoadAddonsAlone)
{
    const std::vector<char> image = ReadFile(VELTRIX_ADDON_PATH);
    ASSERT_FALSE(image.empty()) << VELTRIX_ADDON_PATH;

    std::vector<std::string> own;
    for (const std::string& name : DefinedDynamicSymbols(image))
    {
        if (!IsStandardLibrarySymbol(name))
        {
            own.push_back(name);
        }
    }
    EXPECT_EQ(own, std::vector<std::string>{"LoadAddons"});
}

} // namespace
