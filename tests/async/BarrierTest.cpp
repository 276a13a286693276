#include "ManualAction.h"
#include "async/Errors.h"
#include "async/FullBarrier.h"
#include "async/JobControl.h"
#include "async/LazyBarrier.h"

#include <gtest/gtest.h>

#include <mutex>
#include <utility>
#include <vector>

namespace
{

using AsyncTesting::ManualAction;
using AsyncTesting::ResultRecorder;

constexpr std::uint32_t FailureCode = 0x00AB0001;

Common::Error Failure()
{
    return Common::Error(COMMON_LOCATION("BarrierTest"), FailureCode);
}

class ThrowingAction final : public Async::Action
{
public:
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler&) override { throw Failure(); }
};

class RecordingAccumulator final : public Async::ResultAccumulator
{
public:
    void Accumulate(std::uint32_t position, const Common::Error& result) override
    {
        std::lock_guard<std::mutex> guard(Lock);
        Results.emplace_back(position, result.GetCode());
    }
    std::mutex Lock;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> Results;
};

template <typename Barrier>
class AnyBarrierTest : public ::testing::Test
{
};
using BarrierKinds = ::testing::Types<Async::FullBarrier, Async::LazyBarrier>;
TYPED_TEST_SUITE(AnyBarrierTest, BarrierKinds);

TYPED_TEST(AnyBarrierTest, EndsOnceAllActionsEndedAndBeginsANewRoundAfterWait)
{
    TypeParam barrier;
    ResultRecorder empty;
    Async::JobControl control;
    control.Run(*barrier.Wait(), empty, nullptr);
    EXPECT_EQ(empty.GetCalls(), 1); // at once, with success
    EXPECT_EQ(empty.Result.GetCode(), 0u);

    ManualAction immediate, pending;
    immediate.OnPerform = [&] { immediate.Complete(Common::Success); };
    EXPECT_EQ(barrier.Add(immediate).GetCode(), 0u);
    EXPECT_EQ(barrier.Add(pending).GetCode(), 0u);
    ResultRecorder first;
    control.Run(*barrier.Wait(), first, nullptr);
    EXPECT_EQ(first.GetCalls(), 0);
    pending.Complete(Common::Success);
    EXPECT_EQ(first.GetCalls(), 1);
    EXPECT_EQ(first.Result.GetCode(), 0u);

    ManualAction next;
    EXPECT_EQ(barrier.Add(next).GetCode(), 0u);
    ResultRecorder second;
    control.Run(*barrier.Wait(), second, nullptr);
    EXPECT_EQ(second.GetCalls(), 0);
    next.Complete(Common::Success);
    EXPECT_EQ(second.GetCalls(), 1);
    EXPECT_EQ(first.GetCalls(), 1);
}

TYPED_TEST(AnyBarrierTest, CancelDuringPerformReachesTheJobOnceAddHasIt)
{
    TypeParam barrier;
    ManualAction running, starting;
    ASSERT_EQ(barrier.Add(running).GetCode(), 0u);
    ResultRecorder recorder;
    const std::shared_ptr<Async::Job> round = barrier.Wait()->Perform(recorder);
    // The wait detached the round; reach it again through an action started into it directly.
    auto* job = dynamic_cast<Async::Detail::BarrierJob*>(round.get());
    ASSERT_NE(job, nullptr);
    starting.OnPerform = [&] { round->Cancel(); };
    const Common::Error added = job->Add(starting);
    EXPECT_TRUE(Async::Errors::HasCode(added, Async::ErrorCodes::Canceled));
    EXPECT_EQ(running.Cancels.load(), 1);
    EXPECT_EQ(starting.Cancels.load(), 1);
    EXPECT_EQ(recorder.GetCalls(), 1);
    EXPECT_TRUE(Async::Errors::HasCode(recorder.Result, Async::ErrorCodes::Canceled));
}

