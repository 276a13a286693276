// Replacing the installed clock while other threads read it: the timeout monitor's thread reads the clock
// whenever it wakes, so SetClock must not return while a reading still uses the clock it replaced.
#include "common/Clock.h"

#include "common/Timeout.h"
#include "common/VirtualClock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <latch>
#include <memory>
#include <thread>

namespace
{

using namespace std::chrono_literals;

// A clock whose tick count holds the reading until released.
class HeldClock final : public Common::Clock
{
public:
    std::uint32_t GetTickCount() override
    {
        Entered.count_down();
        Released.wait();
        return 7;
    }
    Common::WallTime GetWallTime() override { return {}; }

    std::latch Entered{1};
    std::latch Released{1};
};

TEST(ClockTest, SetClockReturnsOnlyOnceNoReadingUsesTheClockItReplaced)
{
    HeldClock held;
    Common::SetClock(&held);
    std::thread reader([] { EXPECT_EQ(Common::GetTickCount(), 7u); });
    held.Entered.wait();
    std::atomic<bool> replaced{false};
    std::thread setter(
        [&]
        {
            Common::SetClock(nullptr);
            replaced = true;
        });
    while (&Common::GetClock() == &held)
    {
        std::this_thread::yield();
    }
    // The real clock is in place and new readings use it, but the held one is still being read.
    EXPECT_GT(Common::GetWallTime().Seconds, 1000000000);
    for (int round = 0; round < 200 && !replaced; ++round)
    {
        std::this_thread::sleep_for(500us);
    }
    EXPECT_FALSE(replaced);
    held.Released.count_down();
    setter.join();
    reader.join();
    EXPECT_TRUE(replaced);
}

// Settle wakes the monitor and returns without waiting for its pass, which reads the clock: the clock
// may still go right after SetClock (ASan and TSan see a pass that outlives it).
TEST(ClockTest, ASettledVirtualClockMayBeDestroyedAsSoonAsItIsReplaced)
{
    const Common::Timeout keepsTheMonitor([](void*) -> unsigned { return 0; }, nullptr, 0x7FFFFFFF, false);
    for (int round = 0; round < 200; ++round)
    {
        auto clock = std::make_unique<Common::VirtualClock>();
        Common::SetClock(clock.get());
        clock->Settle();
        Common::SetClock(nullptr);
        clock.reset();
    }
}

} // namespace
