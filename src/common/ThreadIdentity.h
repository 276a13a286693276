// Common::ThreadIdentity: the identity the calling thread runs under (0 is the process identity), and a
// scope that impersonates another one and restores the previous identity at its end. Per thread, so
// thread-safe; a scope must end on the thread that opened it.
#pragma once

#include "common/NonCopyable.h"

#include <cstdint>

namespace Common
{

using Identity = std::uint64_t;

inline constexpr Identity ProcessIdentity = 0;

class ThreadIdentity : NonCopyable
{
public:
    // Runs the calling thread under `identity` until the scope ends.
    explicit ThreadIdentity(Identity identity);
    ~ThreadIdentity();

    // The calling thread's identity.
    static Identity GetCurrent();
    // Switches the calling thread to `identity` without a scope (ProcessIdentity reverts to self).
    static void SetCurrent(Identity identity);

private:
    Identity Previous;
};

} // namespace Common
