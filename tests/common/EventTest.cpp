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

// Waits (briefly sleeping) until `count` threads are inside a wait on `event`.
void AwaitWaiters(const Event& event, std::size_t count)
{
    while (event.GetWaiterCount() < count)
    {
        std::this_thread::sleep_for(1ms);
    }
}

// Threads inside a wait on one event, counting those that have returned; joined at destruction.
struct Waiters
{
    Waiters(Event& event, int count)
    {
        for (int i = 0; i < count; ++i)
        {
            Threads.emplace_back(
                [this, &event]
                {
                    event.Wait();
                    ++Released;
                });
        }
        AwaitWaiters(event, static_cast<std::size_t>(count));
    }
    void AwaitReleased(int count) const
    {
        while (Released.load() < count)
        {
            std::this_thread::sleep_for(1ms);
        }
    }

    std::atomic<int> Released{0};
    std::vector<std::jthread> Threads;
};

TEST(EventTest, InitialStateResetAndPulseWithoutWaitersAreSeenByWaitsWithoutTimeOut)
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

    // A pulse that nobody waits for is lost, and resets the event.
    for (const bool manual : {true, false})
    {
        Event event(manual, true);
        event.Pulse();
        EXPECT_FALSE(event.Wait(0)) << manual;
    }
}

TEST(EventTest, WaitsTimeOutAfterTheirTimeAndWaitAnyLeavesNoRegistration)
{
    Event first(false, false);
    Event second(true, false);
    Event* events[] = {&first, &second};
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(second.Wait(30));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 30ms);
    EXPECT_EQ(Event::WaitAny(events, 2, 20), -1);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 50ms);
    EXPECT_EQ(first.GetWaiterCount(), 0u);
    EXPECT_EQ(second.GetWaiterCount(), 0u);
}

TEST(EventTest, SetAndPulseReleaseTheWaitersTheKindOfEventSays)
{
    const struct
    {
        bool Manual;
        bool Pulse;
        int Released;
        bool SetAfter;
    } cases[] = {
        {true, false, 3, true},   // Set of a manual event releases every waiter and stays set.
        {false, false, 1, false}, // Set of an auto event releases one waiter and is consumed.
        {true, true, 3, false},   // Pulse releases the current waiters and leaves the event reset.
        {false, true, 1, false},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(::testing::Message() << "manual " << c.Manual << ", pulse " << c.Pulse);
        Event event(c.Manual, false);
        Waiters waiters(event, 3);
        c.Pulse ? event.Pulse() : event.Set();
        waiters.AwaitReleased(c.Released);
        EXPECT_EQ(event.GetWaiterCount(), 3u - c.Released);
        EXPECT_EQ(waiters.Released.load(), c.Released);
        EXPECT_EQ(event.Wait(0), c.SetAfter);

        // Each Set of an auto-reset event goes to one of the waiters still registered.
        for (int i = c.Released; i < 3; ++i)
        {
            event.Set();
        }
        waiters.AwaitReleased(3);
        EXPECT_EQ(event.Wait(0), c.SetAfter);
    }
}

TEST(EventTest, WaitAnyAnswersTheFirstSignalledEventAndConsumesOnlyItWhetherSetBeforeOrDuringTheWait)
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

    // A waiting WaitAny is released by a Set of a later event, which it consumes.
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
