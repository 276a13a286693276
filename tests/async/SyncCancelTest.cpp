#include "ManualAction.h"
#include "async/SyncCancelJob.h"
#include "common/AssertCapture.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace
{

using AsyncTesting::ManualAction;
using AsyncTesting::ResultRecorder;

// Starts `threads` cancellers; each counts a return that came before the wrapped action's completion.
struct Cancellers
{
    Cancellers(Async::Job& job, ResultRecorder& result, int threads)
    {
        for (int i = 0; i < threads; ++i)
        {
            Threads.emplace_back(
                [&]
                {
                    job.Cancel();
                    (result.GetCalls() == 1 ? Returned : ReturnedEarly).fetch_add(1);
                });
        }
    }
    void Join()
    {
        for (std::thread& thread : Threads)
        {
            thread.join();
        }
    }
    std::vector<std::thread> Threads;
    std::atomic<int> Returned{0};
    std::atomic<int> ReturnedEarly{0};
};

TEST(SyncCancelJobTest, CancelsFromTwoThreadsBothReturnAfterTheCompletionAndASecondCompletionAsserts)
{
    auto inner = std::make_shared<ManualAction>();
    inner->IgnoreCancel = true;
    ResultRecorder result;
    const std::shared_ptr<Async::Job> job = Async::SyncCancelJob::MakeAction(inner)->Perform(result);
    Async::WorkDescription description;
    job->Describe(description);
    EXPECT_EQ(description.Text, u"ASYNC: Synchronous cancel action wrapper job.");
    EXPECT_STREQ(description.Location.Function, "Async::SyncCancelJob::Describe");
    Cancellers cancellers(*job, result, 2);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(cancellers.Returned.load() + cancellers.ReturnedEarly.load(), 0);

    inner->Complete(Async::Errors::Canceled());
    cancellers.Join();
    EXPECT_EQ(cancellers.Returned.load(), 2);
    EXPECT_EQ(inner->Cancels.load(), 1);
    EXPECT_TRUE(Async::Errors::HasCode(result.Result, Async::ErrorCodes::Canceled));
    job->Cancel(); // after the completion: returns at once
    Testing::AssertCapture capture;
    dynamic_cast<Async::ActionHandler&>(*job).Completed(Common::Success);
    EXPECT_EQ(capture.Expressions(), std::vector<std::string>{"!\"Sync cancel logic broken.\""});
}

TEST(SyncCancelJobTest, CancelsRacingTheCompletionAllReturnAfterIt)
{
    for (int round = 0; round < 300; ++round)
    {
        auto inner = std::make_shared<ManualAction>();
        ResultRecorder result;
        const std::shared_ptr<Async::Job> job = Async::SyncCancelJob::MakeAction(inner)->Perform(result);
        Cancellers cancellers(*job, result, 3);
        inner->Complete(Common::Success);
        cancellers.Join();
        ASSERT_EQ(cancellers.ReturnedEarly.load(), 0) << "round " << round;
        ASSERT_EQ(result.GetCalls(), 1) << "round " << round;
    }
}

} // namespace
