// Async::BlockingScope announces that the calling thread is about to block (a synchronous store call, a
// wait for a job) for as long as the scope lives. On a thread of the default service that thread then
// counts as blocked, and queued work that no idle thread can take gets a new thread, so a blocked caller
// never starves the work it waits for. Elsewhere it does nothing. Per thread; scopes may nest.
#pragma once

#include "common/NonCopyable.h"

namespace Async
{

class BlockingScope : Common::NonCopyable
{
public:
    BlockingScope();
    ~BlockingScope();
};

} // namespace Async
