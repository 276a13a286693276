// Logging::Log: writes one printf-style record to the host's logging library at a reporting site.
// A null format is a broken invariant ("format") and writes nothing. Thread-safe.
#pragma once

#include "common/ErrorLocation.h"
#include "common/TraceLogic.h"

namespace Logging
{

// `location` comes from COMMON_LOCATION or Logging_BuildLineTag; `context` null is the default channel.
void Log(const Common::ErrorLocation& location, int level, Common::TraceContext context, const char* format,
         ...) __attribute__((format(printf, 4, 5)));

} // namespace Logging
