// Async::FullBarrier runs any number of actions at once and lets all of them run to their end; their
// results go to the accumulator, and the wait reports only whether the round was cancelled. A round
// (a BarrierJob) begins at the first Add and ends with Wait, so the barrier can be used again.
// Thread-safe; an Add racing a Wait joins either the round waited for or the next one.
#pragma once

#include "async/Action.h"
#include "async/BarrierJob.h"
#include "async/ResultAccumulator.h"
#include "common/Error.h"
#include "common/NonCopyable.h"

#include <memory>
#include <mutex>

namespace Async
{

class FullBarrier : Common::NonCopyable
{
public:
    class BarrierJob final : public Detail::BarrierJob
    {
    public:
        explicit BarrierJob(ResultAccumulator* accumulator);
        // Cancels the running actions; the round then ends with 0x00F90002.
        void Cancel() override;
    };

    // Starts `action` in the current round; `action` need live only through this call. Returns success,
    // or 0x00F90002 once the round was cancelled (then nothing is started).
    Common::Error Add(Action& action);
    // An action (single-use) that completes when every action of the round has completed: with success,
    // or with 0x00F90002 when its job (the round) was cancelled. The next Add begins a new round.
    std::unique_ptr<Action> Wait();
    // Used by the rounds begun from now on; null for none. Must outlive them.
    void SetAccumulator(ResultAccumulator* accumulator);

private:
    std::shared_ptr<BarrierJob> CurrentRound();

    std::mutex Lock;
    std::shared_ptr<BarrierJob> Current;      // guarded by Lock
    ResultAccumulator* Accumulator = nullptr; // guarded by Lock
};

} // namespace Async
