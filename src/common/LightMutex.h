// Common::LightMutex: a recursive mutex that holds no kernel object until two threads contend for it.
// Uncontended, Lock and Unlock are one atomic add and one atomic subtract. With cleanup on, the wake-up
// event is freed again as soon as nobody waits. Thread-safe; only the owning thread may unlock.
#pragma once

#include "common/NonCopyable.h"
#include "common/ThreadId.h"

#include <atomic>
#include <cstdint>

namespace Common
{

class Event;

class LightMutex : NonCopyable
{
public:
    explicit LightMutex(bool cleanup = false) : Cleanup(cleanup) {}
    ~LightMutex();

    void Lock();
    void Unlock();

    // Whether a wake-up event exists at this moment (diagnostics and tests).
    bool HasEvent() const;

private:
    Common::Event* GetEvent();
    void WaitForTurn(ThreadId self);
    void DropEventIfUnused();

    // Holds plus waiting threads.
    std::atomic<std::int32_t> LockCount{0};
    // Holds of the owner; touched by the owner only.
    std::uint32_t Recursion = 0;
    std::atomic<ThreadId> Owner{0};
    // Null until contention; the closing mark while cleanup frees it.
    std::atomic<Common::Event*> Event{nullptr};
    const bool Cleanup;
};

class LightMutexLock : NonCopyable
{
public:
    explicit LightMutexLock(LightMutex& mutex) : Locked(mutex) { Locked.Lock(); }
    ~LightMutexLock() { Locked.Unlock(); }

private:
    LightMutex& Locked;
};

} // namespace Common
