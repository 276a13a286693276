// Journals: the begin and end waiters, Break in a plain journal, in its sub-journal and in a sub-journal
// of a cycle, If as a loop of a cyclic journal, a failing sub-journal, and cancellation.
#include "async/Journal.h"

#include "ManualAction.h"
#include "async/CyclicJournal.h"
#include "async/Errors.h"
#include "async/ImmediateResultAction.h"

#include <gtest/gtest.h>

namespace
{

using namespace Async::ErrorCodes;
using AsyncTesting::CountingAction;
using AsyncTesting::ManualAction;
using AsyncTesting::ResultRecorder;
using Common::Error;

constexpr std::uint32_t Failure = 0x00F95801;

Async::Condition RunsBelow(const std::shared_ptr<CountingAction>& action, int limit)
{
    return Async::Condition([action, limit] { return action->Runs < limit; });
}

Error RunToEnd(Async::Journal& journal, const std::shared_ptr<CountingAction>& guarded = nullptr)
{
    if (guarded != nullptr)
    {
        // A break that does not arrive ends the cycle with a failure instead of looping on.
        journal.Branch(!RunsBelow(guarded, 10),
                       Async::MakeImmediateResult(Error(COMMON_LOCATION("JournalTest"), Failure)));
    }
    ResultRecorder result;
    journal.Perform(result);
    EXPECT_EQ(result.GetCalls(), 1);
    return result.Result;
}

TEST(JournalTest, BeginFiresAtTheStartAndEndAtTheEndOrAtOnceAfterIt)
{
    Async::Journal journal;
    auto pending = std::make_shared<ManualAction>();
    journal.Execute(pending);
    ResultRecorder begin, end, result, late;
    journal.GetBegin()->Perform(begin);
    journal.GetEnd()->Perform(end);
    EXPECT_EQ(begin.GetCalls(), 0);
    const std::shared_ptr<Async::Job> job = journal.Perform(result);
    EXPECT_EQ(begin.GetCalls(), 1);
    EXPECT_EQ(end.GetCalls(), 0);
    EXPECT_FALSE(journal.IsFinished());

    pending->Complete(Error());
    EXPECT_EQ(end.GetCalls() + result.GetCalls(), 2);
    EXPECT_TRUE(journal.IsFinished());
    journal.GetEnd()->Perform(late);
    journal.GetBegin()->Perform(late);
    EXPECT_EQ(late.GetCalls(), 2);
}

TEST(JournalTest, BreakEndsAPlainJournalOrOnlyItsSubJournalAndRisesFromASubJournalToTheCycle)
{
    Async::Journal journal;
    auto first = std::make_shared<CountingAction>(), skipped = std::make_shared<CountingAction>();
    journal.Execute(first);
    const std::shared_ptr<Async::Journal> sub = journal.SubJournal();
    sub->Execute(sub->Break());
    sub->Execute(skipped);
    journal.Execute(first);
    journal.Execute(journal.Break());
    journal.Execute(skipped);
    EXPECT_EQ(RunToEnd(journal), Common::Success);
    EXPECT_EQ(first->Runs, 2);
    EXPECT_EQ(skipped->Runs, 0);

    Async::CyclicJournal cycle;
    auto counted = std::make_shared<CountingAction>(), after = std::make_shared<CountingAction>();
    cycle.Execute(counted);
    const std::shared_ptr<Async::Journal> inCycle = cycle.SubJournal();
    EXPECT_FALSE(inCycle->IsCyclic());
    inCycle->Branch(!RunsBelow(counted, 3), inCycle->Break());
    inCycle->Execute(after);
    EXPECT_EQ(RunToEnd(cycle, counted), Common::Success);
    EXPECT_EQ(counted->Runs, 3);
    EXPECT_EQ(after->Runs, 2);
}

TEST(JournalTest, IfInACycleLoopsWhileItsConditionHoldsAndASubJournalFailureEndsTheParent)
{
    Async::CyclicJournal loop;
    auto body = std::make_shared<CountingAction>();
    auto journal = std::make_shared<Async::Journal>();
    journal->Execute(body);
    loop.If(RunsBelow(body, 5), journal);
    EXPECT_TRUE(loop.IsCyclic());
    EXPECT_EQ(RunToEnd(loop, body), Common::Success);
    EXPECT_EQ(body->Runs, 5);

    Async::CyclicJournal failing;
    failing.SubJournal()->Execute(Async::MakeImmediateResult(Error(COMMON_LOCATION("JournalTest"), Failure)));
    failing.Execute(body);
    EXPECT_TRUE(Async::Errors::HasCode(RunToEnd(failing), Failure));
    EXPECT_EQ(body->Runs, 5);
}

TEST(JournalTest, CancelStopsTheRunOrTheNextPerformBeforeItRuns)
{
    for (const bool early : {true, false})
    {
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
        EXPECT_TRUE(Async::Errors::HasCode(result.Result, Canceled));
        EXPECT_EQ(end.GetCalls() + result.GetCalls(), 2);
        EXPECT_TRUE(journal.IsFinished());
    }
}

} // namespace
