#include "common/Timeout.h"

#include "Platform/ThreadPool.h"
#include "ThrownError.h"
#include "common/Clock.h"
#include "common/CyclicTimeout.h"
#include "common/Event.h"
#include "common/MonotonicTicks.h"
#include "common/ThreadId.h"
#include "common/TimeoutPolicy.h"
#include "common/Trace.h"
#include "common/TraceLogic.h"
#include "common/VirtualClock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

namespace
{

using Common::Timeout;
using namespace std::chrono_literals;

// Installs a virtual clock for the test's life.
class VirtualTime
{
public:
    VirtualTime() { Common::SetClock(&Clock); }
    ~VirtualTime() { Common::SetClock(nullptr); }
    Common::VirtualClock Clock;
};

// What a callback saw, shared with the test thread.
struct Calls
{
    std::mutex Lock;
    std::vector<int> Order;
    std::vector<Common::ThreadId> Threads;
    std::atomic<int> Count{0};

    void Record(int id)
    {
        std::lock_guard<std::mutex> guard(Lock);
        Order.push_back(id);
        Threads.push_back(Common::GetCurrentThreadId());
        ++Count;
    }
};

struct Tagged
{
    Calls* Seen;
    int Id;
};

unsigned RecordCall(void* argument)
{
    auto* tagged = static_cast<Tagged*>(argument);
    tagged->Seen->Record(tagged->Id);
    return static_cast<unsigned>(tagged->Id);
}

TEST(BackoffTimeoutPolicyTest, MultipliesUpToTheMaximumAndStartsOver)
{
    Common::BackoffTimeoutPolicy policy(60000, 5, 3600000);
    EXPECT_EQ(policy.Next(), 300000u);
    EXPECT_EQ(policy.Next(), 1500000u);
    EXPECT_EQ(policy.Next(), 3600000u);
    EXPECT_EQ(policy.Next(), 3600000u);
    policy.Reset();
    EXPECT_EQ(policy.Next(), 300000u);

    Common::BackoffTimeoutPolicy capped(5000, 2, 5000);
    EXPECT_EQ(capped.Next(), 5000u);
    EXPECT_EQ(capped.Next(), 5000u);
}

class InjectedTicks final : public Common::Clock
{
public:
    std::uint32_t GetTickCount() override { return Ticks; }
    Common::WallTime GetWallTime() override { return {}; }
    std::uint32_t Ticks = 0;
};

TEST(TickWideningTest, TimeKeepsGrowingAcrossBits31And32)
{
    InjectedTicks injected;
    Common::SetClock(&injected);
    Common::Detail::SetTickFlipsForTesting(0);
    const std::uint32_t ticks[] = {0x7FFFFFF0u, 0x80000010u, 0xFFFFFFF0u,
                                   0x00000010u, 0x7FFFFFFFu, 0x80000000u};
    const std::uint64_t expected[] = {0x7FFFFFF0ull,  0x80000010ull,  0xFFFFFFF0ull,
                                      0x100000010ull, 0x17FFFFFFFull, 0x180000000ull};
    for (std::size_t i = 0; i < std::size(ticks); ++i)
    {
        injected.Ticks = ticks[i];
        EXPECT_EQ(Common::GetMonotonicTicks(), expected[i]) << i;
        EXPECT_EQ(Common::GetMonotonicTicks(), expected[i]) << "reading again changes nothing, " << i;
    }
    Common::SetClock(nullptr);
    Common::Detail::SetTickFlipsForTesting(0);
    Common::GetMonotonicTicks(); // resynchronise with the real clock
}

TEST(TimeoutTest, EarlierTimeoutWakesTheMonitor)
{
    Calls seen;
    Tagged late{&seen, 1};
    Tagged early{&seen, 2};
    Timeout hour(RecordCall, &late, 3600000, false);
    Timeout soon(RecordCall, &early, 20, false);
    EXPECT_TRUE(soon.Wait(10000));
    EXPECT_FALSE(hour.IsFinished());
    hour.Stop();
    EXPECT_TRUE(hour.IsFinished());
    EXPECT_EQ(seen.Order, std::vector<int>{2});
}

TEST(TimeoutTest, DueTimesFireInOrderAndEqualOnesByAddress)
{
    VirtualTime time;
    Calls seen;
    const std::uint32_t delays[] = {300, 100, 200, 200, 200};
    Tagged tags[] = {{&seen, 0}, {&seen, 1}, {&seen, 2}, {&seen, 3}, {&seen, 4}};
    std::vector<Timeout> timeouts;
    for (int i = 0; i < 5; ++i)
    {
        timeouts.emplace_back(RecordCall, &tags[i], delays[i], false);
    }
    time.Clock.Advance(1000);
    ASSERT_EQ(seen.Order.size(), 5u);
    EXPECT_EQ(seen.Order[0], 1);
    EXPECT_EQ(seen.Order[4], 0);
    std::vector<int> equal(seen.Order.begin() + 1, seen.Order.begin() + 4);
    std::vector<const void*> addresses;
    for (int id : equal)
    {
        addresses.push_back(Common::Detail::TimeoutAddress(timeouts[id]));
    }
    EXPECT_TRUE(std::is_sorted(addresses.begin(), addresses.end()));
    // Callbacks that are not asynchronous all ran on the one monitor thread.
    EXPECT_EQ(std::count(seen.Threads.begin(), seen.Threads.end(), seen.Threads[0]), 5);
}

struct Rearming
{
    Calls Seen;
    Timeout Next;
    int Remaining = 3;
};

unsigned RearmInside(void* argument)
{
    auto* state = static_cast<Rearming*>(argument);
    state->Seen.Record(state->Remaining);
    if (--state->Remaining > 0)
    {
        state->Next = Timeout(RearmInside, state, 100, false); // drops the handle of the running timeout
    }
    return 0;
}

TEST(TimeoutTest, TimeoutDroppedInsideItsOwnCallbackDoesNotDeadlock)
{
    VirtualTime time;
    Rearming state;
    state.Next = Timeout(RearmInside, &state, 100, false);
    // A re-armed timer due inside the advanced window fires inside it too.
    time.Clock.Advance(350);
    EXPECT_EQ(state.Seen.Order, (std::vector<int>{3, 2, 1}));
    state.Next = Timeout();
}

struct Blocking
{
    Common::Event Entered{true, false};
    Common::Event Release{true, false};
    std::atomic<bool> Done{false};
};

unsigned BlockUntilReleased(void* argument)
{
    auto* state = static_cast<Blocking*>(argument);
    state->Entered.Set();
    state->Release.Wait();
    state->Done = true;
    return 3;
}

// Stop, or dropping the last handle, on a thread other than the callback's waits until it has returned.
TEST(TimeoutTest, StopOrDropFromAnotherThreadWaitsForARunningCallback)
{
    for (const int way : {0, 1, 2}) // stop on the monitor, stop on a worker, drop on a worker
    {
        SCOPED_TRACE(way);
        Blocking state;
        auto timeout = std::make_unique<Timeout>(BlockUntilReleased, &state, 0, way != 0);
        ASSERT_TRUE(state.Entered.Wait(10000));
        std::jthread releaser(
            [&]
            {
                std::this_thread::sleep_for(50ms);
                state.Release.Set();
            });
        way == 2 ? timeout.reset() : timeout->Stop();
        EXPECT_TRUE(state.Done);
        if (timeout)
        {
            timeout->Wait();
            EXPECT_EQ(timeout->GetExitCode(), 3u);
        }
    }
}

TEST(TimeoutTest, AsynchronousCallbackRunsOffTheMonitorAndWaitJoinsItsWorker)
{
    VirtualTime time;
    Calls seen;
    Tagged sync{&seen, 1};
    Tagged async{&seen, 2};
    Timeout onMonitor(RecordCall, &sync, 10, false);
    Timeout onWorker(RecordCall, &async, 10, true);
    time.Clock.Advance(10);
    onWorker.Wait();
    onMonitor.Wait();
    ASSERT_EQ(seen.Count, 2);
    EXPECT_NE(seen.Threads[0], seen.Threads[1]);
    EXPECT_EQ(onWorker.GetExitCode(), 2u);
}

TEST(TimeoutTest, MonitorThreadEndsWithTheLastTimeoutAndReturnsWithTheNextWhichFiresAtDelayZero)
{
    Calls seen;
    Tagged tag{&seen, 7};
    {
        Timeout first(RecordCall, &tag, 3600000, false);
        EXPECT_TRUE(Common::Detail::HasTimeoutMonitor());
    }
    EXPECT_FALSE(Common::Detail::HasTimeoutMonitor());
    Timeout next(RecordCall, &tag, 0, false);
    EXPECT_TRUE(Common::Detail::HasTimeoutMonitor());
    EXPECT_TRUE(next.Wait(10000));
    EXPECT_EQ(seen.Count, 1);
    EXPECT_TRUE(next.IsFinished());
    EXPECT_EQ(next.GetExitCode(), 7u);
    // Stop after firing does nothing, and Wait returns at once.
    next.Stop();
    next.Wait();
    EXPECT_EQ(seen.Count, 1);
}

// Collects the errors traced while it is registered.
class ErrorSink final : public Common::TraceLogic
{
public:
    ErrorSink() { Common::RegisterTraceLogic(this); }
    ~ErrorSink() override { Common::UnregisterTraceLogic(this); }

