// Async::SyncCancelJob wraps an action so that cancelling it is synchronous: Cancel returns only after
// the wrapped action has completed (and its result has been handed on). Thread-safe: any number of
// threads may cancel at once and all return after the completion. Cancel must not be called from the
// wrapped action's completion path (handler included): it would wait for itself.
#pragma once

#include "async/Action.h"
#include "async/Job.h"
#include "async/JobControl.h"
#include "common/Error.h"

#include <atomic>
#include <cstdint>
#include <memory>

namespace Async
{

class SyncCancelJob final : public BaseJob, public ActionHandler
{
public:
    // An action whose Perform runs `action` under a SyncCancelJob and returns that job. Reusable: each
    // Perform makes its own job. `action` is shared by the jobs until they have run.
    static std::unique_ptr<Action> MakeAction(std::shared_ptr<Action> action);

    // Use MakeAction; public for make_shared.
    SyncCancelJob(std::shared_ptr<Action> action, ActionHandler& handler);

    // Cancels the wrapped action and waits until it has completed.
    void Cancel() override;
    // Hands the result on, then wakes the cancelling threads.
    void Completed(const Common::Error& result) override;
    // "ASYNC: Synchronous cancel action wrapper job."
    void Describe(WorkDescription& out) const override;

private:
    // CancelState: Running, CancelInProgress, Finished, or the address of the event of the last thread
    // that began to wait (each waiter wakes the one that came before it).
    static constexpr std::uintptr_t Running = 0;
    static constexpr std::uintptr_t CancelInProgress = 1;
    static constexpr std::uintptr_t Finished = 2;

    class WrapperAction;

    void Start(const std::shared_ptr<SyncCancelJob>& self);

    std::weak_ptr<SyncCancelJob> Self;
    JobControl Control;
    std::shared_ptr<Action> Wrapped;
    std::atomic<std::uintptr_t> CancelState{Running};
    // Only the first Cancel reaches the control; later ones would change nothing there.
    std::atomic<bool> CancelRequested{false};
    ActionHandler& Handler;
};

} // namespace Async
