#include "common/LightMutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <thread>
#include <vector>

namespace
{

using Common::LightMutex;
using namespace std::chrono_literals;

TEST(LightMutexTest, RecursionByOneThreadCreatesNoEvent)
{
    LightMutex mutex;
    {
        Common::LightMutexLock first(mutex), second(mutex), third(mutex);
    }
    EXPECT_FALSE(mutex.HasEvent());
    // Taken in turn by another thread, still without contention.
    std::thread([&] { Common::LightMutexLock outer(mutex), inner(mutex); }).join();
    EXPECT_FALSE(mutex.HasEvent());
}

class LightMutexContentionTest : public testing::TestWithParam<bool>
{
};

// The holder keeps a second thread out, even across its recursive unlocks, until its last unlock.
TEST_P(LightMutexContentionTest, ContentionCreatesAnEventThatCleanupFreesAgain)
{
    const bool cleanup = GetParam();
    LightMutex mutex(cleanup);
    mutex.Lock();
    mutex.Lock();
    std::atomic<bool> acquired{false};
    std::thread contender(
        [&]
        {
            mutex.Lock();
            acquired.store(true);
            mutex.Unlock();
        });
    while (!mutex.HasEvent())
    {
        std::this_thread::sleep_for(1ms);
    }
    mutex.Unlock();
    std::this_thread::sleep_for(10ms);
    EXPECT_FALSE(acquired.load());
    mutex.Unlock();
    contender.join();
    EXPECT_TRUE(acquired.load());
    EXPECT_EQ(mutex.HasEvent(), !cleanup);
}

TEST_P(LightMutexContentionTest, CounterOfManyThreadsLosesNoIncrement)
{
    const bool cleanup = GetParam();
    LightMutex mutex(cleanup);
    long counter = 0;
    constexpr int Threads = 4;
    constexpr int Rounds = 5000;
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < Threads; ++t)
        {
            threads.emplace_back(
                [&, t]
                {
                    for (int i = 0; i < Rounds; ++i)
                    {
                        Common::LightMutexLock outer(mutex);
                        // Every third hold is a recursive one.
                        std::optional<Common::LightMutexLock> inner;
                        if ((i + t) % 3 == 0)
                        {
                            inner.emplace(mutex);
                        }
                        ++counter;
                    }
                });
        }
    }
    EXPECT_EQ(counter, Threads * Rounds);
    if (cleanup)
    {
        // The last thread to get it through the event finds nobody waiting and frees it.
        EXPECT_FALSE(mutex.HasEvent());
    }
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutCleanup, LightMutexContentionTest, testing::Bool(),
                         [](const testing::TestParamInfo<bool>& info)
                         { return info.param ? "Cleanup" : "KeepEvent"; });

} // namespace
