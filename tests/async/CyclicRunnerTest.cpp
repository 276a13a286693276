#include "async/CyclicRunner.h"

#include "ManualAction.h"
#include "async/JobControl.h"

#include <gtest/gtest.h>

#include <thread>

namespace
{

using AsyncTesting::CountingAction;
using AsyncTesting::ManualAction;
using AsyncTesting::ResultRecorder;

constexpr std::uint32_t FailureCode = 0x00AB0003;

Common::Error Failure()
{
    return Common::Error(COMMON_LOCATION("CyclicRunnerTest"), FailureCode);
}

struct Cycle
{
    template <typename Source>
    explicit Cycle(Source source) : Action(std::move(source))
    {
        Control.Run(Action, Result, nullptr);
    }
    Async::Detail::CyclicRunAction Action;
    ResultRecorder Result;
    Async::JobControl Control;
};

TEST(CyclicRunnerTest, SynchronousRoundsLoopWithAFlatStackUntilOneFails)
{
    constexpr int Successes = 1000000;
    auto action = std::make_shared<CountingAction>(Successes + 1, Failure());
    Cycle cycle(action);
    EXPECT_EQ(action->Runs, Successes + 1);
    ASSERT_EQ(cycle.Result.GetCalls(), 1);
    EXPECT_TRUE(Async::Errors::HasCode(cycle.Result.Result, FailureCode));
}

TEST(CyclicRunnerTest, CancelEndsTheCycleWithTheCancelledErrorAndDescribesTheRunner)
{
    auto action = std::make_shared<ManualAction>();
    Cycle cycle(action);
    ASSERT_TRUE(action->Complete(Common::Success));
    ASSERT_TRUE(action->Complete(Common::Success));
    cycle.Control.Cancel();
    EXPECT_EQ(action->Cancels.load(), 1);
    EXPECT_EQ(action->Performs.load(), 3);
    ASSERT_EQ(cycle.Result.GetCalls(), 1);
    EXPECT_TRUE(Async::Errors::HasCode(cycle.Result.Result, Async::ErrorCodes::Canceled));
    // A failed round is described by the runner.
    Common::WideString text;
    cycle.Result.Result.GetMessage(text);
    EXPECT_EQ(text, u"ASYNC: Cyclic runner job.");
    EXPECT_STREQ(cycle.Result.Result.GetLineTag().Function,
                 "Async::CyclicRunnerImpl::CyclicRunner::Describe");
}

TEST(CyclicRunnerTest, RoundsCompletedOnAnotherThreadRaceTheStarterSafely)
{
    constexpr int Rounds = 2000;
    auto action = std::make_shared<ManualAction>();
    std::thread completer(
        [&]
        {
            for (int round = 1; round <= Rounds; ++round)
            {
                while (!action->Complete(round < Rounds ? Common::Success : Failure()))
                {
                    std::this_thread::yield();
                }
            }
        });
    Cycle cycle(action);
    completer.join();
    EXPECT_EQ(action->Performs.load(), Rounds);
    ASSERT_EQ(cycle.Result.GetCalls(), 1);
    EXPECT_TRUE(Async::Errors::HasCode(cycle.Result.Result, FailureCode));
}

} // namespace
