// Async::JobControl runs one action at a time and calls the upper handler exactly once per run, whatever
// the order and threads of its four events (Perform returned, Perform threw, Completed, Cancel). One
// atomic state word and a constant transition matrix, no lock; foreign code is never called holding
// anything. A cancel while idle cancels the next run before it performs. The control must stay alive
// until the upper handler was called; it may be destroyed only when idle (state 0 or 3).
#pragma once

#include "async/Action.h"
#include "common/Error.h"

#include <atomic>
#include <cstdint>
#include <memory>

namespace Async
{

class JobControl final : public ActionHandler
{
public:
    enum State : std::uint32_t
    {
        StateBegin = 0,
        StateWaitCompleted = 1,
        StateWaitPerform = 2,
        StateCancelScheduledWaitAll = 3,
        StateCancelScheduledWaitCompleted = 4,
        StateCancelScheduledWaitPerform = 5,
        StateCancellingAfterPerform = 6,
        StateCancellingAfterPerformCompleted = 7,
        StateCancelling = 8,
        StateCancellingCompleted = 9,
        StateFinishing = 10,
    };
    static constexpr std::uint32_t StatesCount = 11;

    JobControl();
    ~JobControl() override;

    // Starts `action`; the control must be idle. `owner` describes failed results (may be null).
    void Run(Action& action, ActionHandler& handler, DescriptiveEntity* owner);
    // Any time, any thread; when idle it cancels the next run in advance.
    void Cancel();
    // The action's side.
    void Completed(const Common::Error& result) override;

    std::uint32_t GetState() const { return CurrentState.load(std::memory_order_acquire); }
    std::uint32_t GetId() const { return Id; }

    // Whether the matrix allows the change.
    static bool IsTransitionAllowed(std::uint32_t from, std::uint32_t to);

private:
    bool Transit(std::uint32_t from, std::uint32_t to);
    void PerformReturned();
    void PerformFailed(const Common::Error& error);
    void CancelRunning();
    void FinishCancelling();
    void FinishRun(Common::Error error);
    static std::uint32_t Sync(const Common::Error& error);

    std::atomic<std::uint32_t> CurrentState{StateBegin};
    std::uint32_t Id;
    ActionHandler* Handler = nullptr;
    DescriptiveEntity* Owner = nullptr;
    Common::Error Result;
    std::shared_ptr<Job> Running;
};

#ifdef VELTRIX_TEST_HOOKS
namespace Detail
{
// Called after every successful state change; tests use it to pause a run in any state.
using TransitionHook = void (*)(JobControl& control, std::uint32_t from, std::uint32_t to);
void SetJobControlTransitionHook(TransitionHook hook);
} // namespace Detail
#endif

} // namespace Async
