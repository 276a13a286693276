// The host's thread-pool library: functions run on reusable worker threads of a pool; a caller gets a
// handle per function run. Accessors report failures through `errorSize` (0 on success); the pending
// error of the calling thread's failed call is then read with ThreadPoolReadError as a serialised
// Common::Error. All functions are thread-safe; a handle may be used from any thread until closed.
#pragma once

#include "Platform/Logging.h"

#include <cstddef>
#include <cstdint>

typedef struct ThreadPoolPool* ThreadPoolHandle;
typedef struct ThreadPoolThread* ThreadPoolThreadHandle;
typedef unsigned (*ThreadPoolFunction)(void* argument);

// Waits without a limit.
#define THREAD_POOL_INFINITE 0xFFFFFFFFu
// What ThreadPoolGetExitCode answers while the function runs.
#define THREAD_POOL_STILL_ACTIVE 259u

// A new pool; null (errno set) on failure.
PLATFORM_API ThreadPoolHandle ThreadPoolCreate(void);
// Ends the pool: queued and running functions finish first, then its threads exit. Must not be called
// from one of its own threads. Thread handles stay valid until closed.
PLATFORM_API void ThreadPoolDelete(ThreadPoolHandle pool);
// Lets the pool's idle threads exit.
PLATFORM_API void ThreadPoolClear(ThreadPoolHandle pool);

// Runs `function(argument)` on a thread of the process-wide pool with `priority` (0 lowest, 1 below
// normal, 2 normal, 3 above normal, other values normal). Null (errno set) on failure. The caller
// closes the handle with ThreadPoolCloseThread.
PLATFORM_API ThreadPoolThreadHandle ThreadPoolCreateThread(ThreadPoolFunction function, void* argument,
                                                           int priority);
// The same in `pool`.
PLATFORM_API ThreadPoolThreadHandle ThreadPoolCreateThreadEx(ThreadPoolHandle pool,
                                                             ThreadPoolFunction function, void* argument,
                                                             int priority);
// As ThreadPoolCreateThread, and the function runs under the calling thread's identity (Identity.h).
PLATFORM_API ThreadPoolThreadHandle ThreadPoolCreateImpersonatedThread(ThreadPoolFunction function,
                                                                       void* argument, int priority);
PLATFORM_API ThreadPoolThreadHandle ThreadPoolCreateImpersonatedThreadEx(ThreadPoolHandle pool,
                                                                         ThreadPoolFunction function,
                                                                         void* argument, int priority);
// Releases the handle; the function runs on.
PLATFORM_API void ThreadPoolCloseThread(ThreadPoolThreadHandle thread);

// The kernel id of the worker that runs the function (waits until one has taken it).
PLATFORM_API std::uint64_t ThreadPoolGetThreadId(ThreadPoolThreadHandle thread, std::size_t* errorSize);
// The function's return value, THREAD_POOL_STILL_ACTIVE while it runs.
PLATFORM_API std::uint32_t ThreadPoolGetExitCode(ThreadPoolThreadHandle thread, std::size_t* errorSize);
// The priority it runs with, as normalised at creation.
PLATFORM_API int ThreadPoolGetPriority(ThreadPoolThreadHandle thread, std::size_t* errorSize);
// True if the function ended within `milliseconds` (THREAD_POOL_INFINITE waits for ever).
PLATFORM_API bool ThreadPoolWaitForThreadExit(ThreadPoolThreadHandle thread, std::uint32_t milliseconds,
                                              std::size_t* errorSize);
PLATFORM_API void ThreadPoolInfiniteWaitForThreadExit(ThreadPoolThreadHandle thread, std::size_t* errorSize);

// Copies the calling thread's pending error (the serialised Common::Error of its last failed call) into
// `buffer`, as much as fits in `size`, and returns its whole size; 0 if none. The error stays pending
// until it has been read whole.
PLATFORM_API std::size_t ThreadPoolReadError(ThreadPoolThreadHandle thread, void* buffer, std::size_t size);

// Test hooks. The next accessor call (on any thread) fails with a record of `code` and `message`
// (UTF-8) raised at that accessor.
PLATFORM_API void ThreadPoolInjectFailure(std::uint32_t code, const char* message);
// The next creation (pool or thread) fails with the POSIX `error`.
PLATFORM_API void ThreadPoolInjectCreationFailure(int error);
