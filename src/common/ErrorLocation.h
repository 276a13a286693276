// Reporting sites: COMMON_LOCATION("Qualified::Function") builds the ErrorLocation of the line it stands
// on, with a line tag the compiler computes from the repository-relative path (a constant even at -O0).
#pragma once

#include "Platform/LineTag.h"
#include "Platform/Location.h"

namespace Common
{

consteval std::uint64_t MakeLineTag(const char* file, std::uint32_t line)
{
    return Platform::ComputeLineTag(file, line);
}

} // namespace Common

#define COMMON_LOCATION(function)                                                                            \
    (::Common::ErrorLocation{::Common::MakeLineTag(__FILE__, __LINE__), __FILE__, function, __LINE__})