TEST(LazyBarrierTest, FirstFailureCancelsTheOthersAndIsWhatWaitGets)
{
    Async::LazyBarrier barrier;
    ManualAction first, second, third;
    third.IgnoreCancel = true;
    for (ManualAction* action : {&first, &second, &third})
    {
        ASSERT_EQ(barrier.Add(*action).GetCode(), 0u);
    }
    ResultRecorder recorder;
    Async::JobControl control;
    control.Run(*barrier.Wait(), recorder, nullptr);

    second.Complete(Failure());
    EXPECT_EQ(first.Cancels.load(), 1);
    EXPECT_EQ(third.Cancels.load(), 1);
    EXPECT_FALSE(first.IsPending());
    EXPECT_EQ(recorder.GetCalls(), 0); // the third still runs

    third.Complete(Async::Errors::Canceled());
    EXPECT_EQ(recorder.GetCalls(), 1);
    EXPECT_EQ(recorder.Result.GetCode(), FailureCode);
}

TEST(LazyBarrierTest, AddAfterAFailureStartsNothing)
{
    auto round = std::make_shared<Async::LazyBarrier::BarrierJob>();
    ManualAction running, failing, late;
    failing.OnPerform = [&] { failing.Complete(Failure()); };
    running.IgnoreCancel = true;
    ASSERT_EQ(round->Add(running).GetCode(), 0u);
    EXPECT_EQ(round->Add(failing).GetCode(), FailureCode);
    EXPECT_EQ(round->Add(late).GetCode(), 0u); // the failure goes to Wait while one action runs
    // Cancels after the failure leave it in place.
    round->Cancel();
    round->Cancel();
    EXPECT_EQ(running.Cancels.load(), 3);
    running.Complete(Common::Success);
    EXPECT_EQ(round->Add(late).GetCode(), FailureCode);
    EXPECT_EQ(late.Performs.load(), 0);
    ResultRecorder recorder;
    round->Wait(recorder);
    EXPECT_EQ(recorder.GetCalls(), 1);
    EXPECT_EQ(recorder.Result.GetCode(), FailureCode);
}

TEST(FullBarrierTest, FailingActionLetsTheOthersRunAndWaitReportsSuccess)
{
    Async::FullBarrier barrier;
    RecordingAccumulator accumulator;
    barrier.SetAccumulator(&accumulator);
    ManualAction first, second;
    ThrowingAction third;
    ASSERT_EQ(barrier.Add(first).GetCode(), 0u);
    ASSERT_EQ(barrier.Add(second).GetCode(), 0u);
    EXPECT_EQ(barrier.Add(third).GetCode(), 0u);
    ResultRecorder recorder;
    Async::JobControl control;
    control.Run(*barrier.Wait(), recorder, nullptr);

    second.Complete(Failure());
    EXPECT_EQ(first.Cancels.load(), 0);
    EXPECT_EQ(recorder.GetCalls(), 0);
    first.Complete(Common::Success);
    EXPECT_EQ(recorder.GetCalls(), 1);
    EXPECT_EQ(recorder.Result.GetCode(), 0u);
    const std::vector<std::pair<std::uint32_t, std::uint32_t>> expected = {
        {2, Async::ErrorCodes::Exception}, {1, FailureCode}, {0, 0}};
    EXPECT_EQ(accumulator.Results, expected);
}

TEST(FullBarrierTest, CancelledRoundEndsCancelledOnceAndRefusesNewActions)
{
    Async::FullBarrier barrier;
    ManualAction first, second, late;
    first.IgnoreCancel = second.IgnoreCancel = true;
    ASSERT_EQ(barrier.Add(first).GetCode(), 0u);
    ASSERT_EQ(barrier.Add(second).GetCode(), 0u);
    ResultRecorder recorder;
    const std::shared_ptr<Async::Job> round = barrier.Wait()->Perform(recorder);
    round->Cancel();
    round->Cancel();
    EXPECT_EQ(first.Cancels.load(), 2);
    const Common::Error refused = dynamic_cast<Async::Detail::BarrierJob&>(*round).Add(late);
    EXPECT_EQ(refused.GetCode(), 0u); // actions still run: Wait reports the reason
    EXPECT_EQ(late.Performs.load(), 0);
    first.Complete(Common::Success);
    second.Complete(Common::Success);
    EXPECT_EQ(recorder.GetCalls(), 1);
    EXPECT_EQ(recorder.Result.GetCode(), Async::ErrorCodes::Canceled);
    EXPECT_EQ(dynamic_cast<Async::Detail::BarrierJob&>(*round).Add(late).GetCode(),
              Async::ErrorCodes::Canceled);
}

} // namespace
