#include "async/CyclicRunner.h"

#include "ManualAction.h"
#include "async/Errors.h"
#include "async/JobControl.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace
{

using AsyncTesting::ManualAction;
using AsyncTesting::ResultRecorder;

constexpr std::uint32_t FailureCode = 0x00AB0003;

// Completes inside Perform: success for the first `successes` rounds, then a failure.
class CountingAction final : public Async::Action
{
public:
    explicit CountingAction(std::uint64_t successes) : Successes(successes) {}
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override
    {
        handler.Completed(Rounds++ < Successes
                              ? Common::Success
                              : Common::Error(COMMON_LOCATION("CyclicRunnerTest"), FailureCode));
        return nullptr;
    }
    const std::uint64_t Successes;
    std::uint64_t Rounds = 0;
};

TEST(CyclicRunnerTest, SynchronousRoundsLoopWithAFlatStackUntilOneFails)
{
    constexpr std::uint64_t Successes = 1000000;
    auto action = std::make_shared<CountingAction>(Successes);
    Async::Detail::CyclicRunAction cycle(action);
    ResultRecorder result;
    Async::JobControl control;
    control.Run(cycle, result, nullptr);
    EXPECT_EQ(action->Rounds, Successes + 1);
    ASSERT_EQ(result.GetCalls(), 1);
    EXPECT_TRUE(Async::Errors::HasCode(result.Result, FailureCode));
}

TEST(CyclicRunnerTest, CancelEndsTheCycleWithTheCancelledError)
{
    auto action = std::make_shared<ManualAction>();
    Async::Detail::CyclicRunAction cycle(action);
    ResultRecorder result;
    Async::JobControl control;
    control.Run(cycle, result, nullptr);
    ASSERT_TRUE(action->Complete(Common::Success));
    ASSERT_TRUE(action->Complete(Common::Success));
    EXPECT_EQ(action->Performs, 3);
    control.Cancel();
    EXPECT_EQ(action->Cancels, 1);
    EXPECT_EQ(action->Performs, 3);
    ASSERT_EQ(result.GetCalls(), 1);
    EXPECT_TRUE(Async::Errors::HasCode(result.Result, Async::ErrorCodes::Canceled));
}

TEST(CyclicRunnerTest, ActionsFromTheFunctionAndItsFailureEndTheCycle)
{
    int calls = 0;
    Async::Detail::CyclicRunAction cycle(
        [&]() -> std::shared_ptr<Async::Action>
        {
            if (++calls == 3)
            {
                throw Common::Error(COMMON_LOCATION("CyclicRunnerTest"), FailureCode);
            }
            return std::make_shared<CountingAction>(1);
        });
    ResultRecorder result;
    Async::JobControl control;
    control.Run(cycle, result, nullptr);
    EXPECT_EQ(calls, 3);
    ASSERT_EQ(result.GetCalls(), 1);
    EXPECT_TRUE(Async::Errors::HasCode(result.Result, FailureCode));
}

// Rounds completed by another thread, racing the starter's return from Run.
TEST(CyclicRunnerTest, RoundsCompletedOnAnotherThreadRunInOrder)
{
    class PostedAction final : public Async::Action
    {
    public:
        std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override
        {
            std::lock_guard<std::mutex> guard(Lock);
            Queue.push_back(&handler);
            Ready.notify_one();
            return nullptr;
        }
        Async::ActionHandler* Take()
        {
            std::unique_lock<std::mutex> lock(Lock);
            Ready.wait(lock, [this] { return !Queue.empty(); });
            Async::ActionHandler* handler = Queue.front();
            Queue.pop_front();
            return handler;
        }

    private:
        std::mutex Lock;
        std::condition_variable Ready;
        std::deque<Async::ActionHandler*> Queue;
    };

    constexpr int Rounds = 2000;
    auto action = std::make_shared<PostedAction>();
    std::thread completer(
        [&]
        {
            for (int round = 1; round <= Rounds; ++round)
            {
                action->Take()->Completed(
                    round < Rounds ? Common::Success
                                   : Common::Error(COMMON_LOCATION("CyclicRunnerTest"), FailureCode));
            }
        });
    Async::Detail::CyclicRunAction cycle(action);
    ResultRecorder result;
    Async::JobControl control;
    control.Run(cycle, result, nullptr);
    completer.join();
    ASSERT_EQ(result.GetCalls(), 1);
    EXPECT_TRUE(Async::Errors::HasCode(result.Result, FailureCode));
}

TEST(CyclicRunnerTest, DescribesItself)
{
    ResultRecorder result;
    Async::CyclicRunnerImpl::CyclicRunner runner([] { return nullptr; }, result);
    Async::WorkDescription description;
    runner.Describe(description);
    EXPECT_EQ(description.Text, u"ASYNC: Cyclic runner job.");
    EXPECT_STREQ(description.Location.Function, "Async::CyclicRunnerImpl::CyclicRunner::Describe");
}

} // namespace
