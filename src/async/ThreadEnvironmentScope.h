// Async::ThreadEnvironmentScope puts a captured thread environment (identity and the like) on the calling
// thread for its lifetime: the constructor applies it, the destructor restores what the thread had. Per
// thread: destroy it on the thread that made it, in nesting order. The environment object must outlive it.
#pragma once

#include "async/Service.h"
#include "common/NonCopyable.h"

namespace Async
{

class ThreadEnvironmentScope : Common::NonCopyable
{
public:
    ThreadEnvironmentScope(const ThreadEnvironment& environment, const ThreadEnvironment::Snapshot& snapshot);
    // With the thread environment of the current async service (nothing happens without one).
    explicit ThreadEnvironmentScope(const ThreadEnvironment::Snapshot& snapshot);
    virtual ~ThreadEnvironmentScope();

private:
    const ThreadEnvironment* Environment;
    ThreadEnvironment::Snapshot Previous;
};

// The thread environment of the current async service, or null without one.
const ThreadEnvironment* GetServiceThreadEnvironment();

} // namespace Async
