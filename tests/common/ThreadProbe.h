// A thread function for tests of threads and pools: it notes where it ran, waits for Release and
// returns Result.
#pragma once

#include "common/Event.h"
#include "common/ThreadId.h"
#include "common/ThreadIdentity.h"

namespace Testing
{

struct Probe
{
    Probe() = default;
    // Released from the start: the function returns `result` at once.
    explicit Probe(unsigned result) : Result(result) { Release.Set(); }

    Common::Event Release{true, false};
    Common::Identity IdentitySeen = 99;
    Common::ThreadId IdSeen = 0;
    unsigned Result = 0;
};

inline unsigned Observe(void* argument)
{
    auto& probe = *static_cast<Probe*>(argument);
    probe.IdentitySeen = Common::ThreadIdentity::GetCurrent();
    probe.IdSeen = Common::GetCurrentThreadId();
    probe.Release.Wait();
    return probe.Result;
}

} // namespace Testing
