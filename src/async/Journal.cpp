#include "async/Journal.h"

#include "async/BranchingAction.h"
#include "async/ConsolidatedData.h"
#include "async/Errors.h"
#include "async/LifeCycleCompletion.h"

#include <utility>

namespace Async
{
namespace
{

// The job of a journal's run: cancels the sequence's run. Its owner keeps the run's sequence and end
// handler alive with it.
class JournalJob final : public BaseJob
{
public:
    explicit JournalJob(std::shared_ptr<Job> inner) : Inner(std::move(inner)) {}
    void Cancel() override
    {
        if (Inner != nullptr)
        {
            Inner->Cancel();
        }
    }

private:
    const std::shared_ptr<Job> Inner;
};

} // namespace

Journal::Journal() : Journal(std::make_shared<ActionSequence>(), SequenceBreakAction()) {}

Journal::Journal(std::shared_ptr<ActionSequence> sequence, std::shared_ptr<Action> breakAction)
    : Sequence(std::move(sequence)), BreakAction(std::move(breakAction))
{
}

void Journal::MakeWaiters()
{
    if (Begin == nullptr)
    {
        Begin = std::make_shared<WaitCompletionHandler::Logic>();
    }
    if (End == nullptr)
    {
        End = std::make_shared<WaitCompletionHandler::Logic>();
    }
}

std::shared_ptr<Job> Journal::Perform(ActionHandler& handler)
{
    std::shared_ptr<WaitCompletionHandler::Logic> begin;
    std::shared_ptr<WaitCompletionHandler> end;
    bool canceled = false;
    {
        std::lock_guard<std::mutex> guard(Lock);
        MakeWaiters();
        begin = Begin;
        end = std::make_shared<WaitCompletionHandler>(End, &handler);
        canceled = std::exchange(CancelRequested, false);
    }
    begin->Count();
    if (canceled)
    {
        end->Completed(Errors::MakeCanceled(COMMON_LOCATION("Async::Journal::Perform")));
        return nullptr;
    }
    std::shared_ptr<Job> inner = Sequence->Perform(*end);
    {
        std::lock_guard<std::mutex> guard(Lock);
        Running = inner;
        // A cancel that came while the sequence was starting found no run yet.
        canceled = std::exchange(CancelRequested, false);
    }
    if (canceled && inner != nullptr)
    {
        inner->Cancel();
    }
    return Detail::MakeLifeCycleShared<Job>(std::make_unique<JournalJob>(std::move(inner)),
                                            Detail::Consolidate(Sequence, std::move(end)));
}

std::unique_ptr<Action> Journal::GetBegin()
{
    std::lock_guard<std::mutex> guard(Lock);
    MakeWaiters();
    return Begin->GetWaitAction();
}

std::unique_ptr<Action> Journal::GetEnd()
{
    std::lock_guard<std::mutex> guard(Lock);
    MakeWaiters();
    return End->GetWaitAction();
}

bool Journal::IsCyclic() const
{
    return Sequence->IsCyclic();
}

void Journal::Cancel()
{
    std::shared_ptr<Job> running;
    {
        std::lock_guard<std::mutex> guard(Lock);
        running = Running.lock();
        CancelRequested = running == nullptr && (End == nullptr || !End->IsFinished());
    }
    if (running != nullptr)
    {
        running->Cancel();
    }
}

bool Journal::IsFinished() const
{
    std::lock_guard<std::mutex> guard(Lock);
    return End != nullptr && End->IsFinished();
}

void Journal::Execute(std::shared_ptr<Action> action)
{
    Sequence->Execute(std::move(action));
}

void Journal::Branch(Condition condition, std::shared_ptr<Action> onTrue, std::shared_ptr<Action> onFalse)
{
    Execute(MakeBranch(std::move(condition), std::move(onTrue), std::move(onFalse)));
}

std::shared_ptr<Journal> Journal::SubJournal()
{
    std::shared_ptr<Journal> nested(new Journal(std::make_shared<ActionSequence>(), MakeBreak()));
    Execute(nested);
    return nested;
}

void Journal::If(Condition condition, std::shared_ptr<Journal> journal)
{
    Branch(std::move(condition), std::move(journal), MakeBreak());
}

} // namespace Async
