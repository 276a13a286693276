// Milliseconds as a 63-bit count that never wraps: the 32-bit tick count of the installed clock widened
// by a process-wide count of its bit-31 flips. It must be read at least once every 24 days to see every
// flip; the timeout monitor and a virtual clock's advance read it at every step.
#pragma once

#include <cstdint>

namespace Common
{

std::uint64_t GetMonotonicTicks();

namespace Detail
{
// Sets the count of bit-31 flips, so tests can start near any boundary.
void SetTickFlipsForTesting(std::uint32_t flips);
} // namespace Detail

} // namespace Common
