// Dml::Promise<T>: an action and the future of what it yields. The future may be read once the action
// has completed with success; before that it throws 0x00F90001, after a failure it throws that failure.
// A value that only one may own (a subscription) is handed out once, a second read throws 0x00F90001.
// Each Perform starts from an empty value. The value is written on the action's thread and must be read
// after its completion.
#pragma once

#include "async/Action.h"
#include "async/Errors.h"
#include "async/Future.h"
#include "common/Error.h"

#include <concepts>
#include <memory>
#include <utility>

namespace Dml
{

template <class T>
struct Promise
{
    std::shared_ptr<Async::Action> Action;
    Async::Future<T> Value;
};

// An action that yields nothing.
template <>
struct Promise<void>
{
    std::shared_ptr<Async::Action> Action;
};

namespace Details
{

// The result of one run of a promise's action.
class PromiseStateBase
{
public:
    virtual ~PromiseStateBase() = default;

    // Called when the action completes; may turn the result into another.
    virtual void Finish(Common::Error& result) { Result = result; }

protected:
    // Throws unless the last run succeeded.
    void Check() const
    {
        if (Result.GetCode() != 0)
        {
            throw Result;
        }
    }

    Common::Error Result = Async::Errors::InvalidResult();
};

template <class T>
class PromiseState : public PromiseStateBase
{
public:
    // Before each run.
    virtual void Begin()
    {
        Result = Async::Errors::InvalidResult();
        Value = T();
        Taken = false;
    }

    T Take()
    {
        Check();
        if constexpr (std::copy_constructible<T>)
        {
            return Value;
        }
        else
        {
            if (Taken)
            {
                Async::Detail::ThrowFutureValueTaken();
            }
            Taken = true;
            return std::move(Value);
        }
    }

    T Value{};

private:
    bool Taken = false;
};

// Records the result in the state, then passes it on; frees itself.
class RecordingHandler final : public Async::ActionHandler
{
public:
    RecordingHandler(std::shared_ptr<PromiseStateBase> state, Async::ActionHandler& next)
        : State(std::move(state)), Next(next)
    {
    }

    void Completed(const Common::Error& result) override;

private:
    std::shared_ptr<PromiseStateBase> State;
    Async::ActionHandler& Next;
};

// `start(recorder)` must complete the recorder exactly once unless it throws.
template <class Start>
std::shared_ptr<Async::Job> PerformRecording(std::shared_ptr<PromiseStateBase> state,
                                             Async::ActionHandler& handler, Start&& start)
{
    auto recorder = std::make_unique<RecordingHandler>(std::move(state), handler);
    std::shared_ptr<Async::Job> job = std::forward<Start>(start)(*recorder);
    recorder.release(); // frees itself when completed
    return job;
}

} // namespace Details
} // namespace Dml
