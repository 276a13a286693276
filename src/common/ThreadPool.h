// Common::ThreadPool: threads from the host's thread-pool library. A pool thread's function runs on a
// reused thread; the accessor waits for the function, not for the thread. Failures the library reports
// come back as its serialised Common::Error and are rethrown. Thread-safe.
#pragma once

#include "common/Thread.h"

#include <memory>

namespace Common
{

class ThreadPool
{
public:
    // A new pool of its own. Throws code 7 at "Common::ThreadPool::Create".
    static ThreadPool Create();
    // A new pool whose threads run with the creator's identity: each function runs under the identity of
    // the thread that starts it. Throws code 7 at "Common::ThreadPool::CreateImpersonated".
    static ThreadPool CreateImpersonated();

    // A thread of the process-wide pool. Throws code 7 at "Common::ThreadPool::CreateThread".
    static std::shared_ptr<ThreadAccessor> CreateThread(ThreadFunction function, void* argument,
                                                        int priority = 2);
    // The same, running with the caller's identity. Throws code 7 at
    // "Common::ThreadPool::CreateImpersonatedThread".
    static std::shared_ptr<ThreadAccessor> CreateImpersonatedThread(ThreadFunction function, void* argument,
                                                                    int priority = 2);

    // A thread of this pool (with the pool's identity rule). Throws code 7 at
    // "Common::ThreadPool::CreateThread".
    std::shared_ptr<ThreadAccessor> Start(ThreadFunction function, void* argument, int priority = 2);
    // Drops the pool's idle threads.
    void Clear();

    // Destroying a pool waits for its running functions, so it must not happen on one of its own threads.
    ThreadPool(ThreadPool&&) noexcept;
    ThreadPool& operator=(ThreadPool&&) noexcept;
    ~ThreadPool();

private:
    struct Handle;
    explicit ThreadPool(std::shared_ptr<Handle> handle);
    std::shared_ptr<Handle> Pool;
};

} // namespace Common
