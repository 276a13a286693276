#include "common/Mutex.h"

#include "common/SafeAssert.h"

namespace Common
{
namespace
{

constexpr const char* LockedAtDestruction = "MUTEX_DATA.OwningThread == 0 || (GetVersion() & 0x80000000)";
constexpr const char* UnlockedByStranger = "*reinterpret_cast<DWORD*>(&MUTEX_DATA.OwningThread) == "
                                           "GetCurrentThreadId() || (GetVersion() & 0x80000000)";

} // namespace

Mutex::Mutex()
{
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&Handle, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

Mutex::~Mutex()
{
    const ThreadId owner = OwningThread.load(std::memory_order_relaxed);
    SAFE_ASSERT_TEXT(owner == 0, LockedAtDestruction);
    if (owner == GetCurrentThreadId())
    {
        // Give back our own holds so that the handle can be destroyed cleanly.
        while (Recursion != 0)
        {
            Unlock();
        }
    }
    else if (owner != 0)
    {
        // Another thread still holds it: destroying would pull the memory from under it.
        return;
    }
    pthread_mutex_destroy(&Handle);
}

void Mutex::Lock()
{
    pthread_mutex_lock(&Handle);
    if (Recursion++ == 0)
    {
        OwningThread.store(GetCurrentThreadId(), std::memory_order_relaxed);
    }
}

bool Mutex::TryLock()
{
    if (pthread_mutex_trylock(&Handle) != 0)
    {
        return false;
    }
    if (Recursion++ == 0)
    {
        OwningThread.store(GetCurrentThreadId(), std::memory_order_relaxed);
    }
    return true;
}

void Mutex::Unlock()
{
    if (OwningThread.load(std::memory_order_relaxed) != GetCurrentThreadId())
    {
        SAFE_ASSERT_TEXT(false, UnlockedByStranger);
        return;
    }
    if (--Recursion == 0)
    {
        OwningThread.store(0, std::memory_order_relaxed);
    }
    pthread_mutex_unlock(&Handle);
}

bool Mutex::IsOwnedByCurrentThread() const
{
    return OwningThread.load(std::memory_order_relaxed) == GetCurrentThreadId();
}

} // namespace Common
