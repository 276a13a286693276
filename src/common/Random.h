// Random bytes from the system's generator, with the weak C generator as the non-strict fallback.
#pragma once

#include <cstddef>

namespace Common
{

// Fills `buffer` from getrandom. If that fails (a broken invariant), strict mode returns false and
// non-strict mode fills the buffer from rand(), seeded once, and returns true.
bool RandomBytes(void* buffer, std::size_t size, bool strict);

} // namespace Common
