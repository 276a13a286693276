#include "ManualAction.h"
#include "async/Errors.h"
#include "async/JobControl.h"
#include "async/WaitCompletionHandler.h"
#include "async/WaitCompletionJob.h"

#include <gtest/gtest.h>

namespace
{

using AsyncTesting::ManualAction;
using AsyncTesting::ResultRecorder;

constexpr std::uint32_t FailureCode = 0x00AB0002;

struct Started
{
    Started() : Work(std::make_shared<ManualAction>()), Job(std::make_shared<Async::WaitCompletionJob>(Work))
    {
        Control.Run(*Async::OneStepJob::MakeStartAction(Job), Result, nullptr);
    }
    std::shared_ptr<ManualAction> Work;
    std::shared_ptr<Async::WaitCompletionJob> Job;
    ResultRecorder Result;
    Async::JobControl Control;
};

TEST(WaitCompletionJobTest, WaiterIsToldAtTheEndAndLaterWaitsCompleteAtOnce)
{
    Started run;
    ResultRecorder waiter;
    Async::JobControl waiting;
    waiting.Run(*run.Job->GetWaitAction(), waiter, nullptr);
    EXPECT_EQ(waiter.GetCalls(), 0);

    const Common::Error failure(COMMON_LOCATION("WaitCompletionTest"), FailureCode);
    run.Work->Complete(failure);
    EXPECT_EQ(waiter.GetCalls(), 1);
    EXPECT_EQ(waiter.Result.GetCode(), 0u);
    EXPECT_EQ(run.Result.GetCalls(), 1);
    EXPECT_EQ(run.Result.Result.GetCode(), FailureCode); // the job's own result, unchanged
    EXPECT_TRUE(run.Job->IsFinished());

    ResultRecorder late;
    EXPECT_EQ(run.Job->GetWaitAction()->Perform(late), nullptr);
    EXPECT_EQ(late.GetCalls(), 1);
    EXPECT_EQ(late.Result.GetCode(), 0u);
}

TEST(WaitCompletionJobTest, CancellingTheWaitStopsTheWaiterNotTheWork)
{
    Started run;
    ResultRecorder waiter;
    Async::JobControl waiting;
    waiting.Run(*run.Job->GetWaitAction(), waiter, nullptr);
    waiting.Cancel();
    ASSERT_EQ(waiter.GetCalls(), 1);
    EXPECT_EQ(waiter.Result.GetCode(), Async::ErrorCodes::Canceled);
    EXPECT_STREQ(waiter.Result.GetLineTag().Function, "Async::WaitCompletionJob::CompletionJob::Cancel");
    EXPECT_TRUE(run.Work->IsPending());
    EXPECT_EQ(run.Work->Cancels.load(), 0);

    run.Work->Complete(Common::Success);
    EXPECT_EQ(waiter.GetCalls(), 1);
    EXPECT_EQ(run.Result.GetCalls(), 1);
    EXPECT_EQ(run.Result.Result.GetCode(), 0u);
}

TEST(WaitCompletionHandlerTest, CountsRunsPassesResultsOnAndEndsTheWaitAtTheFirst)
{
    auto logic = std::make_shared<Async::WaitCompletionHandler::Logic>();
    ResultRecorder next, waiter;
    Async::WaitCompletionHandler handler(logic);
    handler.SetHandler(next);
    ManualAction work;
    Async::JobControl running, waiting;
    running.Run(work, handler, nullptr);
    waiting.Run(*logic->GetWaitAction(), waiter, nullptr);

    const Common::Error failure(COMMON_LOCATION("WaitCompletionTest"), FailureCode);
    work.Complete(failure);
    EXPECT_EQ(next.Result.GetCode(), FailureCode);
    EXPECT_EQ(waiter.GetCalls(), 1);
    EXPECT_EQ(waiter.Result.GetCode(), 0u);

    running.Run(work, handler, nullptr);
    work.Complete(Common::Success);
    EXPECT_EQ(next.GetCalls(), 2);
    EXPECT_EQ(logic->GetRuns(), 2u);
    ResultRecorder late;
    waiting.Run(*logic->GetWaitAction(), late, nullptr);
    EXPECT_EQ(late.GetCalls(), 1);
}

} // namespace
