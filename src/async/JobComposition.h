// Jobs written as chains of steps. A job class T derives from BaseMethodComposition<T>, calls Start with
// the upper handler (and an optional rollback method), then Step(action, method) from the creator and
// from its step methods. The chain runs in the job's StepControl, which the job holds by shared_ptr and
// which outlives the job while a loop still runs in it. Cancel is thread-safe; Start and Step belong to
// the current step.
#pragma once

#include "async/Action.h"
#include "async/Job.h"
#include "async/StepControl.h"
#include "async/StepHandler.h"
#include "common/Error.h"

#include <memory>

namespace Async
{

// A job that holds a StepControl; cancelling the job cancels its current or next step.
template <class T>
class JobComposition : public BaseJob
{
public:
    JobComposition() : Steps(std::make_shared<StepControl>()) {}

    void Cancel() override { Steps->Cancel(); }

protected:
    StepControl& GetStepControl() const { return *Steps; }

private:
    std::shared_ptr<StepControl> Steps;
};

namespace Detail
{

// A method of T, std::shared_ptr<Job> (T::*)(ActionHandler&), as an action and as the function object
// of an action adaptor. Needs to live through Perform only.
template <class T>
class MethodActionFunctor final : public Action
{
public:
    using Method = std::shared_ptr<Job> (T::*)(ActionHandler& handler);

    MethodActionFunctor(T* object, Method method) : Object(object), Called(method) {}

    std::shared_ptr<Job> operator()(ActionHandler& handler) const { return (Object->*Called)(handler); }
    std::shared_ptr<Job> Perform(ActionHandler& handler) override { return (*this)(handler); }

private:
    T* Object;
    Method Called;
};

// The two handlers of a method composition (the current step and the rollback) and its description: a
// describing method of T if one was set, the default job description otherwise.
template <class T>
class ObjectMethodComposition : public JobComposition<T>
{
public:
    using DescribeMethod = void (T::*)(WorkDescription& out) const;

    void Describe(WorkDescription& out) const override
    {
        if (Description != nullptr)
        {
            (static_cast<const T*>(this)->*Description)(out);
            return;
        }
        BaseJob::Describe(out);
    }

protected:
    void SetDescription(DescribeMethod method) { Description = method; }

    ObjectMethodHandler<T> CurrentStep;
    ObjectMethodHandler<T> RollbackStep;
    DescribeMethod Description = nullptr;
};

} // namespace Detail

template <class T>
class BaseMethodComposition : public Detail::ObjectMethodComposition<T>
{
public:
    using ResultMethod = typename Detail::ObjectMethodHandler<T>::ResultMethod;   // any result
    using SuccessMethod = typename Detail::ObjectMethodHandler<T>::SuccessMethod; // success only
    using VoidMethod = typename Detail::ObjectMethodHandler<T>::VoidMethod;       // success only, succeeds
    using ActionMethod = typename Detail::MethodActionFunctor<T>::Method;

    // Binds the handlers to this job and initialises the chain: `handler` gets the final result (borrowed
    // until then), `rollback` (may be null) a failed action's result. Once, before the first step runs.
    void Start(ActionHandler& handler, ResultMethod rollback = nullptr)
    {
        T* self = static_cast<T*>(this);
        this->CurrentStep.SetObject(self);
        this->RollbackStep.SetObject(self);
        this->RollbackStep.Set(rollback);
        this->GetStepControl().Initialize(&handler, rollback != nullptr ? &this->RollbackStep : nullptr,
                                          this);
    }

    // Runs `action` (needed through this call only) and then `method` with its result.
    void Step(Action& action, ResultMethod method) { Run(action, method); }
    void Step(Action& action, SuccessMethod method) { Run(action, method); }
    void Step(Action& action, VoidMethod method) { Run(action, method); }
    // The same with a method of the job as the action.
    void Step(ActionMethod action, ResultMethod method) { RunMethod(action, method); }
    void Step(ActionMethod action, SuccessMethod method) { RunMethod(action, method); }
    void Step(ActionMethod action, VoidMethod method) { RunMethod(action, method); }

    // Ends the chain now with success; from a step method that starts nothing else.
    void Complete() { this->GetStepControl().Complete(); }

private:
    template <class Method>
    void Run(Action& action, Method method)
    {
        this->CurrentStep.Set(method);
        this->GetStepControl().Next(action, &this->CurrentStep);
    }

    template <class Method>
    void RunMethod(ActionMethod action, Method method)
    {
        Detail::MethodActionFunctor<T> functor(static_cast<T*>(this), action);
        Run(functor, method);
    }
};

} // namespace Async
