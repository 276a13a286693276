// Async::WaitCompletionJob runs one action and lets another party wait for its end: the wait action
// completes with success when the run has ended (at once if it has), or with 0x00F90002 when its own job
// is cancelled, which stops the waiting and not the work. One waiter at a time. Thread-safe; the job's
// own result goes to its handler unchanged.
#pragma once

#include "async/Action.h"
#include "async/Job.h"
#include "async/OneStepJob.h"
#include "common/Error.h"
#include "common/NonCopyable.h"

#include <atomic>
#include <memory>
#include <mutex>

namespace Async
{

class WaitCompletionJob : public OneStepJob
{
public:
    // The end of a run (Finished) and the one handler waiting for it (Waiter). Shared by the job, its wait
    // actions and their jobs, and by WaitCompletionHandler::Logic. Thread-safe.
    class Signal : Common::NonCopyable, public std::enable_shared_from_this<Signal>
    {
    public:
        // Marks the end and completes the waiter, if any, with success. Later waits complete at once.
        void Finish();
        bool IsFinished() const;
        // Perform of the wait action: completes `handler` at once when finished and returns null, else
        // keeps it as the waiter and returns a CompletionJob. A waiter already there ends with 0x00F90002.
        std::shared_ptr<Job> Wait(ActionHandler& handler);
        // A wait action (single-use, reusable through new calls) over this signal.
        std::unique_ptr<Action> MakeWaitAction();
        // Completes `waiter` with `reason` if it is still the waiter.
        void Abandon(ActionHandler& waiter, const Common::Error& reason);

    private:
        mutable std::mutex Lock;
        bool Finished = false; // guarded by Lock
        // Taken atomically by whoever completes it: the end, a cancel, or a later waiter.
        std::atomic<ActionHandler*> Waiter{nullptr};
    };

    // The job of one waiter.
    class CompletionJob final : public BaseJob
    {
    public:
        CompletionJob(std::shared_ptr<Signal> signal, ActionHandler& waiter);
        // Completes the waiter with 0x00F90002 unless it was completed already.
        void Cancel() override;

    private:
        const std::shared_ptr<Signal> Source;
        ActionHandler& Waiter;
    };

    // `action` must stay valid until it has been performed.
    explicit WaitCompletionJob(std::shared_ptr<Action> action);

    // An action that completes when this job's run has ended; see Signal::Wait.
    std::unique_ptr<Action> GetWaitAction() const;
    bool IsFinished() const;

protected:
    Action& GetAction() override;
    // Marks the end, wakes the waiter, and passes `result` on.
    void OnCompleted(Common::Error& out, const Common::Error& result) override;

private:
    const std::shared_ptr<Action> Wrapped;
    const std::shared_ptr<Signal> Ended;
};

} // namespace Async
