#include "common/Clock.h"

#include <atomic>
#include <ctime>

namespace Common
{
namespace
{

class RealClock final : public Clock
{
public:
    std::uint32_t GetTickCount() override
    {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        const std::uint64_t milliseconds =
            static_cast<std::uint64_t>(now.tv_sec) * 1000 + static_cast<std::uint64_t>(now.tv_nsec) / 1000000;
        return static_cast<std::uint32_t>(milliseconds);
    }

    WallTime GetWallTime() override
    {
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        return WallTime{now.tv_sec, static_cast<std::int32_t>(now.tv_nsec)};
    }
};

RealClock Real;
std::atomic<Clock*> Installed{&Real};

} // namespace

Clock& GetClock()
{
    return *Installed.load(std::memory_order_acquire);
}

void SetClock(Clock* clock)
{
    Installed.store(clock != nullptr ? clock : &Real, std::memory_order_release);
}

} // namespace Common
