// The async service of the host: the one way work leaves the calling thread (Execute), the thread
// environment that completions may need to look like their starter, the per-thread stacks of
// synchronisation callbacks, and the metronome. GetAsyncService gives the process's service, or null if
// the host has none; the library's default implementation serves when no host installed its own.
#pragma once

#include <memory>

#include "async/Action.h"
#include "async/Job.h"
#include "common/Error.h"
#include "common/NonCopyable.h"

namespace Async
{

class SynchronizationCallbackStorage;
class MetronomeProvider;

// Work posted to a service thread. It must live until the handler of Execute was called.
class Work : Common::NonCopyable
{
public:
    virtual ~Work() = default;
    virtual void Run() = 0;
    virtual void Describe(WorkDescription& out) const = 0;
};

// What makes a thread look like another one (its identity and the like): Capture takes a snapshot of the
// calling thread, Apply puts one on it and returns what it replaced.
class ThreadEnvironment : Common::NonCopyable
{
public:
    using Snapshot = std::shared_ptr<const void>;
    virtual ~ThreadEnvironment() = default;
    virtual Snapshot Capture() const = 0;
    virtual Snapshot Apply(const Snapshot& snapshot) const = 0;
};

class Service : Common::NonCopyable
{
public:
    virtual ~Service() = default;
    // Runs `work` on a service thread and calls `handler.Completed` at its end (with the cancelled error if
    // cancelled before it ran). Returns the job.
    virtual std::shared_ptr<Job> Execute(Work& work, ActionHandler& handler) = 0;
    virtual const ThreadEnvironment& GetThreadEnvironment() = 0;
    virtual SynchronizationCallbackStorage& GetSynchronizationCallbackStorage() = 0;
    virtual MetronomeProvider& GetMetronome() = 0;
};

// The process's service, or null. A host may install its own (null puts the default back).
void GetAsyncService(Service** service);
void InstallAsyncService(Service* service);
// End the default service: Shutdown lets started work finish, Terminate cancels what has not started.
// `reason` is the error given to work refused from then on.
void ShutdownAsyncService(Service* service, const Common::Error* reason);
void TerminateAsyncService(Service* service, const Common::Error* reason);

} // namespace Async
