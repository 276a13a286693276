// Common::Event: a manual- or auto-reset event with the platform's semantics, including Pulse and
// waiting for any of several events. Waits use real time. Thread-safe; an event must outlive the waits on it.
#pragma once

#include "common/NonCopyable.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Common
{

class Event : NonCopyable
{
public:
    static constexpr std::uint32_t Infinite = 0xFFFFFFFF;

    Event(bool manualReset, bool initialState);
    ~Event();

    void Set();
    void Reset();
    // Releases the threads waiting now (all of them for a manual-reset event, one for an auto-reset event)
    // and leaves the event reset.
    void Pulse();
    void Wait();
    // True if signalled within `milliseconds` (Infinite waits for ever).
    bool Wait(std::uint32_t milliseconds);

    // The index of a signalled event among `events` (an auto-reset one is consumed), or -1 on time-out.
    static int WaitAny(Event* const* events, std::size_t count, std::uint32_t milliseconds);

    // Threads waiting on it at this moment (diagnostics and tests).
    std::size_t GetWaiterCount() const;

private:
    struct Data;
    std::unique_ptr<Data> State;
};

} // namespace Common
