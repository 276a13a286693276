// Async::Detail::ServiceThreadPool: the threads of the default async service. Workers take posted tasks in
// FIFO order; the pool starts another thread whenever a task is queued and no thread is idle to take it
// (all busy or blocked in a BlockingScope), up to a maximum, and threads beyond the core end after idling.
// Every posted task is either run or refused exactly once. Thread-safe.
#pragma once

#include "common/Error.h"
#include "common/NonCopyable.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Async::Detail
{

class ServiceThreadPool : Common::NonCopyable
{
public:
    struct Options
    {
        // Threads that stay when idle (started on demand, not up front).
        unsigned CoreThreads = 2;
        // Never more threads than this, whatever blocks.
        unsigned MaximumThreads = 256;
        // Real time an extra thread idles before it ends.
        std::uint32_t IdleMilliseconds = 10000;
    };

    class Task
    {
    public:
        virtual ~Task() = default;
        // On a worker thread, under the process identity. Must not throw.
        virtual void Run() = 0;
        // The task will never run: the pool was closed before it started. Must not throw.
        virtual void Refuse(const Common::Error& reason) = 0;
    };

    struct Statistics
    {
        std::size_t Threads = 0;
        std::size_t Idle = 0;
        std::size_t Running = 0;
        std::size_t Blocked = 0;
        std::size_t Queued = 0;
    };

    explicit ServiceThreadPool(const Options& options);
    // Closes without running what is queued and waits for the workers (not for the calling one).
    ~ServiceThreadPool();

    // Queues `task`. On a closed pool the task is refused inside the call and false comes back.
    bool Post(std::shared_ptr<Task> task);
    // Stops accepting tasks; later posts are refused with `reason`. With `runQueued` the queue still
    // drains, otherwise its tasks are refused with `reason` inside the call. Does not wait.
    void Close(bool runQueued, const Common::Error& reason);
    // Waits until nothing is queued and no task runs. Must not be called from a worker of this pool.
    void WaitUntilIdle();
    // After Close: waits until every worker but the calling one has ended.
    void WaitForThreads();
    Statistics GetStatistics() const;

    // True on a worker thread of any service pool.
    static bool IsServiceThread();
    // For BlockingScope: the calling worker (if it is one) counts as blocked between the two, and entering
    // starts a thread when queued work has no idle thread to take it. Nested calls count once.
    static void EnterBlocking();
    static void LeaveBlocking();

    struct State;

private:
    std::shared_ptr<State> Shared;
};

} // namespace Async::Detail
