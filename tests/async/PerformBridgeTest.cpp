// The synchronous bridge: Perform returns or throws the action's result, blocks only when the action did
// not complete inside its Perform, tells the thread's synchronisation callbacks before blocking, counts as
// blocked on a service thread, and hands a tail-recursion loop of the blocking thread to the service so
// that work of that loop can still complete the action.
#include "ManualAction.h"
#include "async/DefaultService.h"
#include "async/Errors.h"
#include "async/ImmediateResultAction.h"
#include "async/SilentWorkAdaptor.h"
#include "async/Synchronizer.h"
#include "async/TailRecursionController.h"
#include "async/WaitingHandler.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>

namespace
{

using AsyncTesting::ManualAction;

constexpr std::uint32_t FailureCode = 0x00AB0008;

Common::Error Failure()
{
    return Common::Error(COMMON_LOCATION("PerformBridgeTest"), FailureCode);
}

// Counts the walks of the calling thread's callback stack while it is registered.
struct WalkCounter final : Async::ScopedSynchronizationCallback
{
    bool OnSynchronize(void*) override
    {
        ++Walks;
        return false;
    }
    std::atomic<int> Walks{0};
};

std::uint32_t CodeOfPerform(Async::Action& action)
{
    try
    {
        Async::Perform(action);
        return 0;
    }
    catch (const Common::Error& error)
    {
        return error.GetCode();
    }
}

TEST(PerformBridgeTest,
     ReturnsOrThrowsTheResultAndBlocksOnlyUntilAnotherThreadCompletesAfterTellingTheCallbacks)
{
    WalkCounter walks;
    Async::ImmediateResultAction success;
    Async::ImmediateResultAction failure(Failure());
    EXPECT_EQ(CodeOfPerform(success), 0u);
    EXPECT_EQ(CodeOfPerform(failure), FailureCode);
    ManualAction action;
    action.OnPerform = [] { throw Failure(); };
    EXPECT_EQ(CodeOfPerform(action), FailureCode); // as it was thrown
    action.OnPerform = [] { throw std::runtime_error("perform"); };
    EXPECT_EQ(CodeOfPerform(action), Async::ErrorCodes::StdException);
    EXPECT_EQ(walks.Walks, 0); // nothing blocked so far

    std::thread completer;
    action.OnPerform = [&]
    {
        completer = std::thread(
            [&]
            {
                // Only once the caller sleeps, so the walk has surely come first.
                while (walks.Walks == 0)
                {
                    std::this_thread::yield();
                }
                action.Complete(Failure());
            });
    };
    EXPECT_EQ(CodeOfPerform(action), FailureCode);
    completer.join();
    EXPECT_EQ(walks.Walks, 1);
}

// The default service of this test, installed while it lives.
struct InstalledService
{
    InstalledService() { Async::InstallAsyncService(&Service); }
    ~InstalledService() { Async::InstallAsyncService(nullptr); }
    Async::Detail::DefaultService Service;
};

TEST(PerformBridgeTest, BlocksAsABlockedThreadOfTheService)
{
    InstalledService installed;
    ManualAction action;
    Async::WaitingHandler done;
    std::uint32_t code = 1;
    auto work = Async::MakeWork([&] { code = CodeOfPerform(action); });
    installed.Service.Execute(*work, done);
    while (installed.Service.GetStatistics().Blocked == 0)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_TRUE(action.IsPending());
    action.Complete(Common::Success);
    done.Wait();
    EXPECT_EQ(code, 0u);
    EXPECT_EQ(installed.Service.GetStatistics().Blocked, 0u);
}

// A loop whose first round performs, synchronously, an action that only its second round completes: the
// action hands the loop its completion as new work, which waits behind the blocked round.
struct SelfFeedingLoop final : Async::TailRecursionController, std::enable_shared_from_this<SelfFeedingLoop>
{
    void GetKeepAlive(std::shared_ptr<void>& out) override { out = shared_from_this(); }
    void Process() override
    {
        if (++Rounds == 1)
        {
            Code = CodeOfPerform(Action);
            return;
        }
        Action.Complete(Failure());
    }
    ManualAction Action;
    std::atomic<int> Rounds{0};
    std::uint32_t Code = 1;
};

TEST(PerformBridgeTest, PerformInsideALoopRoundWhoseLaterWorkCompletesItDoesNotDeadlock)
{
    InstalledService installed;
    auto loop = std::make_shared<SelfFeedingLoop>();
    loop->Action.OnPerform = [&loop] { loop->Notify(); };
    std::thread([&loop] { loop->Notify(); }).join();
    EXPECT_EQ(loop->Code, FailureCode);
    EXPECT_EQ(loop->Rounds, 2);
    installed.Service.WaitUntilIdle();
}

} // namespace
