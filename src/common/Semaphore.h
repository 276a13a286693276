// Common::Semaphore: a counting semaphore with the platform's limit of 0x7FFFFFFF. Signal is atomic:
// a count that would pass the limit is refused whole and changes nothing. Thread-safe.
#pragma once

#include "common/NonCopyable.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace Common
{

class Semaphore : NonCopyable
{
public:
    static constexpr std::uint32_t MaximumCount = 0x7FFFFFFF;
    // Codes of its failures.
    static constexpr std::uint32_t CreateFailedCode = 20;
    static constexpr std::uint32_t SignalFailedCode = 21;
    static constexpr std::uint32_t WaitFailedCode = 22;

    // Throws Common::Error code 20 ("Errno,$module": EINVAL) at "Semaphore::Semaphore" if
    // `initialCount` exceeds MaximumCount.
    explicit Semaphore(std::uint32_t initialCount);

    // Adds `count` (0 does nothing) and wakes as many waiters. Throws code 21 ("Errno,$module":
    // EOVERFLOW) at "Semaphore::Signal" if the count would exceed MaximumCount; the count is then unchanged.
    void Signal(std::uint32_t count = 1);
    // Takes one unit, waiting for it as long as it takes. Code 22 at "Semaphore::Wait" is reserved for a
    // failing system wait, which this implementation cannot have.
    void Wait();
    // Takes one unit if one comes within `milliseconds`; false otherwise.
    bool Wait(std::uint32_t milliseconds);

private:
    std::mutex Lock;
    std::condition_variable Available;
    std::uint32_t Count;
};

} // namespace Common
