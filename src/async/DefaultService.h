// Async::Detail::DefaultService: the async service of this library, which GetAsyncService hands out when
// no host installed its own. Execute posts to a ServiceThreadPool that grows while its threads are busy or
// blocked; metronomes beat on a Common::CyclicTimeout; the thread environment is the thread's identity.
// Every Execute completes its handler exactly once. Thread-safe.
#pragma once

#include "async/IdentityThreadEnvironment.h"
#include "async/Service.h"
#include "async/ServiceMetronome.h"
#include "async/ServiceThreadPool.h"
#include "async/SynchronizationCallback.h"

#include <cstdint>
#include <memory>

namespace Async::Detail
{

class DefaultService final : public Service
{
public:
    struct Options
    {
        ServiceThreadPool::Options Pool;
        // The metronome's tick: a metronome of period N beats every N ticks.
        std::uint32_t TickMilliseconds = 1000;
    };

    DefaultService();
    explicit DefaultService(const Options& options);
    // Terminates with the cancelled error and waits for the service's threads, so it must not run on one.
    ~DefaultService() override;

    // Runs `work.Run()` on a service thread, then completes `handler` with success or with the exception
    // it threw (0x00F90006-8, operation "Work"). Cancelling the job before the work started completes the
    // handler with 0x00F90002 inside Cancel and the work never runs; later, cancelling does nothing. After
    // Shutdown or Terminate the handler completes inside Execute with their reason.
    std::shared_ptr<Job> Execute(Work& work, ActionHandler& handler) override;
    const ThreadEnvironment& GetThreadEnvironment() override { return Environment; }
    SynchronizationCallbackStorage& GetSynchronizationCallbackStorage() override { return Callbacks; }
    MetronomeProvider& GetMetronome() override { return Beats; }

    // Both stop accepting work (refused with `reason`) and complete pending metronome waits with it, and
    // neither waits. Shutdown lets queued work run; Terminate completes it with `reason` inside the call.
    void Shutdown(const Common::Error& reason);
    void Terminate(const Common::Error& reason);
    // Waits until no work is queued or running. Not on a thread of this service.
    void WaitUntilIdle();
    // After Shutdown or Terminate: waits until the service's threads (but the calling one) have ended.
    void WaitForThreads();

    ServiceThreadPool::Statistics GetStatistics() const { return Pool.GetStatistics(); }
    std::uint64_t GetTicks() const { return Beats.GetTicks(); }

private:
    ServiceThreadPool Pool;
    // Declared after the pool, so it closes first: a beat under way still delivers to the pool.
    ServiceMetronome Beats;
    IdentityThreadEnvironment Environment;
    TlsSynchronizationCallbackStorage Callbacks;
};

// The process's default service, made on first use with the configured options. It is never freed: at
// exit (an atexit handler registered when it is made, so it runs before the statics that existed by then
// are destroyed) it is terminated and its threads are waited for; late callers find it refusing work.
DefaultService& GetDefaultService();
// Options of the default service; false (and nothing changes) once it exists.
bool ConfigureDefaultService(const DefaultService::Options& options);
// Waits until the current service is idle, when it is a DefaultService (the default one, unless a host
// installed another). Not on a service thread.
void WaitUntilIdle();

} // namespace Async::Detail
