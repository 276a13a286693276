// Common::Mutex: a recursive mutex that asserts its use (destroyed while locked, unlocked by a thread
// that does not own it), and Common::MutexLock, which holds one for a scope.
#pragma once

#include <pthread.h>

#include <atomic>

#include "common/NonCopyable.h"
#include "common/ThreadId.h"

namespace Common
{

class Mutex : NonCopyable
{
public:
    Mutex();
    // Destroying a locked mutex is a broken invariant.
    ~Mutex();

    void Lock();
    bool TryLock();
    // Unlocking from a thread that does not own the mutex is a broken invariant and does nothing.
    void Unlock();
    bool IsOwnedByCurrentThread() const;

private:
    pthread_mutex_t Handle;
    std::atomic<ThreadId> OwningThread{0};
    unsigned Recursion = 0;
};

class MutexLock : NonCopyable
{
public:
    explicit MutexLock(Mutex& mutex) : Locked(mutex) { Locked.Lock(); }
    ~MutexLock() { Locked.Unlock(); }

private:
    Mutex& Locked;
};

} // namespace Common
