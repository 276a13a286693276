// Windows::DelayLoad: finding the add-on's dependent libraries when they are first needed. A library's
// path may be configured under its name in the configuration store (Windows::Registry), first under
// GlobalComponentsKey, then under CommonComponentsKey of HKEY_LOCAL_MACHINE; a library configured under
// neither is left to the loader's default search. Failures keep the codes of the loader's failure hook:
// 0x001410A1 for a library, 0x001410A2 for a function, each with the system error as sub-error.
// Handles are those of dlopen: the caller owns them and may dlclose them. Thread-safe.
#pragma once

#include "common/WideString.h"

#include <cstdint>
#include <string_view>

namespace Windows
{

namespace ErrorCodes
{
inline constexpr std::uint32_t DelayLoadLibraryFailed = 0x001410A1;
inline constexpr std::uint32_t DelayLoadFunctionFailed = 0x001410A2;
} // namespace ErrorCodes

namespace DelayLoad
{

inline constexpr Common::WideStringView GlobalComponentsKey = u"Software\\Veltrix\\GlobalComponents";
inline constexpr Common::WideStringView CommonComponentsKey =
    u"Software\\Veltrix\\BackupAndRecovery\\CommonComponents";

// The path configured for `library`; the second key is read only when the first names none. Empty when
// neither does; a key or store that can't be read names none.
Common::WideString FindConfiguredPath(std::string_view library);

// The hook before a library loads: loads the configured path of `library`, or returns null when none is
// configured so that the default search goes on. Throws 0x001410A1 (kind "path,$module", the
// library's name as "path") when the configured library can't be loaded.
void* LoadConfigured(std::string_view library);

// The configured library, else the library found by the default search for its name. Throws
// 0x001410A1 as LoadConfigured does.
void* Load(std::string_view library);

// The function `function` of `module`, a handle of `library`. Throws 0x001410A2 (kind
// "path,function,$module") when it has none.
void* GetFunction(void* module, std::string_view library, const char* function);

} // namespace DelayLoad
} // namespace Windows
