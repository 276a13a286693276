// Common::Timeout calls a function once, after a delay, on the process's one timeout monitor thread, or
// on a pool thread of its own when asynchronous. The monitor thread exists while any timeout exists.
// A callback runs under the timeout's lock: Stop from another thread waits for a running callback, and
// after Stop no callback runs. Dropping the last handle stops the timeout and waits for its callback
// (inside its own callback it does not wait). Callbacks must not throw. Thread-safe.
#pragma once

#include <cstdint>
#include <memory>

namespace Common
{

using TimeoutFunction = unsigned (*)(void* argument);

class Timeout;

namespace Detail
{
class TimeoutImpl;
// For tests: the object behind a handle, whose address orders equal due times.
const void* TimeoutAddress(const Timeout& timeout);
} // namespace Detail

class Timeout
{
public:
    // An empty timeout: every operation does nothing.
    Timeout() = default;
    // Arms at once. Throws Common::Error code 7 if the monitor thread can't be started.
    Timeout(TimeoutFunction function, void* argument, std::uint32_t delay, bool asynchronous);

    // Disarms; does nothing after firing.
    void Stop();
    // Blocks until stopped or fired (at once inside the own callback), then joins the worker thread.
    void Wait();
    // True if finished within `milliseconds` (real time).
    bool Wait(std::uint32_t milliseconds);
    // True when not armed.
    bool IsFinished() const;
    // The callback's return value once it ran.
    std::uint32_t GetExitCode() const;

    explicit operator bool() const { return Impl != nullptr; }

private:
    friend const void* Detail::TimeoutAddress(const Timeout& timeout);

    std::shared_ptr<Detail::TimeoutImpl> Impl;
};

namespace Detail
{

// What a virtual clock needs of the monitor: the earliest due time, a nudge, and waiting until every
// timer due at `now` has fired and no callback runs. All are no-ops without timeouts.
bool GetNextTimeoutDue(std::uint64_t& due);
void WakeTimeoutMonitor();
void WaitTimeoutsIdle(std::uint64_t now);
// True while the process has a monitor (and so its thread).
bool HasTimeoutMonitor();

} // namespace Detail
} // namespace Common
