#include "common/Clock.h"

#include <atomic>
#include <ctime>
#include <thread>

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
// Readings in progress. A reading counts itself before it loads the clock, so SetClock, which stores the
// new clock before it looks here, sees every reading that may have loaded the old one.
std::atomic<std::uint32_t> Readings{0};

// Holds the installed clock for one reading.
class Reading
{
public:
    Reading()
        : Used((Readings.fetch_add(1, std::memory_order_seq_cst), Installed.load(std::memory_order_seq_cst)))
    {
    }
    ~Reading() { Readings.fetch_sub(1, std::memory_order_release); }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;
    Clock* operator->() const { return Used; }

private:
    Clock* const Used;
};

} // namespace

Clock& GetClock()
{
    return *Installed.load(std::memory_order_acquire);
}

void SetClock(Clock* clock)
{
    Installed.store(clock != nullptr ? clock : &Real, std::memory_order_seq_cst);
    // Readings are a few instructions long; one that started after the store uses the new clock and may
    // hold the count up a moment, never the old clock.
    while (Readings.load(std::memory_order_seq_cst) != 0)
    {
        std::this_thread::yield();
    }
}

std::uint32_t GetTickCount()
{
    return Reading()->GetTickCount();
}

WallTime GetWallTime()
{
    return Reading()->GetWallTime();
}

std::uint32_t GetRealWait(std::uint32_t milliseconds)
{
    return Reading()->RealWait(milliseconds);
}

} // namespace Common
