// Async::Metronome beats at a fixed period; Wait is a one-shot listen that completes its handler with
// success at the next beat, or with the cancelled error when its job is cancelled first. The service
// hands out metronomes through its MetronomeProvider. Both interfaces are thread-safe.
#pragma once

#include "async/Action.h"
#include "async/Job.h"
#include "common/NonCopyable.h"

#include <cstdint>
#include <memory>

namespace Async
{

class Metronome : Common::NonCopyable
{
public:
    virtual ~Metronome() = default;
    // Completes `handler` exactly once: success at the next beat, 0x00F90002 if the returned job is
    // cancelled before it. `handler` must live until then. The job may be null only if Wait completed
    // inside the call.
    virtual std::shared_ptr<Job> Wait(ActionHandler& handler) = 0;
};

class MetronomeProvider : Common::NonCopyable
{
public:
    virtual ~MetronomeProvider() = default;
    // A metronome beating every `period` ticks of the service's clock (the service chooses the tick);
    // callers asking for the same period may share one. Never null.
    virtual std::shared_ptr<Metronome> GetMetronome(std::uint32_t period) = 0;
};

} // namespace Async
