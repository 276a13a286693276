// Common::VirtualClock: a clock whose time moves only when advanced. Installed with SetClock, it drives
// the timeout monitor and wall time together, so a one-hour timer fires within an Advance and "now"
// agrees with it. Advance steps through every due time in turn and waits until the timers due at each
// step have fired. One thread advances; any thread may read.
#pragma once

#include "common/Clock.h"

#include <atomic>
#include <cstdint>

namespace Common
{

class VirtualClock final : public Clock
{
public:
    // Starts at the installed clock's current ticks and wall time, so widened ticks stay continuous.
    VirtualClock();
    VirtualClock(std::uint64_t ticks, WallTime wallTime);

    std::uint32_t GetTickCount() override;
    WallTime GetWallTime() override;
    std::uint32_t RealWait(std::uint32_t milliseconds) override;

    // Moves time forward by `milliseconds`: to each due time in turn (steps of at most 2^30 ms, so no flip
    // of bit 31 goes unseen), firing the timers due there (others in due-time order on the monitor,
    // asynchronous ones on their workers) and waiting for them, also for timers they arm on the way.
    void Advance(std::uint64_t milliseconds);
    // Waits until no timer is due now and no timer callback runs.
    void Settle();
    // Milliseconds advanced since construction.
    std::uint64_t GetElapsed() const { return Elapsed.load(std::memory_order_acquire); }

private:
    static constexpr std::uint64_t MaximumStep = std::uint64_t{1} << 30;

    std::uint64_t StartTicks;
    WallTime StartWallTime;
    std::atomic<std::uint64_t> Elapsed{0};
};

} // namespace Common
