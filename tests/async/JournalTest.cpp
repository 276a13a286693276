// Journals: the begin and end waiters, Break in plain journals and in sub-journals of a cycle, If as a
// loop of a cyclic journal, a failing sub-journal, and cancellation before and during a run.
#include "async/Journal.h"

#include "ManualAction.h"
#include "async/CyclicJournal.h"
#include "async/Errors.h"
#include "async/ImmediateResultAction.h"

#include <gtest/gtest.h>

#include <functional>

namespace
{

using namespace Async::ErrorCodes;
using AsyncTesting::ManualAction;
using AsyncTesting::ResultRecorder;
using Common::Error;

constexpr std::uint32_t Failure = 0x00F95801;

// Counts its runs and completes inside Perform with Result.
class CountingAction final : public Async::Action
{
public:
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override
    {
        ++Runs;
        handler.Completed(Result);
        return nullptr;
    }
    int Runs = 0;
    Error Result;
};

Async::Condition RunsBelow(const std::shared_ptr<CountingAction>& action, int limit)
{
    return Async::Condition([action, limit] { return action->Runs < limit; });
}

// Fails a cycle that has gone on too long, so that a break that does not arrive ends the test.
void AddGuard(Async::Journal& cycle, const std::shared_ptr<CountingAction>& counted)
{
    cycle.Branch(!RunsBelow(counted, 10),
                 Async::MakeImmediateResult(Error(COMMON_LOCATION("JournalTest"), Failure)));
}

TEST(JournalTest, BeginFiresAtTheStartAndEndAtTheEndOrAtOnceAfterIt)
{
    Async::Journal journal;
    auto pending = std::make_shared<ManualAction>();
    journal.Execute(pending);
    ResultRecorder begin, end, result;
    const auto beginJob = journal.GetBegin()->Perform(begin);
    const auto endJob = journal.GetEnd()->Perform(end);
    EXPECT_EQ(begin.GetCalls() + end.GetCalls(), 0);

    const std::shared_ptr<Async::Job> job = journal.Perform(result);
    EXPECT_EQ(begin.GetCalls(), 1);
    EXPECT_EQ(begin.Result, Common::Success);
    EXPECT_EQ(end.GetCalls(), 0);
    EXPECT_FALSE(journal.IsFinished());

    pending->Complete(Error());
    EXPECT_EQ(end.GetCalls(), 1);
    EXPECT_EQ(result.GetCalls(), 1);
    EXPECT_EQ(result.Result, Common::Success);
    EXPECT_TRUE(journal.IsFinished());

    ResultRecorder late;
    journal.GetEnd()->Perform(late);
    journal.GetBegin()->Perform(late);
    EXPECT_EQ(late.GetCalls(), 2);
}

TEST(JournalTest, BreakEndsAPlainJournalOrOnlyItsPlainSubJournal)
{
    Async::Journal journal;
    auto first = std::make_shared<CountingAction>(), inner = std::make_shared<CountingAction>();
    auto after = std::make_shared<CountingAction>(), skipped = std::make_shared<CountingAction>();
    journal.Execute(first);
    const std::shared_ptr<Async::Journal> sub = journal.SubJournal();
    sub->Execute(sub->Break());
    sub->Execute(inner);
    journal.Execute(after);
    journal.Execute(journal.Break());
    journal.Execute(skipped);
    EXPECT_FALSE(journal.IsCyclic());

    ResultRecorder result;
    journal.Perform(result);
    EXPECT_EQ(result.Result, Common::Success);
    EXPECT_EQ(first->Runs + after->Runs, 2);
    EXPECT_EQ(inner->Runs + skipped->Runs, 0);
}

TEST(JournalTest, BreakInsideASubJournalOfACycleEndsTheCycle)
{
    Async::CyclicJournal cycle;
    auto counted = std::make_shared<CountingAction>(), after = std::make_shared<CountingAction>();
    cycle.Execute(counted);
    const std::shared_ptr<Async::Journal> sub = cycle.SubJournal();
    EXPECT_FALSE(sub->IsCyclic());
    sub->Branch(!RunsBelow(counted, 3), sub->Break());
    sub->Execute(after);
    AddGuard(cycle, counted);

    ResultRecorder result;
    cycle.Perform(result);
    EXPECT_EQ(result.GetCalls(), 1);
    EXPECT_EQ(result.Result, Common::Success);
    EXPECT_EQ(counted->Runs, 3);
    EXPECT_EQ(after->Runs, 2);
}

TEST(JournalTest, IfInACycleLoopsWhileItsConditionHolds)
{
    Async::CyclicJournal loop;
    auto body = std::make_shared<CountingAction>();
    auto journal = std::make_shared<Async::Journal>();
    journal->Execute(body);
    loop.If(RunsBelow(body, 5), journal);
    AddGuard(loop, body);
    EXPECT_TRUE(loop.IsCyclic());

    ResultRecorder result;
    loop.Perform(result);
    EXPECT_EQ(result.Result, Common::Success);
    EXPECT_EQ(body->Runs, 5);
}

TEST(JournalTest, FailingSubJournalEndsItsParentWithTheFailure)
{
    Async::CyclicJournal cycle;
    auto failing = std::make_shared<CountingAction>(), after = std::make_shared<CountingAction>();
    failing->Result = Error(COMMON_LOCATION("JournalTest"), Failure);
    cycle.SubJournal()->Execute(failing);
    cycle.Execute(after);

    ResultRecorder result;
    cycle.Perform(result);
    EXPECT_TRUE(Async::Errors::HasCode(result.Result, Failure));
    EXPECT_EQ(after->Runs, 0);
}

TEST(JournalTest, CancelStopsTheRunOrTheNextPerformBeforeItRuns)
{
    for (const bool early : {true, false})
    {
        SCOPED_TRACE(early ? "cancel before Perform" : "cancel during the run");
        Async::Journal journal;
        auto pending = std::make_shared<ManualAction>();
        journal.Execute(pending);
        ResultRecorder end, result;
        journal.GetEnd()->Perform(end);
        if (early)
        {
            journal.Cancel();
        }
        const std::shared_ptr<Async::Job> job = journal.Perform(result);
        if (!early)
        {
            journal.Cancel();
        }
        EXPECT_EQ(pending->Performs.load(), early ? 0 : 1);
        EXPECT_EQ(result.GetCalls(), 1);
        EXPECT_TRUE(Async::Errors::HasCode(result.Result, Canceled));
        EXPECT_EQ(end.GetCalls(), 1);
        EXPECT_TRUE(journal.IsFinished());
    }
}

} // namespace
