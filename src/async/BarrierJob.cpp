#include "async/BarrierJob.h"

#include "async/Errors.h"

#include <vector>

namespace Async::Detail
{

// The handler of one action. Active owns it until the action completes; the barrier reference keeps the
// round alive while actions run.
class BarrierJob::OneActionHandler final : public ActionHandler
{
public:
    OneActionHandler(std::shared_ptr<BarrierJob> barrier, std::uint32_t position)
        : Barrier(std::move(barrier)), Position(position)
    {
    }

    void Completed(const Common::Error& result) override { Barrier->ActionCompleted(*this, result); }

    const std::shared_ptr<BarrierJob> Barrier;
    const std::uint32_t Position;
    EntryList::iterator Place; // guarded by the barrier's Lock, like the fields below
    bool Listed = false;       // in Active: not yet completed
    bool CancelMissed = false; // a cancel came while Perform ran and the job was not known yet
    std::shared_ptr<Job> Running;
};

namespace
{

class WaitAction final : public Action
{
public:
    explicit WaitAction(std::shared_ptr<BarrierJob> round) : Round(std::move(round)) {}
    std::shared_ptr<Job> Perform(ActionHandler& handler) override { return Round->Wait(handler); }

private:
    const std::shared_ptr<BarrierJob> Round;
};

} // namespace

std::unique_ptr<Action> BarrierJob::MakeWaitAction(std::shared_ptr<BarrierJob> round)
{
    return std::make_unique<WaitAction>(std::move(round));
}

BarrierJob::BarrierJob(Kind kind, ResultAccumulator* accumulator) : RoundKind(kind), Accumulator(accumulator)
{
}

void BarrierJob::SetCancelHandler(ActionHandler* handler)
{
    std::lock_guard<std::mutex> guard(Lock);
    CancelHandler = handler;
}

Common::Error BarrierJob::Add(Action& action)
{
    std::shared_ptr<OneActionHandler> entry;
    {
        std::lock_guard<std::mutex> guard(Lock);
        if (FailReason.GetCode() != 0)
        {
            return Active.empty() ? FailReason : Common::Success;
        }
        entry = std::make_shared<OneActionHandler>(shared_from_this(), NextPosition++);
        entry->Place = Active.insert(Active.end(), entry);
        entry->Listed = true;
        ++Count;
    }

    std::shared_ptr<Job> job;
    try
    {
        job = action.Perform(*entry);
    }
    catch (...)
    {
        const Common::Error failure =
            Errors::CurrentException(COMMON_LOCATION("Async::Detail::BarrierJob::Add"), u"Perform");
        bool listed = false;
        {
            std::lock_guard<std::mutex> guard(Lock);
            listed = entry->Listed;
        }
        // An action that completed and then threw has been counted already.
        if (listed)
        {
            ActionCompleted(*entry, failure);
        }
    }

    bool cancelNow = false;
    Common::Error reason;
    {
        std::lock_guard<std::mutex> guard(Lock);
        // Entries that completed inside Perform are gone: their job is not kept.
        if (entry->Listed)
        {
            entry->Running = job;
            cancelNow = entry->CancelMissed && job != nullptr;
        }
        reason = FailReason;
    }
    if (cancelNow)
    {
        job->Cancel();
    }
    return reason;
}

void BarrierJob::ActionCompleted(OneActionHandler& entry, const Common::Error& result)
{
    // Taking the entry out of Active may free it and with it the last reference to this round.
    const std::shared_ptr<BarrierJob> self = entry.Barrier;
    std::shared_ptr<OneActionHandler> removed;
    ActionHandler* chosen = nullptr;
    Common::Error reason;
    bool firstFailure = false;
    {
        std::lock_guard<std::mutex> guard(Lock);
        if (!entry.Listed)
        {
            return;
        }
        removed = std::move(*entry.Place);
        Active.erase(entry.Place);
        entry.Listed = false;
        if (RoundKind == Kind::Lazy && result.GetCode() != 0 && FailReason.GetCode() == 0)
        {
            FailReason = result;
            firstFailure = true;
        }
        if (--Count == 0)
        {
            if (CancelHandler != nullptr)
            {
                std::swap(chosen, CancelHandler);
                if (RoundKind == Kind::Lazy)
                {
                    reason = FailReason;
                }
            }
            else
            {
                std::swap(chosen, Handler);
                reason = FailReason;
            }
        }
    }

    if (RoundKind == Kind::Full && Accumulator != nullptr)
    {
        Accumulator->Accumulate(removed->Position, result);
    }
    if (chosen != nullptr)
    {
        chosen->Completed(reason);
    }
    else if (firstFailure)
    {
        Cancel();
    }
}

std::shared_ptr<Job> BarrierJob::Wait(ActionHandler& handler)
{
    bool empty = false;
    Common::Error reason;
    {
        std::lock_guard<std::mutex> guard(Lock);
        empty = Count == 0;
        // Stored only when the end is still to come, so a round ends into its waiter once.
        if (!empty)
        {
            Handler = &handler;
        }
        if (RoundKind == Kind::Lazy)
        {
            reason = FailReason;
        }
    }
    if (empty)
    {
        handler.Completed(reason);
    }
    return shared_from_this();
}

void BarrierJob::CancelActions(Common::Error (*makeCanceled)())
{
    std::vector<std::shared_ptr<Job>> jobs;
    {
        std::lock_guard<std::mutex> guard(Lock);
        if (Active.empty())
        {
            return;
        }
        jobs.reserve(Active.size());
        for (const std::shared_ptr<OneActionHandler>& entry : Active)
        {
            if (entry->Running != nullptr)
            {
                jobs.push_back(entry->Running);
            }
            else
            {
                entry->CancelMissed = true; // Add cancels it once Perform has returned the job
            }
        }
        if (FailReason.GetCode() == 0)
        {
            FailReason = makeCanceled();
        }
    }
    for (const std::shared_ptr<Job>& job : jobs)
    {
        job->Cancel();
    }
}

} // namespace Async::Detail
