// Step handlers: what a chain of steps calls with the result of a step's action. Handle gives the step's
// own result (success to go on, a failure or the stop mark to end the chain); AcceptsFailure says whether
// the handler wants failed results too. A handler is called by one thread at a time.
#pragma once

#include "async/Errors.h"
#include "common/Error.h"
#include "common/NonCopyable.h"

namespace Async
{

class StepHandler : Common::NonCopyable
{
public:
    virtual ~StepHandler() = default;
    virtual void Handle(Common::Error& next, const Common::Error& result) = 0;
    virtual bool AcceptsFailure() const = 0;
};

namespace Detail
{

// What a handler without its object does: the job failed before its composition was initialised.
// Asserts and passes `result` on.
void HandleWithoutObject(Common::Error& next, const Common::Error& result);

// Calls one member function of T. Kinds: 1 takes any result; 2 and 4 are called for success only, and
// kind 4 counts as a successful step. Setting one method clears the others.
template <class T>
class ObjectMethodHandler final : public StepHandler
{
public:
    using ResultMethod = Common::Error (T::*)(const Common::Error& result); // kind 1
    using SuccessMethod = Common::Error (T::*)();                           // kind 2
    using VoidMethod = void (T::*)();                                       // kind 4

    void SetObject(T* object) { Object = object; }
    void Set(ResultMethod method)
    {
        Clear();
        OnResult = method;
    }
    void Set(SuccessMethod method)
    {
        Clear();
        OnSuccess = method;
    }
    void Set(VoidMethod method)
    {
        Clear();
        OnSuccessVoid = method;
    }
    void Clear()
    {
        OnResult = nullptr;
        OnSuccess = nullptr;
        OnSuccessVoid = nullptr;
    }

    void Handle(Common::Error& next, const Common::Error& result) override
    {
        if (Object == nullptr)
        {
            HandleWithoutObject(next, result);
            return;
        }
        const int kinds = (OnResult != nullptr ? 1 : 0) + (OnSuccess != nullptr ? 2 : 0) +
                          (OnSuccessVoid != nullptr ? 4 : 0);
        switch (kinds)
        {
        case 1:
            next = (Object->*OnResult)(result);
            break;
        case 2:
            next = (Object->*OnSuccess)();
            break;
        case 4:
            (Object->*OnSuccessVoid)();
            next = Common::Success;
            break;
        default:
            next = Errors::InvalidResult();
            break;
        }
    }

    bool AcceptsFailure() const override { return OnResult != nullptr; }

private:
    ResultMethod OnResult = nullptr;
    SuccessMethod OnSuccess = nullptr;
    VoidMethod OnSuccessVoid = nullptr;
    T* Object = nullptr;
};

} // namespace Detail
} // namespace Async
