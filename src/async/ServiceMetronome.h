// Async::Detail::ServiceMetronome: the metronome provider of the default service. One Common::CyclicTimeout
// beats once a tick, and only while some Wait is pending, so a virtual clock drives it and an idle process
// keeps no timer. A metronome of period N beats at every N-th tick: a Wait completes after 1 to N ticks.
// Completions are posted to the service's pool and never run on the timeout monitor. Thread-safe.
#pragma once

#include "async/Metronome.h"
#include "async/ServiceThreadPool.h"
#include "common/Error.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

namespace Async::Detail
{

class ServiceMetronome final : public MetronomeProvider
{
public:
    // `pool` must stay open until Close has returned.
    ServiceMetronome(std::uint32_t tickMilliseconds, ServiceThreadPool& pool);
    // Closes with the cancelled error.
    ~ServiceMetronome() override;

    // Period 0 counts as 1. The same period gives the same metronome.
    std::shared_ptr<Metronome> GetMetronome(std::uint32_t period) override;
    // Stops the beat, waiting for one that is under way; pending waits complete with `reason` inside the
    // call, and so do later ones.
    void Close(const Common::Error& reason);
    // Ticks beaten so far.
    std::uint64_t GetTicks() const;

    struct Clock;

private:
    std::shared_ptr<Clock> Shared;
    std::mutex MetronomesLock;
    std::map<std::uint32_t, std::shared_ptr<Metronome>> Metronomes;
};

} // namespace Async::Detail
