// Async::SynchronizationFork: a synchronisation callback that moves work away from a thread about to
// block. Asked by a walk, or by a metronome tick when it listens to one, it forks the work and posts it
// through the async service, or runs it on the asking thread when there is no service. It never ends a
// walk. The walking thread and a tick may ask at once: CanFork and Fork must be thread-safe. A fork that
// listened must be stopped (Stop) before it is destroyed.
#pragma once

#include "async/MetronomeListener.h"
#include "async/Service.h"
#include "async/SynchronizationCallback.h"

#include <atomic>
#include <cstdint>
#include <memory>

namespace Async
{

class SynchronizationFork : public ScopedSynchronizationCallback, public MetronomeListener
{
public:
    explicit SynchronizationFork(std::uint32_t level = 1);

    // Counts an attempt; if CanFork, counts a fork, takes the work from Fork and dispatches it. False.
    bool OnSynchronize(void* argument) override;

    // Whether there is work to move; `argument` is the walk's.
    virtual bool CanFork(void* argument) = 0;
    // The work to move; null if there is none after all.
    virtual void Fork(std::shared_ptr<Work>& out) = 0;

    std::uint32_t GetAttempts() const { return Attempts.load(std::memory_order_relaxed); }
    std::uint32_t GetForks() const { return Forks.load(std::memory_order_relaxed); }

    // Posts `work` through `service`, kept alive until the service completed it, or runs it here when
    // `service` is null. Failures of either way are traced at level 4, never thrown.
    static void Dispatch(Service* service, std::shared_ptr<Work> work);

protected:
    // A beat does what a walk does.
    void OnTick() override;

private:
    class ForkJob;

    // Counted from the walking thread and from ticks; only read for diagnostics.
    std::atomic<std::uint32_t> Attempts{0};
    std::atomic<std::uint32_t> Forks{0};
};

} // namespace Async
