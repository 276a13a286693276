// The process's time sources: a 32-bit millisecond tick count (it wraps every 49.7 days) and wall time.
// The real clock is the default; tests and the reference host install a virtual one, so that timers,
// schedules and "now" agree on one time that advances only when told to.
#pragma once

#include <cstdint>

namespace Common
{

struct WallTime
{
    std::int64_t Seconds = 0;     // since 1 January 1970, UTC
    std::int32_t Nanoseconds = 0; // 0 to 999999999
};

class Clock
{
public:
    virtual ~Clock() = default;
    // Milliseconds of a monotonic source, truncated to 32 bits.
    virtual std::uint32_t GetTickCount() = 0;
    virtual WallTime GetWallTime() = 0;
    // How long a thread should really wait for something due in `milliseconds`: the real clock waits that
    // long; a virtual clock returns 0xFFFFFFFF (until woken), as its time moves only when advanced.
    virtual std::uint32_t RealWait(std::uint32_t milliseconds) { return milliseconds; }
};

// The installed clock. Thread-safe; the pointer is read without a lock, so a caller that keeps the
// reference must know that the clock stays installed. The readings below hold it for one call only.
Clock& GetClock();
// Installs `clock` (null restores the real clock); the caller keeps it alive while installed. Returns
// once no reading below still uses the clock it replaced (the timeout monitor's thread reads the clock at
// any time), so that clock may be destroyed then.
void SetClock(Clock* clock);

// The installed clock's readings, each safe against a SetClock on another thread.
std::uint32_t GetTickCount();
WallTime GetWallTime();
std::uint32_t GetRealWait(std::uint32_t milliseconds);

} // namespace Common
