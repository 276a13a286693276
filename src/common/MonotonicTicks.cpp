#include "common/MonotonicTicks.h"

#include "common/Clock.h"

#include <atomic>

namespace Common
{
namespace
{

// Unlocked on purpose: two threads that see the same flip store the same new count.
std::atomic<std::uint32_t> Flips{0};

} // namespace

std::uint64_t GetMonotonicTicks()
{
    std::uint32_t flips = Flips.load(std::memory_order_relaxed);
    const std::uint32_t ticks = GetTickCount();
    if ((flips & 1u) != (ticks >> 31))
    {
        ++flips;
        Flips.store(flips, std::memory_order_relaxed);
    }
    return (static_cast<std::uint64_t>(flips) << 31) | ticks;
}

namespace Detail
{

void SetTickFlipsForTesting(std::uint32_t flips)
{
    Flips.store(flips, std::memory_order_relaxed);
}

} // namespace Detail
} // namespace Common
