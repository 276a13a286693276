// Test actions of the job runtime driven by hand: a ManualAction keeps the handler of its last Perform
// until the test completes it, and its job records cancels (completing with 0x00F90002 unless told to
// ignore them). A ResultRecorder counts the completions it gets. Single-threaded unless a test says so.
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

    Common::Error Result;

private:
    std::atomic<int> Calls{0};
};

class ManualAction final : public Async::Action
{
public:
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override
    {
        ++Performs;
        Handler = &handler;
        if (OnPerform)
        {
            OnPerform();
        }
        return std::make_shared<CancelJob>(*this);
    }

    // Completes the pending run; false if none is pending.
    bool Complete(const Common::Error& result)
    {
        Async::ActionHandler* handler = std::exchange(Handler, nullptr);
        if (handler != nullptr)
        {
            handler->Completed(result);
        }
        return handler != nullptr;
    }
    bool IsPending() const { return Handler != nullptr; }

    int Performs = 0;
    int Cancels = 0;
    bool IgnoreCancel = false;
    std::function<void()> OnPerform; // runs inside Perform, before the job is returned

private:
    class CancelJob final : public Async::BaseJob
    {
    public:
        explicit CancelJob(ManualAction& action) : Owner(action) {}
        void Cancel() override
        {
            ++Owner.Cancels;
            if (!Owner.IgnoreCancel)
            {
                Owner.Complete(Async::Errors::Canceled());
            }
        }

    private:
        ManualAction& Owner;
    };

    Async::ActionHandler* Handler = nullptr;
};

} // namespace AsyncTesting
