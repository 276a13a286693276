// Core::EntryPoint: the call site of a store operation, written into the options of every read so the
// store can tell who asked. CORE_ENTRY_POINT() makes the one of the line it stands on.
#pragma once

#include "common/ErrorLocation.h"

#include <cstdint>
#include <string>

namespace Core
{

struct EntryPoint
{
    std::uint64_t ID = 0;
    std::string File;
    std::uint32_t Line = 0;

    friend bool operator==(const EntryPoint&, const EntryPoint&) = default;
};

} // namespace Core

#define CORE_ENTRY_POINT() (::Core::EntryPoint{::Common::MakeLineTag(__FILE__, __LINE__), __FILE__, __LINE__})
