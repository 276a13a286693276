// Async::WaitCompletionHandler stands between an action and its handler: it counts the completed runs
// into a shared Logic and passes each result on unchanged. Others wait for the first end through the
// Logic's wait action (success at the end, at once after it; 0x00F90002 when the wait is cancelled).
// The Logic is thread-safe; a handler serves one run at a time, as any handler.
#pragma once

#include "async/Action.h"
#include "async/DelegatingActionHandler.h"
#include "async/WaitCompletionJob.h"
#include "common/Error.h"
#include "common/NonCopyable.h"

#include <atomic>
#include <cstdint>
#include <memory>

namespace Async
{

class WaitCompletionHandler : public DelegatingActionHandler
{
public:
    class Logic : Common::NonCopyable
    {
    public:
        Logic();
        // Counts a completed run; the first one ends the wait.
        void Count();
        std::uint32_t GetRuns() const { return Runs.load(std::memory_order_acquire); }
        bool IsFinished() const;
        // An action that completes when the first run has ended; one waiter at a time.
        std::unique_ptr<Action> GetWaitAction() const;

    private:
        std::atomic<std::uint32_t> Runs{0};
        const std::shared_ptr<WaitCompletionJob::Signal> Ended;
    };

    // `next` may be set later, before the run completes; it must outlive the run.
    explicit WaitCompletionHandler(std::shared_ptr<Logic> logic, ActionHandler* next = nullptr);

    const std::shared_ptr<Logic>& GetLogic() const { return Shared; }

protected:
    // Counts the run; the result goes on unchanged. Nothing of this handler is touched after that, so the
    // next handler may destroy it.
    void ProcessResult(Common::Error& out, const Common::Error& result) override;

private:
    const std::shared_ptr<Logic> Shared;
};

} // namespace Async
