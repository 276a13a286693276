#include "async/BlockingScope.h"
#include "async/ServiceThreadPool.h"
#include "common/Event.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace
{

using Async::Detail::ServiceThreadPool;

class FunctionTask final : public ServiceThreadPool::Task
{
public:
    explicit FunctionTask(std::function<void()> body) : Body(std::move(body)) {}
    void Run() override { Body(); }
    void Refuse(const Common::Error&) override {}

    std::function<void()> Body;
};

void Post(ServiceThreadPool& pool, std::function<void()> body)
{
    pool.Post(std::make_shared<FunctionTask>(std::move(body)));
}

// Polls `condition` for up to ten seconds of real time.
bool Eventually(const std::function<bool()>& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition())
    {
        if (std::chrono::steady_clock::now() > deadline)
        {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

TEST(ServicePoolTest, OneThreadTakesTasksInPostingOrder)
{
    ServiceThreadPool pool({1, 1, 10000});
    Common::Event gate(true, false);
    std::mutex lock;
    std::vector<int> order;
    Post(pool, [&gate] { gate.Wait(); });
    for (int i = 0; i < 5; ++i)
    {
        Post(pool,
             [&, i]
             {
                 std::lock_guard<std::mutex> guard(lock);
                 order.push_back(i);
             });
    }
    gate.Set();
    pool.WaitUntilIdle();
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4}));
}

// Each task blocks until the last one runs: a pool of fixed size would deadlock.
TEST(ServicePoolTest, GrowsWhileItsThreadsBlockSoTheAwaitedWorkRuns)
{
    constexpr int Count = 12;
    ServiceThreadPool pool({2, 256, 10000});
    Common::Event last(true, false);
    Common::Event allFinished(true, false);
    std::atomic<int> finished{0};
    const auto finish = [&]
    {
        if (++finished == Count)
        {
            allFinished.Set();
        }
    };
    for (int i = 0; i < Count - 1; ++i)
    {
        Post(pool,
             [&]
             {
                 Async::BlockingScope blocked;
                 last.Wait();
                 finish();
             });
    }
    Post(pool,
         [&]
         {
             last.Set();
             finish();
         });
    EXPECT_TRUE(allFinished.Wait(10000));
    last.Set();
    pool.WaitUntilIdle();
    EXPECT_GE(pool.GetStatistics().Threads, static_cast<std::size_t>(Count));
}

TEST(ServicePoolTest, NeverStartsMoreThanTheMaximumAndCountsAWorkerInABlockingScopeAsBlocked)
{
    ServiceThreadPool pool({1, 2, 10000});
    Common::Event release(true, false);
    std::atomic<int> started{0};
    for (int i = 0; i < 4; ++i)
    {
        Post(pool,
             [&]
             {
                 Async::BlockingScope blocked;
                 Async::BlockingScope nested; // counts once
                 ++started;
                 release.Wait();
             });
    }
    ASSERT_TRUE(Eventually([&] { return started.load() == 2; }));
    const ServiceThreadPool::Statistics busy = pool.GetStatistics();
    EXPECT_EQ(busy.Threads, 2u);
    EXPECT_EQ(busy.Queued, 2u);
    EXPECT_EQ(busy.Blocked, 2u);
    release.Set();
    pool.WaitUntilIdle();
    EXPECT_EQ(started.load(), 4);
    EXPECT_EQ(pool.GetStatistics().Blocked, 0u);
}

TEST(ServicePoolTest, ExtraThreadsEndAfterIdlingAndTheCoreStays)
{
    ServiceThreadPool pool({1, 8, 20});
    Common::Event release(true, false);
    for (int i = 0; i < 4; ++i)
    {
        Post(pool, [&] { release.Wait(); });
    }
    ASSERT_TRUE(Eventually([&] { return pool.GetStatistics().Running == 4; }));
    release.Set();
    EXPECT_TRUE(Eventually([&] { return pool.GetStatistics().Threads == 1; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    EXPECT_EQ(pool.GetStatistics().Threads, 1u);
}

} // namespace
