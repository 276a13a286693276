// Async::CyclicRunnerImpl::CyclicRunner runs one action after another, as a function yields them, until
// one fails or the runner is cancelled (a cancelled round fails with 0x00F90002); the failure goes to the
// handler. Async::Detail::CyclicRunAction is the action that starts one. Rounds that complete inside
// Perform are run by a loop, not by recursion, so the stack stays flat. Cancel is thread-safe.
#pragma once

#include "async/Action.h"
#include "async/Job.h"
#include "async/JobControl.h"
#include "common/Error.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

namespace Async
{

// Yields the action of the next round; it must live through its Perform. A null action ends the cycle
// with 0x00F90001. May throw Common::Error, which ends the cycle with that failure.
using NextActionFunction = std::function<std::shared_ptr<Action>()>;

namespace CyclicRunnerImpl
{

class CyclicRunner final : public BaseJob,
                           public ActionHandler,
                           public std::enable_shared_from_this<CyclicRunner>
{
public:
    // Use Detail::CyclicRunAction; public for make_shared. `handler` must live until it is called.
    CyclicRunner(NextActionFunction next, ActionHandler& handler);

    // Runs the first round. The runner must be owned by a std::shared_ptr.
    void Start();
    // JobControl::Cancel: the running round, or the next one, fails with 0x00F90002.
    void Cancel() override;
    // The end of a round: the next one on success, the handler on failure.
    void Completed(const Common::Error& result) override;
    // "ASYNC: Cyclic runner job."
    void Describe(WorkDescription& out) const override;

private:
    // Where the thread that runs rounds is, so that a round completing inside Run does not run the next
    // one from within (which would deepen the stack) but tells the loop to go on.
    enum Phase : std::uint32_t
    {
        Outside = 0, // no thread in Run: the completing thread runs the next round
        InRun = 1,   // a thread is in Run and will look at the phase when it returns
        Again = 2,   // the round succeeded inside Run: that thread runs the next one
    };

    void RunRounds();
    void Finish(const Common::Error& result);

    NextActionFunction Next;
    JobControl Control;
    ActionHandler& Handler;
    std::atomic<std::uint32_t> Loop{Outside};
};

} // namespace CyclicRunnerImpl

namespace Detail
{

// Perform creates a CyclicRunner over the function with the handler, starts it and returns it.
class CyclicRunAction final : public Action
{
public:
    explicit CyclicRunAction(NextActionFunction next);
    // Runs the same action in every round.
    explicit CyclicRunAction(std::shared_ptr<Action> action);

    std::shared_ptr<Job> Perform(ActionHandler& handler) override;

private:
    NextActionFunction Next;
};

} // namespace Detail
} // namespace Async
