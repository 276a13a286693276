#include "common/Semaphore.h"

#include "common/CatalogIds.h"
#include "common/Error.h"
#include "common/ErrorKind.h"

#include <cerrno>
#include <chrono>

namespace Common
{

Semaphore::Semaphore(std::uint32_t initialCount) : Count(initialCount)
{
    if (initialCount > MaximumCount)
    {
        throw Error(COMMON_LOCATION("Semaphore::Semaphore"), CreateFailedCode, ErrnoErrorKind,
                    GetText(Texts::SemaphoreCreateFailed), {EINVAL});
    }
}

void Semaphore::Signal(std::uint32_t count)
{
    if (count == 0)
    {
        return;
    }
    {
        std::lock_guard<std::mutex> guard(Lock);
        if (count > MaximumCount - Count)
        {
            throw Error(COMMON_LOCATION("Semaphore::Signal"), SignalFailedCode, ErrnoErrorKind,
                        GetText(Texts::SemaphoreSignalFailed), {EOVERFLOW});
        }
        Count += count;
    }
    if (count == 1)
    {
        Available.notify_one();
    }
    else
    {
        Available.notify_all();
    }
}

void Semaphore::Wait()
{
    std::unique_lock<std::mutex> lock(Lock);
    Available.wait(lock, [this] { return Count != 0; });
    --Count;
}

bool Semaphore::Wait(std::uint32_t milliseconds)
{
    std::unique_lock<std::mutex> lock(Lock);
    if (!Available.wait_for(lock, std::chrono::milliseconds(milliseconds), [this] { return Count != 0; }))
    {
        return false;
    }
    --Count;
    return true;
}

} // namespace Common
