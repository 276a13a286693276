// Async::StepControl is the engine of a chain of steps: run one action, hand its result to the step's
// handler, which may start the next step; a failed action goes to the rollback handler, and the chain's
// final result to the owner, exactly once. Synchronous completions loop instead of recursing. Hold it by
// std::shared_ptr; after the owner's Completed nothing of it is touched, so the owner may release it
// there. Cancel is thread-safe; the other operations belong to the chain's current step.
#pragma once

#include "async/Action.h"
#include "async/JobControl.h"
#include "async/OperationDescription.h"
#include "async/StepHandler.h"
#include "async/TailRecursionController.h"
#include "common/Error.h"

#include <memory>

namespace Async
{

class StepControl final : public ActionHandler,
                          public TailRecursionController,
                          public std::enable_shared_from_this<StepControl>
{
public:
    // Turns an exception of a step method into its result: 0x00F90006, 0x00F90007 or 0x00F90008 about
    // the operation "Step".
    class SafeStepCompletionDetails final : public OperationDescription
    {
    public:
        void DescribeException(Common::Error& out, const Common::Error& error) const override;
        void DescribeStdException(Common::Error& out, const std::exception& exception) const override;
        void DescribeUnknownException(Common::Error& out) const override;
    };

    StepControl();

    // Once, before the first step. `owner` gets the final result; `rollback` (may be null) is called
    // with a failed action's result; `entity` describes failed actions (may be null).
    void Initialize(ActionHandler* owner, StepHandler* rollback, DescriptiveEntity* entity);
    // Runs `action`; its result goes to `handler` (borrowed until called). From a step method or
    // before the first step only.
    void Next(Action& action, StepHandler* handler);
    // Ends the chain now with success.
    void Complete();
    // Cancels the running step, or the next one if none runs. Any thread.
    void Cancel();

    // The action's side.
    void Completed(const Common::Error& result) override;

    void GetKeepAlive(std::shared_ptr<void>& out) override;
    void Process() override;

private:
    void Finish(const Common::Error& result);
    // The final call to the owner; nothing of this object is touched after it.
    void Deliver(const Common::Error& result);

    JobControl Control;
    ActionHandler* Owner = nullptr;
    StepHandler* Rollback = nullptr;
    Common::Error Result;
    // Counts chain events; shared because Process reads it after the chain may have destroyed this.
    std::shared_ptr<long> Generation;
    StepHandler* Current = nullptr;
    DescriptiveEntity* Entity = nullptr;
};

} // namespace Async
