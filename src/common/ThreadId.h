// Thread identifiers of the system: the kernel's id of a thread, never 0 for a live thread.
#pragma once

#include <cstdint>

namespace Common
{

using ThreadId = std::uint64_t;

// The calling thread's id (cached per thread).
ThreadId GetCurrentThreadId();

} // namespace Common
