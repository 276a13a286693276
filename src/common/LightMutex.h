// Common::LightMutex: a recursive mutex that holds no kernel object until two threads contend for it.
// Uncontended, Lock and Unlock are one atomic add and one atomic subtract. With cleanup on, the wake-up
// event is freed again as soon as nobody waits. Thread-safe; only the owning thread may unlock.
#pragma once

#include "common/NonCopyable.h"
#include "common/ThreadId.h"

#include <sys/single_threaded.h>

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
    std::int32_t AddLock();
    std::int32_t SubtractLock();
    Common::Event* GetEvent();
    void WaitForTurn(ThreadId self);
    void Release();
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

// The uncontended paths are inline: a call into the library costs as much as the atomics themselves.

// While the process has never started a second thread nobody can see the count change, so a plain load
// and store do: the fast path glibc's own locks take.
inline std::int32_t LightMutex::AddLock()
{
    if (__libc_single_threaded)
    {
        const std::int32_t before = LockCount.load(std::memory_order_relaxed);
        LockCount.store(before + 1, std::memory_order_relaxed);
        return before;
    }
    return LockCount.fetch_add(1);
}

inline std::int32_t LightMutex::SubtractLock()
{
    if (__libc_single_threaded)
    {
        const std::int32_t before = LockCount.load(std::memory_order_relaxed);
        LockCount.store(before - 1, std::memory_order_relaxed);
        return before;
    }
    return LockCount.fetch_sub(1);
}

inline void LightMutex::Lock()
{
    const ThreadId self = GetCurrentThreadId();
    if (AddLock() == 0)
    {
        Recursion = 1;
        Owner.store(self, std::memory_order_relaxed);
    }
    else if (Owner.load(std::memory_order_relaxed) == self)
    {
        // Only this thread ever stores its own id, so a stale read can't match by accident.
        ++Recursion;
    }
    else
    {
        WaitForTurn(self);
    }
}

inline void LightMutex::Unlock()
{
    if (Recursion > 1)
    {
        --Recursion;
        SubtractLock();
        return;
    }
    Release();
}

class LightMutexLock : NonCopyable
{
public:
    explicit LightMutexLock(LightMutex& mutex) : Locked(mutex) { Locked.Lock(); }
    ~LightMutexLock() { Locked.Unlock(); }

private:
    LightMutex& Locked;
};

} // namespace Common
