// Sequences and cycles: how results and the two marks end a run and rise through nested sequences,
// cancellation, runs completing on other threads, runs outliving their sequence, and a million
// synchronous actions on a small stack.
#include "async/ActionSequence.h"

#include "ManualAction.h"
#include "ThreadHelpers.h"
#include "async/ActionAdaptor.h"
#include "async/ActionCycle.h"
#include "async/Errors.h"
#include "async/ImmediateResultAction.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>
#include <vector>

namespace
{

using namespace Async::ErrorCodes;
using AsyncTesting::CountingAction;
using AsyncTesting::ManualAction;
using AsyncTesting::ResultRecorder;
using Common::Error;

constexpr std::uint32_t Failure = 0x00F95601;

Error Fail(const Error& subError = Error())
{
    Error error(COMMON_LOCATION("ActionSequenceTest"), Failure);
    error.SetSubError(subError);
    return error;
}

// Hands the result to a waiting thread, from any thread.
struct Waiter final : Async::ActionHandler
{
    void Completed(const Error& result) override { Done.set_value(result); }
    Error Wait() { return Done.get_future().get(); }
    std::promise<Error> Done;
};

Error RunToEnd(Async::ActionSequence& sequence)
{
    ResultRecorder recorder;
    sequence.Perform(recorder);
    EXPECT_EQ(recorder.GetCalls(), 1);
    return recorder.Result;
}

TEST(ActionSequenceTest, FailureOrSequenceMarkEndsTheRunAndTheCycleMarkPassesAPlainSequence)
{
    Async::ActionSequence empty;
    Async::ActionCycle emptyCycle;
    EXPECT_EQ(RunToEnd(empty), Common::Success); // before Perform returns
    EXPECT_EQ(RunToEnd(emptyCycle), Common::Success);
    const struct
    {
        std::shared_ptr<Async::Action> Middle;
        std::uint32_t Expected;
        int LastRuns = 0;
    } cases[] = {
        {std::make_shared<CountingAction>(), 0, 1},
        {Async::MakeImmediateResult(Fail()), Failure},
        {nullptr, InvalidResult},
        {Async::SequenceBreakAction(), 0},
        {Async::MakeImmediateResult(Fail(Async::Errors::SequenceBreak())), 0},
        {Async::CycleBreakAction(), CycleBreak},
    };
    for (const auto& test : cases)
    {
        auto first = std::make_shared<CountingAction>(), last = std::make_shared<CountingAction>();
        Async::ActionSequence sequence;
        sequence.Execute(first);
        sequence.Execute(test.Middle);
        sequence.Execute(last);
        EXPECT_EQ(RunToEnd(sequence).GetCode(), test.Expected);
        EXPECT_EQ(first->Runs, 1);
        EXPECT_EQ(last->Runs, test.LastRuns);
    }
}

TEST(ActionSequenceTest, CycleEndsOnItsMarkRisingThroughSequencesAndOnAnyOtherFailureAsItIs)
{
    // Each round leaves the inner sequence by its mark; in round 3 a plain sequence yields the cycle mark.
    auto counted = std::make_shared<CountingAction>(), skipped = std::make_shared<CountingAction>();
    auto inner = std::make_shared<Async::ActionSequence>(),
         breaking = std::make_shared<Async::ActionSequence>();
    inner->Execute(counted);
    inner->Execute(Async::SequenceBreakAction());
    inner->Execute(skipped);
    breaking->Execute(std::make_shared<CountingAction>(3, Fail(Async::Errors::CycleBreak())));
    Async::ActionCycle cycle;
    cycle.Execute(inner);
    cycle.Execute(breaking);
    EXPECT_EQ(RunToEnd(cycle), Common::Success);
    EXPECT_EQ(counted->Runs, 3);
    EXPECT_EQ(skipped->Runs, 0);

    Async::ActionCycle failing;
    failing.Execute(std::make_shared<CountingAction>(3, Fail()));
    EXPECT_EQ(RunToEnd(failing).GetCode(), Failure);
}

TEST(ActionSequenceTest, CancelStopsTheRunningActionOrTheNextOne)
{
    for (const bool ignoreCancel : {false, true})
    {
        auto running = std::make_shared<ManualAction>(), next = std::make_shared<ManualAction>();
        running->IgnoreCancel = ignoreCancel;
        Async::ActionSequence sequence;
        sequence.Execute(running);
        sequence.Execute(next);
        ResultRecorder recorder;
        sequence.Perform(recorder)->Cancel();
        EXPECT_EQ(running->Cancels.load(), 1);
        // An action that ignores the cancel succeeds; then the next one is cancelled before it performs.
        running->Complete(Error());
        EXPECT_EQ(recorder.GetCalls(), 1);
        EXPECT_EQ(recorder.Result.GetCode(), Canceled);
        EXPECT_EQ(next->Performs.load(), 0);
    }
}

TEST(ActionSequenceTest, RunOutlivesItsSequenceAndJobAndTakesActionsAddedMeanwhile)
{
    auto pending = std::make_shared<ManualAction>();
    auto added = std::make_shared<CountingAction>();
    ResultRecorder first, second;
    {
        Async::ActionSequence sequence;
        sequence.Execute(added);
        sequence.Perform(first); // performed again below
        sequence.Execute(pending);
        sequence.Perform(second);
        sequence.Execute(added);
    }
    EXPECT_TRUE(pending->Complete(Error()));
    EXPECT_EQ(first.GetCalls() + second.GetCalls(), 2);
    EXPECT_EQ(second.Result, Common::Success);
    EXPECT_EQ(added->Runs, 3);
}

TEST(ActionSequenceTest, ActionsCompletingOnOtherThreadsRunOneAfterAnotherInOrder)
{
    std::vector<int> order, expected;
    std::vector<std::thread> threads;
    Async::ActionSequence sequence;
    for (int index = 0; index < 200; ++index)
    {
        // Records its index and completes on a thread of its own.
        sequence.Execute(Async::MakeAction(
            [index, &order, &threads](Async::ActionHandler& handler)
            {
                order.push_back(index); // the sequence orders the performs
                threads.emplace_back([&handler] { handler.Completed(Error()); });
                return std::shared_ptr<Async::Job>();
            }));
        expected.push_back(index);
    }
    Waiter waiter;
    sequence.Perform(waiter);
    EXPECT_EQ(waiter.Wait(), Common::Success);
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(order, expected);
}

TEST(ActionSequenceTest, MillionSynchronousActionsRunOnASmallStack)
{
    auto counted = std::make_shared<CountingAction>();
    Async::ActionSequence sequence;
    for (int index = 0; index < 1'000'000; ++index)
    {
        sequence.Execute(counted);
    }
    Waiter waiter;
    Testing::RunOnSmallStack([&] { sequence.Perform(waiter); });
    // A metronome beat may move the run to a service thread.
    EXPECT_EQ(waiter.Wait(), Common::Success);
    EXPECT_EQ(counted->Runs, 1'000'000);
}

} // namespace