    using TraceLogic::TraceError;
    void TraceError(int level, const Common::Error& error) override
    {
        std::lock_guard<std::mutex> guard(Lock);
        Errors.emplace_back(level, error);
    }

    std::mutex Lock;
    std::vector<std::pair<int, Common::Error>> Errors;
};

TEST(TimeoutTest, MonitorThatCannotStartFailsTheConstructorAndAWorkerThatCannotIsTracedAndEndsStopped)
{
    ASSERT_FALSE(Common::Detail::HasTimeoutMonitor());
    Calls seen;
    Tagged tag{&seen, 1};
    ThreadPoolInjectCreationFailure(EAGAIN);
    EXPECT_EQ(Testing::ThrownError([&] { Timeout timeout(RecordCall, &tag, 0, false); }).GetCode(),
              Common::ThreadCreationFailedCode);
    EXPECT_FALSE(Common::Detail::HasTimeoutMonitor());
    Timeout working(RecordCall, &tag, 0, false);
    EXPECT_TRUE(working.Wait(10000));

    VirtualTime time;
    ErrorSink sink;
    Timeout timeout(RecordCall, &tag, 10, true);
    ThreadPoolInjectCreationFailure(EAGAIN);
    time.Clock.Advance(10);
    EXPECT_TRUE(timeout.IsFinished());
    EXPECT_TRUE(timeout.Wait(0));
    EXPECT_EQ(seen.Count, 1); // the working one only
    ASSERT_EQ(sink.Errors.size(), 1u);
    EXPECT_EQ(sink.Errors[0].first, 4);
    EXPECT_EQ(sink.Errors[0].second.GetCode(), Common::ThreadCreationFailedCode);
    EXPECT_STREQ(sink.Errors[0].second.GetLineTag().Function, "Common::ThreadPool::CreateThread");
}

struct Cycle
{
    Calls Seen;
    std::unique_ptr<Common::CyclicTimeout> Timer;
    int StopAfter = 0;
};

unsigned CountCycle(void* argument)
{
    auto* cycle = static_cast<Cycle*>(argument);
    cycle->Seen.Record(static_cast<int>(Common::GetMonotonicTicks() & 0x7FFFFFFF));
    if (cycle->Seen.Count == cycle->StopAfter)
    {
        cycle->Timer->Stop(); // from inside: the re-arm finds the cycle empty
    }
    return 0;
}

TEST(CyclicTimeoutTest, FiresOnEveryDelayOfItsPolicyUntilStoppedFromOutsideOrInside)
{
    VirtualTime time;
    Cycle cycle;
    cycle.Timer = std::make_unique<Common::CyclicTimeout>(
        CountCycle, &cycle, std::make_unique<Common::BackoffTimeoutPolicy>(100, 2, 1000), false);
    const std::uint64_t start = Common::GetMonotonicTicks();
    cycle.Timer->Start();
    time.Clock.Advance(200 + 400 + 800 + 1000 + 1000);
    ASSERT_EQ(cycle.Seen.Count, 5);
    std::vector<std::uint64_t> offsets;
    for (int tick : cycle.Seen.Order)
    {
        offsets.push_back(static_cast<std::uint64_t>(tick) - (start & 0x7FFFFFFF));
    }
    EXPECT_EQ(offsets, (std::vector<std::uint64_t>{200, 600, 1400, 2400, 3400}));
    cycle.Timer->Stop();
    time.Clock.Advance(10000);
    EXPECT_EQ(cycle.Seen.Count, 5);

    // Started again, the back-off begins anew.
    cycle.Timer->Start();
    time.Clock.Advance(199);
    EXPECT_EQ(cycle.Seen.Count, 5);
    time.Clock.Advance(1);
    EXPECT_EQ(cycle.Seen.Count, 6);
    cycle.Timer->Stop();

    // Stopped inside its callback, a cycle of a fixed delay ends there.
    Cycle stopping;
    stopping.StopAfter = 2;
    stopping.Timer = std::make_unique<Common::CyclicTimeout>(CountCycle, &stopping, 100, false);
    stopping.Timer->Start();
    time.Clock.Advance(1000);
    EXPECT_EQ(stopping.Seen.Count, 2);
}

TEST(VirtualClockTest, LongAdvancesFireATimeoutExactlyWhenDueNeverAStoppedOneAndKeepTheTicksWidening)
{
    VirtualTime time;
    Calls seen;
    Tagged tag{&seen, 1};
    Tagged stoppedTag{&seen, 2};
    constexpr std::uint32_t ThirtyDays = 2592000000u;
    const std::uint64_t start = Common::GetMonotonicTicks();
    Timeout timeout(RecordCall, &tag, ThirtyDays, false);
    Timeout stopped(RecordCall, &stoppedTag, 1000, false);
    stopped.Stop();
    EXPECT_TRUE(stopped.IsFinished());
    time.Clock.Advance(ThirtyDays - 1);
    EXPECT_EQ(seen.Count, 0);
    EXPECT_EQ(Common::GetMonotonicTicks() - start, ThirtyDays - 1u);
    time.Clock.Advance(1);
    EXPECT_EQ(seen.Order, std::vector<int>{1});
    time.Clock.Advance(std::uint64_t{5} * ThirtyDays);
    EXPECT_EQ(Common::GetMonotonicTicks() - start, std::uint64_t{6} * ThirtyDays);
}

TEST(VirtualClockTest, WallTimeFollowsTheAdvances)
{
    Common::VirtualClock clock(0, Common::WallTime{1000, 999000000});
    clock.Advance(1);
    EXPECT_EQ(clock.GetWallTime().Seconds, 1001);
    EXPECT_EQ(clock.GetWallTime().Nanoseconds, 0);
    clock.Advance(86400000);
    EXPECT_EQ(clock.GetWallTime().Seconds, 1001 + 86400);
    EXPECT_EQ(clock.GetElapsed(), 86400001u);
}

} // namespace
