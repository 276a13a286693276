// The place of a reporting site, shared by the system and the host's logging library.
// File and function point at program literals or interned text; a location never owns them.
#pragma once

#include <cstdint>

namespace Common
{

struct ErrorLocation
{
    std::uint64_t LineTag = 0;
    const char* File = nullptr;
    const char* Function = nullptr;
    std::uint32_t Line = 0;
};

} // namespace Common
