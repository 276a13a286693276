#include "common/ThreadId.h"

#include <unistd.h>

namespace Common
{
namespace Detail
{

thread_local constinit ThreadId CurrentThreadId __attribute__((tls_model("initial-exec"))) = 0;

ThreadId FetchCurrentThreadId()
{
    CurrentThreadId = static_cast<ThreadId>(gettid());
    return CurrentThreadId;
}

} // namespace Detail
} // namespace Common
