#include "common/Event.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

namespace
{

using Common::Event;
using namespace std::chrono_literals;

// Waits (briefly spinning) until `count` threads are inside a wait on `event`.
void AwaitWaiters(const Event& event, std::size_t count)
{
    while (event.GetWaiterCount() < count)
    {
        std::this_thread::sleep_for(1ms);
    }
}

void JoinAll(std::vector<std::thread>& threads)
{
    for (std::thread& thread : threads)
    {
        thread.join();
    }
}

TEST(EventTest, InitialStateAndResetAreSeenByWaitsWithoutTimeOut)
{
    Event manualSet(true, true);
    EXPECT_TRUE(manualSet.Wait(0));
    EXPECT_TRUE(manualSet.Wait(0));
    manualSet.Reset();
    EXPECT_FALSE(manualSet.Wait(0));

    Event autoSet(false, true);
    EXPECT_TRUE(autoSet.Wait(0));
    EXPECT_FALSE(autoSet.Wait(0));
    autoSet.Set();
    autoSet.Reset();
    EXPECT_FALSE(autoSet.Wait(0));
}

TEST(EventTest, WaitTimesOutAfterItsTime)
{
    Event event(true, false);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(event.Wait(30));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 30ms);
}

TEST(EventTest, SetOfAManualEventReleasesEveryWaiterAndStaysSet)
{
    Event event(true, false);
    std::vector<std::thread> waiters;
    for (int i = 0; i < 3; ++i)
    {
        waiters.emplace_back([&] { event.Wait(); });
    }
    AwaitWaiters(event, 3);
    event.Set();
    JoinAll(waiters);
    EXPECT_TRUE(event.Wait(0));
}

TEST(EventTest, SetOfAnAutoEventReleasesOneWaiterAndIsConsumed)
{
    Event event(false, false);
    std::atomic<int> released{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 2; ++i)
    {
        waiters.emplace_back(
            [&]
            {
                event.Wait();
                ++released;
            });
    }
    AwaitWaiters(event, 2);
    event.Set();
    while (released.load() == 0)
    {
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_EQ(event.GetWaiterCount(), 1u);
    EXPECT_EQ(released.load(), 1);
    EXPECT_FALSE(event.Wait(0));
    event.Set();
    JoinAll(waiters);
    EXPECT_EQ(released.load(), 2);
    EXPECT_FALSE(event.Wait(0));
}

TEST(EventTest, PulseReleasesTheCurrentWaitersAndLeavesTheEventReset)
{
    for (const bool manual : {true, false})
    {
        SCOPED_TRACE(manual ? "manual reset" : "auto reset");
        Event event(manual, false);
        std::atomic<int> released{0};
        std::vector<std::thread> waiters;
        for (int i = 0; i < 3; ++i)
        {
            waiters.emplace_back(
                [&]
                {
                    event.Wait();
                    ++released;
                });
        }
        AwaitWaiters(event, 3);
        event.Pulse();
        const int expected = manual ? 3 : 1;
        while (released.load() < expected)
        {
            std::this_thread::sleep_for(1ms);
        }
        EXPECT_EQ(event.GetWaiterCount(), 3u - expected);
        EXPECT_FALSE(event.Wait(0));

        // Each Set of an auto-reset event goes to one of the waiters still registered.
        for (int i = manual ? 2 : expected; i < 3; ++i)
        {
            event.Set();
        }
        JoinAll(waiters);
        EXPECT_EQ(released.load(), 3);
    }
}

TEST(EventTest, PulseWithoutWaitersIsLost)
{
    for (const bool manual : {true, false})
    {
        Event event(manual, true);
        event.Pulse();
        EXPECT_FALSE(event.Wait(0));
    }
}

TEST(EventTest, WaitAnyAnswersTheFirstSignalledEventAndConsumesOnlyIt)
{
    Event first(false, true);
    Event second(false, true);
    Event* events[] = {&first, &second};
    EXPECT_EQ(Event::WaitAny(events, 2, 0), 0);
    EXPECT_EQ(Event::WaitAny(events, 2, 0), 1);
    EXPECT_EQ(Event::WaitAny(events, 2, 0), -1);

    Event manual(true, true);
    Event* mixed[] = {&first, &manual};
    EXPECT_EQ(Event::WaitAny(mixed, 2, 0), 1);
    EXPECT_TRUE(manual.Wait(0));
}

TEST(EventTest, WaitAnyTimesOutWithMinusOneAndLeavesNoRegistration)
{
    Event first(false, false);
    Event second(true, false);
    Event* events[] = {&first, &second};
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Event::WaitAny(events, 2, 20), -1);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 20ms);
    EXPECT_EQ(first.GetWaiterCount(), 0u);
    EXPECT_EQ(second.GetWaiterCount(), 0u);
}

TEST(EventTest, WaitAnyIsReleasedBySetOfALaterEventWhichItConsumes)
{
    Event first(false, false);
    Event second(false, false);
    Event* events[] = {&first, &second};
    int result = -2;
    std::thread waiter([&] { result = Event::WaitAny(events, 2, Event::Infinite); });
    AwaitWaiters(second, 1);
    second.Set();
    waiter.join();
    EXPECT_EQ(result, 1);
    EXPECT_FALSE(second.Wait(0));
    EXPECT_EQ(first.GetWaiterCount(), 0u);
}

// The first of many auto-reset events is set once the waiter has registered with it, the last one as
// soon as possible: while the waiter still registers with the rest. One releases it, the other keeps its
// signal.
TEST(EventTest, SetsRacingWaitAnyAreNeitherLostNorConsumedTwice)
{
    constexpr int Count = 64;
    for (int round = 0; round < 300; ++round)
    {
        std::vector<std::unique_ptr<Event>> owned;
        std::vector<Event*> events;
        for (int i = 0; i < Count; ++i)
        {
            owned.push_back(std::make_unique<Event>(false, false));
            events.push_back(owned.back().get());
        }
        std::atomic<bool> go{false};
        std::atomic<bool> returned{false};
        std::thread setFirst(
            [&]
            {
                while (events.front()->GetWaiterCount() == 0 && !returned.load())
                {
                    std::this_thread::yield();
                }
                events.front()->Set();
            });
        std::thread setLast(
            [&]
            {
                while (!go.load())
                {
                }
                events.back()->Set();
            });
        go.store(true);
        const int released = Event::WaitAny(events.data(), Count, 5000);
        returned.store(true);
        setFirst.join();
        setLast.join();
        ASSERT_TRUE(released == 0 || released == Count - 1) << "round " << round << ": " << released;
        ASSERT_EQ(Event::WaitAny(events.data(), Count, 0), Count - 1 - released) << "round " << round;
        ASSERT_EQ(Event::WaitAny(events.data(), Count, 0), -1) << "round " << round;
    }
}

} // namespace
