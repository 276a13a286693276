// Async::LazyBarrier runs any number of actions at once and stops at the first failure: the others are
// cancelled, and the wait completes with that first failure once all have ended. A round (a BarrierJob)
// begins at the first Add and ends with Wait, so the barrier can be used again.
// Thread-safe; an Add racing a Wait joins either the round waited for or the next one.
#pragma once

#include "async/Action.h"
#include "async/BarrierJob.h"
#include "common/Error.h"
#include "common/NonCopyable.h"

#include <memory>
#include <mutex>

namespace Async
{

class LazyBarrier : Common::NonCopyable
{
public:
    class BarrierJob final : public Detail::BarrierJob
    {
    public:
        BarrierJob();
        // Cancels the running actions; unless a failure came first, the round ends with 0x00F90002.
        void Cancel() override;
    };

    // Starts `action` in the current round unless the round has failed; `action` need live only through
    // this call. Returns the round's failure as it stands after the start (that of `action` itself when it
    // failed at once), success otherwise.
    Common::Error Add(Action& action);
    // An action (single-use) that completes when every action of the round has completed, with the first
    // failure or success. The next Add begins a new round.
    std::unique_ptr<Action> Wait();

private:
    std::shared_ptr<BarrierJob> CurrentRound();

    std::mutex Lock;
    std::shared_ptr<BarrierJob> Current; // guarded by Lock
};

} // namespace Async
