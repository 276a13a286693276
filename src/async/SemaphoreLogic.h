// Async::Detail::SemaphoreLogic: the count and FIFO of a semaphore. The lock guards only the count and
// the queue; jobs start and complete outside it. A job that completes on the thread that started it
// leaves pumping the queue to that thread's caller, so synchronous actions behind a long queue run in a
// loop instead of a recursion. Thread-safe; held by std::shared_ptr (the semaphore, its actions and jobs).
#pragma once

#include "async/Action.h"
#include "async/Service.h"
#include "common/NonCopyable.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>

namespace Async::Detail
{

class SemaphoreLogic final : Common::NonCopyable
{
public:
    class SemaphoreJob;

    // `limit` 0 means no limit; `environment` must outlive the logic.
    SemaphoreLogic(std::uint32_t limit, const ThreadEnvironment& environment);
    // Asserts "!RunningCount && \"Don't destroy semaphore until all jobs has finished.\"".
    ~SemaphoreLogic();

    // An action whose every Perform runs `action` under the limit of `logic`.
    static std::unique_ptr<Action> MakeWrapper(std::shared_ptr<SemaphoreLogic> logic,
                                               std::shared_ptr<Action> action);

    // Starts the job now if the limit allows, otherwise queues it.
    void Admit(const std::shared_ptr<SemaphoreJob>& job);
    // A running job has completed: frees its place.
    void Finished(const SemaphoreJob& job);
    // Starts queued jobs while the limit allows; cancelled ones are dropped.
    void Pump();

private:
    // Under Lock.
    bool CanRun() const;

    const std::uint32_t Limit;
    const ThreadEnvironment& Environment;
    // Guards RunningCount and Queue; held for queue decisions only.
    std::mutex Lock;
    std::uint32_t RunningCount = 0;
    std::deque<std::shared_ptr<SemaphoreJob>> Queue;
};

} // namespace Async::Detail
