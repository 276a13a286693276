// Common::CyclicTimeout calls a function over and over, each time after the next delay of its policy.
// Stop ends the cycle (also from inside the callback) and waits for a running callback; a cycle started
// again begins its policy anew. Thread-safe.
#pragma once

#include "common/Mutex.h"
#include "common/NonCopyable.h"
#include "common/Timeout.h"
#include "common/TimeoutPolicy.h"

#include <cstdint>
#include <memory>

namespace Common
{

class CyclicTimeout : NonCopyable
{
public:
    // Every delay is `delay`.
    CyclicTimeout(TimeoutFunction function, void* argument, std::uint32_t delay, bool asynchronous);
    CyclicTimeout(TimeoutFunction function, void* argument, std::unique_ptr<TimeoutPolicy> policy,
                  bool asynchronous);
    virtual ~CyclicTimeout();

    // Arms the first timeout with the policy's next delay.
    void Start();
    void Stop();

private:
    static unsigned Fire(void* self);

    TimeoutFunction Function;
    void* Argument;
    bool Asynchronous;
    std::unique_ptr<TimeoutPolicy> Policy;
    Mutex Lock;
    Timeout Current;
};

} // namespace Common
