// Async::TailRecursionController runs work announced by Notify in a loop, so that completions arriving
// synchronously inside Process don't deepen the stack: on the thread whose loop is running, Notify only
// marks the work and the loop picks it up when Process returns; on any other thread Notify runs the loop
// there, taking it over. Notify is thread-safe. While a loop is in Process, its ProcessingDetachment
// lets a thread about to block hand the pending work to a service thread.
#pragma once

#include "async/SynchronizationFork.h"
#include "common/LightMutex.h"
#include "common/NonCopyable.h"
#include "common/ThreadId.h"

#include <memory>

namespace Async
{

class TailRecursionController : Common::NonCopyable
{
public:
    class ProcessingDetachment;

    TailRecursionController() = default;
    virtual ~TailRecursionController() = default;

    // A reference that keeps this object alive while a loop runs (usually shared_from_this).
    virtual void GetKeepAlive(std::shared_ptr<void>& out) = 0;
    // One round of the work; called by the loop only, never under the controller's lock.
    virtual void Process() = 0;

    // Announces that a call of Process is due. Runs the loop on this thread unless this thread's loop is
    // already running further up the stack. Any thread.
    void Notify();

private:
    friend class ProcessingDetachment;

    void RunLoop();
    bool IsPendingOn(Common::ThreadId thread);
    void Forget(const ProcessingDetachment& detachment);

    // Guards the three fields below only; no foreign code runs under it.
    Common::LightMutex Lock;
    bool Pending = true;
    Common::ThreadId ProcessingThread = 0;
    ProcessingDetachment* Detachment = nullptr;
};

// The fork of a running loop, on its thread's callback stack for one round: when that thread is about to
// block, or when work still waits behind the round at a beat of the period-60 metronome (watched by one
// listener per thread), the pending work moves to a service thread, which continues the loop. Built and
// destroyed by the loop on its own thread.
class TailRecursionController::ProcessingDetachment final : public SynchronizationFork
{
public:
    explicit ProcessingDetachment(TailRecursionController& controller);
    ~ProcessingDetachment() override;

    // Whether work is pending for the loop of the thread that built this detachment. Thread-safe.
    bool CanFork(void* argument) override;
    // A work that runs the loop, holding the controller alive. Thread-safe.
    void Fork(std::shared_ptr<Work>& out) override;

    // Work appeared behind the busy round: watch the service's metronome of period 60, so that the work
    // moves away at its beat if the round is still busy then. On the loop's thread.
    void OnWorkAppeared();

private:
    TailRecursionController& Controller;
    const Common::ThreadId LoopThread;
    // Whether this round joined its thread's metronome watch; the loop's thread only.
    bool Watched = false;
};

} // namespace Async
