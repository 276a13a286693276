// The host's logging library: line tags computed at run time, and (later) structured log output.
#pragma once

#include "Platform/Location.h"

#define PLATFORM_API extern "C" __attribute__((visibility("default")))

// Fills `out` with the site and a line tag computed from the repository-relative `file` and `line`;
// equal to the tag that the compile-time location of the same site carries.
PLATFORM_API void Logging_BuildLineTag(Common::ErrorLocation* out, const char* file, const char* function,
                                       unsigned line);
