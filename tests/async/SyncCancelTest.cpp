#include "ManualAction.h"
#include "async/Errors.h"
#include "async/SyncCancelJob.h"
#include "common/AssertCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace
{

using AsyncTesting::ManualAction;
using AsyncTesting::ResultRecorder;

// Completes exactly once, from whichever thread gets there first: Finish or the job's Cancel.
class RacingAction final : public Async::Action
{
public:
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override
    {
        Handler.store(&handler, std::memory_order_release);
        return std::make_shared<CancelJob>(*this);
    }
    void Finish(const Common::Error& result)
    {
        if (Async::ActionHandler* handler = Handler.exchange(nullptr, std::memory_order_acq_rel))
        {
            handler->Completed(result);
        }
    }

private:
    class CancelJob final : public Async::BaseJob
    {
    public:
        explicit CancelJob(RacingAction& action) : Owner(action) {}
        void Cancel() override { Owner.Finish(Async::Errors::Canceled()); }

    private:
        RacingAction& Owner;
    };

    std::atomic<Async::ActionHandler*> Handler{nullptr};
};

TEST(SyncCancelJobTest, CancelsFromTwoThreadsBothReturnAfterTheCompletion)
{
    auto inner = std::make_shared<ManualAction>();
    inner->IgnoreCancel = true;
    ResultRecorder result;
    const std::shared_ptr<Async::Job> job = Async::SyncCancelJob::MakeAction(inner)->Perform(result);

    std::atomic<int> returned{0};
    std::atomic<int> returnedEarly{0};
    auto cancel = [&]
    {
        job->Cancel();
        if (result.GetCalls() != 1)
        {
            returnedEarly.fetch_add(1);
        }
        returned.fetch_add(1);
    };
    std::thread first(cancel), second(cancel);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(returned.load(), 0);

    inner->Complete(Async::Errors::Canceled());
    first.join();
    second.join();
    EXPECT_EQ(returned.load(), 2);
    EXPECT_EQ(returnedEarly.load(), 0);
    EXPECT_EQ(inner->Cancels, 1);
    EXPECT_TRUE(Async::Errors::HasCode(result.Result, Async::ErrorCodes::Canceled));

    // After the completion a cancel returns at once.
    job->Cancel();
    EXPECT_EQ(result.GetCalls(), 1);
}

TEST(SyncCancelJobTest, CancelsRacingTheCompletionAllReturnAfterIt)
{
    for (int round = 0; round < 300; ++round)
    {
        auto inner = std::make_shared<RacingAction>();
        ResultRecorder result;
        const std::shared_ptr<Async::Job> job = Async::SyncCancelJob::MakeAction(inner)->Perform(result);
        std::atomic<int> returnedEarly{0};
        auto cancel = [&]
        {
            job->Cancel();
            if (result.GetCalls() != 1)
            {
                returnedEarly.fetch_add(1);
            }
        };
        std::thread first(cancel), second(cancel), third(cancel);
        inner->Finish(Common::Success);
        first.join();
        second.join();
        third.join();
        ASSERT_EQ(returnedEarly.load(), 0) << "round " << round;
        ASSERT_EQ(result.GetCalls(), 1) << "round " << round;
    }
}

TEST(SyncCancelJobTest, DescribesItselfAndAssertsOnASecondCompletion)
{
    auto inner = std::make_shared<ManualAction>();
    ResultRecorder result;
    const std::shared_ptr<Async::Job> job = Async::SyncCancelJob::MakeAction(inner)->Perform(result);
    Async::WorkDescription description;
    job->Describe(description);
    EXPECT_EQ(description.Text, u"ASYNC: Synchronous cancel action wrapper job.");
    EXPECT_STREQ(description.Location.Function, "Async::SyncCancelJob::Describe");

    inner->Complete(Common::Success);
    Testing::AssertCapture capture;
    dynamic_cast<Async::ActionHandler&>(*job).Completed(Common::Success);
    EXPECT_EQ(capture.Expressions(), std::vector<std::string>{"!\"Sync cancel logic broken.\""});
}

} // namespace
