// The tail-recursion loop: work announced inside Process loops instead of recursing, a completion on
// another thread takes the loop over, and pending work leaves a thread that is about to block or that a
// long round keeps busy until a metronome beat.
#include "async/FakeAsyncService.h"
#include "async/TailRecursionController.h"
#include "common/ThreadId.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>

namespace
{

// Runs the scripted rounds in order and notes each one's thread and the deepest nesting.
struct Rounds final : Async::TailRecursionController, std::enable_shared_from_this<Rounds>
{
    void GetKeepAlive(std::shared_ptr<void>& out) override { out = shared_from_this(); }
    void Process() override
    {
        MaxDepth = std::max(MaxDepth.load(), ++Depth);
        const std::size_t round = Threads.size();
        Threads.push_back(Common::GetCurrentThreadId());
        if (round < Script.size())
        {
            Script[round]();
        }
        --Depth;
    }
    std::vector<std::function<void()>> Script;
    std::vector<Common::ThreadId> Threads;
    std::atomic<int> Depth{0};
    std::atomic<int> MaxDepth{0};
};

// Runs `rounds` from a fresh thread (whose metronome watch no other test armed) and returns that thread.
Common::ThreadId RunOnNewThread(Rounds& rounds)
{
    Common::ThreadId id = 0;
    std::thread([&] { id = Common::GetCurrentThreadId(), rounds.Notify(); }).join();
    return id;
}

TEST(TailRecursionTest, NotifyInsideProcessLoopsInsteadOfRecursing)
{
    auto rounds = std::make_shared<Rounds>();
    rounds->Script.assign(1000, [&rounds] { rounds->Notify(); });
    rounds->Notify();
    EXPECT_EQ(rounds->Threads.size(), 1001u);
    EXPECT_EQ(rounds->MaxDepth, 1);
    rounds->Notify(); // the loop has let go of this thread: it runs here again
    EXPECT_EQ(rounds->Threads.size(), 1002u);
}

TEST(TailRecursionTest, CompletionOnAnotherThreadTakesTheLoopOver)
{
    auto rounds = std::make_shared<Rounds>();
    Common::ThreadId other = 0;
    rounds->Script = {[&] { other = RunOnNewThread(*rounds); }, [] {}};
    rounds->Notify();
    ASSERT_EQ(rounds->Threads.size(), 2u);
    EXPECT_EQ(rounds->Threads[1], other); // while the first round was still busy
}

// A busy round leaves work pending; `release` makes it move, and the round waits until a service thread
// ran it (nothing more is posted by a walk that finds nothing pending).
void ExpectPendingWorkMoves(const std::function<void(Testing::FakeAsyncService&)>& release)
{
    Testing::FakeAsyncService service;
    auto rounds = std::make_shared<Rounds>();
    Common::ThreadId serviceThread = 0;
    rounds->Script = {[&]
                      {
                          rounds->Notify();
                          release(service);
                          const auto posted = service.Take();
                          ASSERT_NE(posted.Work, nullptr);
                          std::thread(
                              [&serviceThread, posted]
                              {
                                  serviceThread = Common::GetCurrentThreadId();
                                  posted.Work->Run();
                                  posted.Handler->Completed(Common::Success);
                              })
                              .join();
                      },
                      [] { Async::NotifySynchronization(); }};
    const Common::ThreadId loopThread = RunOnNewThread(*rounds);
    ASSERT_EQ(rounds->Threads.size(), 2u);
    EXPECT_EQ(rounds->Threads[0], loopThread);
    EXPECT_EQ(rounds->Threads[1], serviceThread);
    EXPECT_EQ(service.PostedCount, 1);
    service.Beat(); // lets an armed watch go
}

TEST(TailRecursionTest, PendingWorkLeavesAThreadAboutToBlock)
{
    ExpectPendingWorkMoves([](Testing::FakeAsyncService&) { Async::NotifySynchronization(); });
}

TEST(TailRecursionTest, PendingWorkLeavesALongRoundAtTheMetronomeBeat)
{
    ExpectPendingWorkMoves(
        [](Testing::FakeAsyncService& service)
        {
            EXPECT_EQ(service.PeriodAsked, 60u);
            std::thread([&service] { EXPECT_TRUE(service.Beat()); }).join();
        });
}

} // namespace
