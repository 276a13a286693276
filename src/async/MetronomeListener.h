// Async::MetronomeListener waits for one beat of a metronome at a time and calls OnTick on it. Listen,
// Stop and Completed are thread-safe; one process-wide mutex guards the State of all listeners, and
// OnTick runs outside it on the metronome's completion thread. Stop returns when no further tick can
// arrive; it must not be called from OnTick. Destroy a listener only when it is idle (after Stop).
#pragma once

#include "async/Action.h"
#include "async/JobControl.h"
#include "async/Metronome.h"
#include "common/Error.h"

#include <cstdint>

namespace Async
{

class MetronomeListener : public ActionHandler
{
public:
    MetronomeListener() = default;
    ~MetronomeListener() override = default;

    // The end of one wait: OnTick if it was a beat (not for a cancelled or failed wait), then idle again,
    // or the next wait if OnTick listened again, or the wake-up of a Stop.
    void Completed(const Common::Error& result) override;

    // Starts waiting for the next beat of `metronome`, which must live until that wait has completed.
    // False, after the assertion "!\"Metronome logic broken.\"", when already listening. Called from this
    // listener's own OnTick it arms the next wait, which starts when OnTick has returned (a repeated beat
    // is a Listen from each OnTick).
    bool Listen(Metronome& metronome);
    // Cancels the wait and returns when Completed has ended; at once when idle. A listener stopped during
    // OnTick does not start the wait that OnTick armed.
    void Stop();

protected:
    virtual void OnTick() = 0;

private:
    static constexpr std::uintptr_t StateIdle = 0;
    static constexpr std::uintptr_t StateWorking = 1;

    void RunWait(Metronome& metronome);
    void DropStaleCancel();

    JobControl Control;
    // StateIdle, StateWorking or the address of the waiter of a Stop; guarded by the listeners' mutex.
    std::uintptr_t State = StateIdle;
    // The wait armed by OnTick; guarded by the listeners' mutex.
    Metronome* Rearmed = nullptr;
};

} // namespace Async
