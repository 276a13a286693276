// Windows::Registry: read access to the product's configuration under the registry's paths. This port
// keeps the registry as a configuration store of text files, one per root key, under a configurable
// directory: HKEY_LOCAL_MACHINE is <root>/HKEY_LOCAL_MACHINE.conf. Keys keep their paths
// ("SOFTWARE\Veltrix\..."), failures keep their codes: 0x00141B58 for a key, 0x00141B59 for a value,
// each with the system error as sub-error.
//
// File format (UTF-8, one item a line, blanks around items ignored):
//   # or ; at the start  a comment; empty lines are skipped
//   [SOFTWARE\Veltrix\GlobalComponents]   starts the key of that path; lines before any key belong to
//                                         the root key itself; a key may appear more than once
//   name=value           a string value; "@" names the key's default value; a value in double quotes
//                        is taken as it stands between them (to keep blanks); the last one of a name wins
// Key paths and value names compare case-insensitively in ASCII, as the registry's do; a key exists
// when it or a key below it appears. Any other line makes the file unreadable (error 1009).
#pragma once

#include "common/NonCopyable.h"
#include "common/WideString.h"

#include <cstdint>
#include <map>
#include <string>

namespace Windows
{

using RegistryRoot = std::uint32_t;
inline constexpr RegistryRoot HKeyClassesRoot = 0x80000000;
inline constexpr RegistryRoot HKeyCurrentUser = 0x80000001;
inline constexpr RegistryRoot HKeyLocalMachine = 0x80000002;
inline constexpr RegistryRoot HKeyUsers = 0x80000003;

// Access rights. The store is read-only: rights to change it are refused with error 5.
inline constexpr std::uint32_t KeyQueryValue = 0x0001;
inline constexpr std::uint32_t KeySetValue = 0x0002;
inline constexpr std::uint32_t KeyCreateSubKey = 0x0004;
inline constexpr std::uint32_t KeyRead = 0x20019;

namespace ErrorCodes
{
inline constexpr std::uint32_t RegistryOpenFailed = 0x00141B58;
inline constexpr std::uint32_t RegistryReadFailed = 0x00141B59;
} // namespace ErrorCodes

// The directory of the store's files: the one set last by SetConfigurationRoot, else the environment
// variable VELTRIX_CONFIG_ROOT, else /etc/veltrix. Thread-safe.
std::string GetConfigurationRoot();
// An empty directory goes back to the environment. Thread-safe.
void SetConfigurationRoot(std::string directory);

class Registry : Common::NonCopyable
{
public:
    explicit Registry(RegistryRoot root, std::uint32_t access = KeyRead);

    // Opens the key `path` below the root, replacing the key opened before, and reads its values as
    // they stand now. Throws 0x00141B58 "Cannot open registry key '{0}'." with the system error: 2 for
    // a missing key, 5 for rights to change, 6 for an unknown root, 1009 for an unreadable file, or
    // the error of reading it.
    void Open(Common::WideStringView path);

    // The string value `name` (empty: the default value) of the open key. Throws 0x00141B59 "Cannot
    // read registry value '{1}' of key '{0}'." with system error 2 for a missing value, 6 when no key is
    // open.
    void GetString(Common::WideString& out, Common::WideStringView name) const;

private:
    struct CaseInsensitiveLess
    {
        using is_transparent = void;
        bool operator()(Common::WideStringView left, Common::WideStringView right) const;
    };

    Common::WideString KeyText() const;

    RegistryRoot Root;
    std::uint32_t Access;
    bool Opened = false;
    Common::WideString Path;
    std::map<Common::WideString, Common::WideString, CaseInsensitiveLess> Values;
};

} // namespace Windows
