#include "async/WaitCompletionJob.h"

#include "async/Errors.h"
#include "common/SafeAssert.h"

namespace Async
{
namespace
{

class WaitAction final : public Action
{
public:
    explicit WaitAction(std::shared_ptr<WaitCompletionJob::Signal> signal) : Source(std::move(signal)) {}
    std::shared_ptr<Job> Perform(ActionHandler& handler) override { return Source->Wait(handler); }

private:
    const std::shared_ptr<WaitCompletionJob::Signal> Source;
};

} // namespace

void WaitCompletionJob::Signal::Finish()
{
    {
        std::lock_guard<std::mutex> guard(Lock);
        Finished = true;
    }
    if (ActionHandler* waiter = Waiter.exchange(nullptr, std::memory_order_acq_rel))
    {
        waiter->Completed(Common::Success);
    }
}

bool WaitCompletionJob::Signal::IsFinished() const
{
    std::lock_guard<std::mutex> guard(Lock);
    return Finished;
}

std::shared_ptr<Job> WaitCompletionJob::Signal::Wait(ActionHandler& handler)
{
    bool finished = false;
    ActionHandler* displaced = nullptr;
    {
        // Finish marks the end under Lock before it takes the waiter: a waiter stored here is either
        // taken by it or was never needed.
        std::lock_guard<std::mutex> guard(Lock);
        finished = Finished;
        if (!finished)
        {
            displaced = Waiter.exchange(&handler, std::memory_order_acq_rel);
        }
    }
    if (finished)
    {
        handler.Completed(Common::Success);
        return nullptr;
    }
    SAFE_ASSERT(displaced == nullptr);
    if (displaced != nullptr)
    {
        displaced->Completed(Errors::MakeCanceled(COMMON_LOCATION("Async::WaitCompletionJob::Signal::Wait")));
    }
    return std::make_shared<CompletionJob>(shared_from_this(), handler);
}

std::unique_ptr<Action> WaitCompletionJob::Signal::MakeWaitAction()
{
    return std::make_unique<WaitAction>(shared_from_this());
}

void WaitCompletionJob::Signal::Abandon(ActionHandler& waiter, const Common::Error& reason)
{
    ActionHandler* expected = &waiter;
    if (Waiter.compare_exchange_strong(expected, nullptr, std::memory_order_acq_rel))
    {
        waiter.Completed(reason);
    }
}

WaitCompletionJob::CompletionJob::CompletionJob(std::shared_ptr<Signal> signal, ActionHandler& waiter)
    : Source(std::move(signal)), Waiter(waiter)
{
}

void WaitCompletionJob::CompletionJob::Cancel()
{
    Source->Abandon(Waiter,
                    Errors::MakeCanceled(COMMON_LOCATION("Async::WaitCompletionJob::CompletionJob::Cancel")));
}

WaitCompletionJob::WaitCompletionJob(std::shared_ptr<Action> action)
    : Wrapped(std::move(action)), Ended(std::make_shared<Signal>())
{
}

std::unique_ptr<Action> WaitCompletionJob::GetWaitAction() const
{
    return Ended->MakeWaitAction();
}

bool WaitCompletionJob::IsFinished() const
{
    return Ended->IsFinished();
}

Action& WaitCompletionJob::GetAction()
{
    return *Wrapped;
}

void WaitCompletionJob::OnCompleted(Common::Error& out, const Common::Error& result)
{
    Ended->Finish();
    out = result;
}

} // namespace Async
