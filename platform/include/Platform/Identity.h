// The identity a thread runs under: this port's stand-in for tokens and impersonation. Each thread has
// its own value, 0 (the process identity) until it impersonates; threads created while it is set
// carry it. Every function acts on the calling thread only, so all are thread-safe.
#pragma once

#include "Platform/Logging.h"

#include <cstdint>

// The calling thread's identity; 0 when it runs as the process.
PLATFORM_API std::uint64_t Identity_GetThreadIdentity(void);

// Makes the calling thread run under `identity` (impersonation); 0 reverts it to the process identity.
PLATFORM_API void Identity_SetThreadIdentity(std::uint64_t identity);
