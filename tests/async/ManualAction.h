// Test actions of the job runtime driven by hand: a ManualAction keeps the handler of its last Perform
// until the test (any thread) completes it, exactly once; its job records cancels and completes with
// 0x00F90002 unless told to ignore them. A CountingAction completes inside Perform. A ResultRecorder
// counts the completions it gets.
#pragma once

#include "async/Action.h"
#include "async/Errors.h"

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

namespace AsyncTesting
{

class ResultRecorder final : public Async::ActionHandler
{
public:
    void Completed(const Common::Error& result) override
    {
        Result = result;
        Calls.fetch_add(1, std::memory_order_acq_rel);
    }
    int GetCalls() const { return Calls.load(std::memory_order_acquire); }

    Common::Error Result; // read after GetCalls() saw the call
private:
    std::atomic<int> Calls{0};
};

// Counts its runs; completes each with success, or from run FailAt on with Result.
struct CountingAction final : Async::Action
{
    explicit CountingAction(int failAt = 0, Common::Error result = Common::Error())
        : FailAt(failAt), Result(std::move(result))
    {
    }
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override
    {
        handler.Completed(++Runs >= FailAt && FailAt > 0 ? Result : Common::Success);
        return nullptr;
    }
    int Runs = 0;
    const int FailAt;
    const Common::Error Result;
};

class ManualAction final : public Async::Action
{
public:
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override
    {
        Performs.fetch_add(1);
        Handler.store(&handler);
        if (OnPerform)
        {
            OnPerform();
        }
        return std::make_shared<CancelJob>(*this);
    }
    // Completes the pending run; false if none is pending.
    bool Complete(const Common::Error& result)
    {
        Async::ActionHandler* handler = Handler.exchange(nullptr);
        if (handler != nullptr)
        {
            handler->Completed(result);
        }
        return handler != nullptr;
    }
    bool IsPending() const { return Handler.load() != nullptr; }

    std::atomic<int> Performs{0};
    std::atomic<int> Cancels{0};
    bool IgnoreCancel = false;
    std::function<void()> OnPerform; // runs inside Perform, before the job is returned

private:
    class CancelJob final : public Async::BaseJob
    {
    public:
        explicit CancelJob(ManualAction& action) : Owner(action) {}
        void Cancel() override
        {
            Owner.Cancels.fetch_add(1);
            if (!Owner.IgnoreCancel)
            {
                Owner.Complete(Async::Errors::Canceled());
            }
        }

    private:
        ManualAction& Owner;
    };

    std::atomic<Async::ActionHandler*> Handler{nullptr};
};

} // namespace AsyncTesting
