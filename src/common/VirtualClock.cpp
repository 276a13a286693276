#include "common/VirtualClock.h"

#include "common/MonotonicTicks.h"
#include "common/Timeout.h"

#include <algorithm>

namespace Common
{

VirtualClock::VirtualClock() : VirtualClock(Common::GetTickCount(), Common::GetWallTime()) {}

VirtualClock::VirtualClock(std::uint64_t ticks, WallTime wallTime)
    : StartTicks(ticks), StartWallTime(wallTime)
{
}

std::uint32_t VirtualClock::GetTickCount()
{
    return static_cast<std::uint32_t>(StartTicks + GetElapsed());
}

WallTime VirtualClock::GetWallTime()
{
    const std::uint64_t elapsed = GetElapsed();
    std::int64_t seconds = StartWallTime.Seconds + static_cast<std::int64_t>(elapsed / 1000);
    std::int64_t nanoseconds =
        StartWallTime.Nanoseconds + static_cast<std::int64_t>(elapsed % 1000) * 1000000;
    if (nanoseconds >= 1000000000)
    {
        nanoseconds -= 1000000000;
        ++seconds;
    }
    return WallTime{seconds, static_cast<std::int32_t>(nanoseconds)};
}

std::uint32_t VirtualClock::RealWait(std::uint32_t)
{
    return 0xFFFFFFFF;
}

void VirtualClock::Advance(std::uint64_t milliseconds)
{
    std::uint64_t remaining = milliseconds;
    for (;;)
    {
        Settle();
        if (remaining == 0)
        {
            return;
        }
        const std::uint64_t now = GetMonotonicTicks();
        std::uint64_t step = std::min(remaining, MaximumStep);
        std::uint64_t due = 0;
        if (Detail::GetNextTimeoutDue(due) && due > now)
        {
            step = std::min(step, due - now);
        }
        Elapsed.fetch_add(step, std::memory_order_acq_rel);
        remaining -= step;
    }
}

void VirtualClock::Settle()
{
    const std::uint64_t now = GetMonotonicTicks();
    Detail::WakeTimeoutMonitor();
    Detail::WaitTimeoutsIdle(now);
}

} // namespace Common
