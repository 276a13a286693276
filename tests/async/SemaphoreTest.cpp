// The semaphore: how many wrapped actions run at once and in which order, cancelling waiting and running
// jobs, the performer's thread environment around a start on another thread, a long queue of synchronous
// actions on a small stack, and threads racing for a limit.
#include "async/Semaphore.h"

#include "HookedService.h"
#include "ManualAction.h"
#include "ThreadHelpers.h"
#include "async/Errors.h"
#include "common/AssertCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace
{

using AsyncTesting::ManualAction;
using AsyncTesting::ResultRecorder;

// One Perform of a wrapped manual action.
struct WrappedRun
{
    explicit WrappedRun(Async::Semaphore& semaphore)
        : Wrapped(semaphore.Wrap(Inner)), Job(Wrapped->Perform(Recorder))
    {
    }
    std::shared_ptr<ManualAction> Inner = std::make_shared<ManualAction>();
    ResultRecorder Recorder;
    std::unique_ptr<Async::Action> Wrapped;
    std::shared_ptr<Async::Job> Job;
};

TEST(AsyncSemaphoreTest, AtMostLimitActionsRunAndWaitingOnesStartInArrivalOrder)
{
    constexpr int Count = 6;
    for (std::uint32_t limit : {0u, 1u, 2u, 4u})
    {
        SCOPED_TRACE(limit);
        Testing::AssertCapture asserts;
        Async::Semaphore semaphore(limit);
        std::vector<std::unique_ptr<WrappedRun>> runs;
        for (int index = 0; index < Count; ++index)
        {
            runs.push_back(std::make_unique<WrappedRun>(semaphore));
        }
        for (int done = 0; done <= Count; ++done)
        {
            const int started = limit == 0 ? Count : std::min<int>(Count, done + limit);
            for (int index = 0; index < Count; ++index)
            {
                ASSERT_EQ(runs[index]->Inner->Performs.load(), index < started ? 1 : 0) << index;
            }
            if (done < Count)
            {
                // Each result is handed on unchanged.
                runs[done]->Inner->Complete(Common::Error(COMMON_LOCATION("Test"), 0x00F95500 + done));
                ASSERT_EQ(runs[done]->Recorder.Result.GetCode(), 0x00F95500u + done);
            }
        }
        EXPECT_TRUE(asserts.Expressions().empty());
    }
}

TEST(AsyncSemaphoreTest, CancelledWaitingJobNeverRunsAndCancelOfARunningOneReachesItsAction)
{
    Testing::AssertCapture asserts;
    Async::Semaphore semaphore(1);
    WrappedRun running(semaphore), cancelled(semaphore), next(semaphore);

    cancelled.Job->Cancel();
    ASSERT_EQ(cancelled.Recorder.GetCalls(), 1);
    EXPECT_EQ(cancelled.Recorder.Result.GetCode(), Async::ErrorCodes::Canceled);
    EXPECT_STREQ(cancelled.Recorder.Result.GetLineTag().Function,
                 "Async::Detail::SemaphoreLogic::SemaphoreJob::Cancel");

    running.Job->Cancel();
    EXPECT_EQ(running.Inner->Cancels.load(), 1);
    // The job's control describes a result that met the cancel on its way.
    EXPECT_TRUE(Async::Errors::HasCode(running.Recorder.Result, Async::ErrorCodes::Canceled));
    EXPECT_EQ(cancelled.Inner->Performs.load(), 0);
    EXPECT_EQ(next.Inner->Performs.load(), 1);
    EXPECT_EQ(cancelled.Recorder.GetCalls(), 1);
    next.Inner->Complete(Common::Success);

    Async::WorkDescription description;
    next.Job->Describe(description);
    EXPECT_EQ(description.Text, u"ASYNC: Action sequence pending action job.");
    EXPECT_TRUE(asserts.Expressions().empty());
}

TEST(AsyncSemaphoreTest, QueuedActionStartsOnAnotherThreadUnderThePerformersEnvironment)
{
    Testing::HookedService service;
    Async::Semaphore semaphore(1);
    WrappedRun blocker(semaphore);
    Testing::HookedService::Environment() = 7;
    WrappedRun queued(semaphore);
    Testing::HookedService::Environment() = 0;
    int seen = -1;
    queued.Inner->OnPerform = [&seen] { seen = Testing::HookedService::Environment(); };

    int after = -1;
    std::thread([&]
                { blocker.Inner->Complete(Common::Success), after = Testing::HookedService::Environment(); })
        .join();
    EXPECT_EQ(seen, 7);
    EXPECT_EQ(after, 0);
    queued.Inner->Complete(Common::Success);
}

// Completes inside Perform, counting its runs and those that found the limit already reached.
struct SynchronousAction final : Async::Action
{
    explicit SynchronousAction(int limit) : Limit(limit) {}
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override
    {
        ++Runs;
        Overruns += Inside.fetch_add(1) >= Limit;
        std::this_thread::yield();
        Inside.fetch_sub(1);
        handler.Completed(Common::Success);
        return nullptr;
    }
    const int Limit;
    std::atomic<int> Runs{0}, Inside{0}, Overruns{0};
};

TEST(AsyncSemaphoreTest, SynchronousActionsBehindALongQueueRunOnAFlatStack)
{
    constexpr int Count = 100'000;
    Testing::AssertCapture asserts;
    Async::Semaphore semaphore(1);
    WrappedRun blocker(semaphore);
    auto counting = std::make_shared<SynchronousAction>(1);
    const auto wrapped = semaphore.Wrap(counting);
    std::vector<ResultRecorder> recorders(Count);
    std::vector<std::shared_ptr<Async::Job>> jobs;
    for (ResultRecorder& recorder : recorders)
    {
        jobs.push_back(wrapped->Perform(recorder));
    }
    ASSERT_EQ(counting->Runs.load(), 0);
    Testing::RunOnSmallStack([&] { blocker.Inner->Complete(Common::Success); });
    ASSERT_EQ(counting->Runs.load(), Count);
    EXPECT_TRUE(std::all_of(recorders.begin(), recorders.end(),
                            [](auto& recorder) { return recorder.GetCalls() == 1; }));
    EXPECT_TRUE(asserts.Expressions().empty());
}

TEST(AsyncSemaphoreTest, ThreadsRacingForTheLimitNeverExceedIt)
{
    constexpr int Threads = 4, Rounds = 3000;
    Testing::AssertCapture asserts;
    Async::Semaphore semaphore(2);
    auto guarded = std::make_shared<SynchronousAction>(2);
    const auto wrapped = semaphore.Wrap(guarded);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < Threads; ++thread)
    {
        threads.emplace_back(
            [&]
            {
                Testing::ThreadWaiter waiter;
                for (int round = 0; round < Rounds; ++round)
                {
                    const auto job = wrapped->Perform(waiter);
                    waiter.Wait();
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(guarded->Runs.load(), Threads * Rounds);
    EXPECT_EQ(guarded->Overruns.load(), 0);
    EXPECT_TRUE(asserts.Expressions().empty());
}

} // namespace
