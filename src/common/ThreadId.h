// Thread identifiers of the system: the kernel's id of a thread, never 0 for a live thread.
// GetCurrentThreadId is one thread-local load once the calling thread has asked for its id before.
#pragma once

#include <cstdint>

namespace Common
{

using ThreadId = std::uint64_t;

namespace Detail
{
// The calling thread's id, 0 until its first GetCurrentThreadId. Initial-exec: the lock fast paths read it
// with one %fs-relative load, which the core library's static TLS block allows.
extern thread_local constinit ThreadId CurrentThreadId __attribute__((tls_model("initial-exec")));
// Asks the kernel and caches the answer.
ThreadId FetchCurrentThreadId();
} // namespace Detail

// The calling thread's id (cached per thread).
inline ThreadId GetCurrentThreadId()
{
    const ThreadId id = Detail::CurrentThreadId;
    return id != 0 ? id : Detail::FetchCurrentThreadId();
}

} // namespace Common
