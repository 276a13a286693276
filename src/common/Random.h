// Random bytes from the system's generator, with the weak C generator as the non-strict fallback.
#pragma once

#include <cstddef>

namespace Common
{

// Fills `buffer` from getrandom. If that fails (a broken invariant), strict mode returns false and
// non-strict mode fills the buffer from rand(), seeded once, and returns true.
bool RandomBytes(void* buffer, std::size_t size, bool strict);

// A replacement source for RandomBytes: a host that must print the same bytes on every run installs a
// seeded one. It fills the buffer and answers true. Null restores the system's generator.
using RandomSource = bool (*)(void* buffer, std::size_t size);
void SetRandomSource(RandomSource source);

} // namespace Common
