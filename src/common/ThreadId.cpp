#include "common/ThreadId.h"

#include <unistd.h>

namespace Common
{
namespace
{

// Initial-exec keeps the lookup to one %fs-relative load: the lock fast paths read it on every call.
// The core library is linked, not opened late, so its static TLS block is always there.
thread_local ThreadId CachedId __attribute__((tls_model("initial-exec"))) = 0;

} // namespace

ThreadId GetCurrentThreadId()
{
    ThreadId id = CachedId;
    if (id == 0)
    {
        id = static_cast<ThreadId>(gettid());
        CachedId = id;
    }
    return id;
}

} // namespace Common
