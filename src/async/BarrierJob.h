// Async::Detail::BarrierJob: one round of a barrier: the actions started and not yet completed, the
// reason to stop, and the handler waiting for the end, called exactly once. Thread-safe: Lock guards
// the bookkeeping only, and every foreign call (Perform, Cancel, Completed, Accumulate) is made outside
// it. A lazy round stops at the first failure and cancels the rest; a full one lets all run to the end.
#pragma once

#include "async/Action.h"
#include "async/Job.h"
#include "async/ResultAccumulator.h"
#include "common/Error.h"

#include <cstdint>
#include <list>
#include <memory>
#include <mutex>

namespace Async::Detail
{

class BarrierJob : public BaseJob, public std::enable_shared_from_this<BarrierJob>
{
public:
    // Starts `action` unless the round has stopped. A Perform that throws counts as a failed action.
    // Returns FailReason as it stands after the start; when nothing was started, FailReason if no action
    // runs any more and success otherwise (Wait reports the reason then).
    Common::Error Add(Action& action);
    // Perform of the wait action: completes `handler` once no action runs, at once if none does, with
    // FailReason (lazy) or success (full; after the end of a cancelled full round too). Returns this job.
    std::shared_ptr<Job> Wait(ActionHandler& handler);
    // When set, the end of the round goes to `handler` instead of the waiter (the full round's handler
    // then gets success). Set it before the round can end.
    void SetCancelHandler(ActionHandler* handler);
    // The wait action of `round`: its Perform is round->Wait(handler).
    static std::unique_ptr<Action> MakeWaitAction(std::shared_ptr<BarrierJob> round);

protected:
    enum class Kind
    {
        Full,
        Lazy
    };
    // The accumulator (full rounds only, may be null) must outlive the round.
    BarrierJob(Kind kind, ResultAccumulator* accumulator);
    // Cancels every running action; FailReason becomes `makeCanceled()` unless it already is a failure.
    void CancelActions(Common::Error (*makeCanceled)());

private:
    class OneActionHandler;
    using EntryList = std::list<std::shared_ptr<OneActionHandler>>;

    void ActionCompleted(OneActionHandler& entry, const Common::Error& result);

    const Kind RoundKind;
    std::mutex Lock;
    std::uint32_t Count = 0;        // guarded by Lock
    EntryList Active;               // guarded by Lock
    Common::Error FailReason;       // guarded by Lock
    std::uint32_t NextPosition = 0; // guarded by Lock
    ResultAccumulator* const Accumulator;
    ActionHandler* Handler = nullptr;       // guarded by Lock; taken when called
    ActionHandler* CancelHandler = nullptr; // guarded by Lock; taken when called
};

} // namespace Async::Detail
