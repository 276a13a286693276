#include "common/CyclicTimeout.h"

namespace Common
{
namespace
{

// The policy of a fixed delay.
class ConstTimeoutPolicy final : public TimeoutPolicy
{
public:
    explicit ConstTimeoutPolicy(std::uint32_t delay) : Delay(delay) {}
    std::uint32_t Next() override { return Delay; }
    void Reset() override {}

private:
    std::uint32_t Delay;
};

} // namespace

CyclicTimeout::CyclicTimeout(TimeoutFunction function, void* argument, std::uint32_t delay, bool asynchronous)
    : CyclicTimeout(function, argument, std::make_unique<ConstTimeoutPolicy>(delay), asynchronous)
{
}

CyclicTimeout::CyclicTimeout(TimeoutFunction function, void* argument, std::unique_ptr<TimeoutPolicy> policy,
                             bool asynchronous)
    : Function(function), Argument(argument), Asynchronous(asynchronous), Policy(std::move(policy))
{
}

CyclicTimeout::~CyclicTimeout()
{
    Stop();
}

void CyclicTimeout::Start()
{
    MutexLock lock(Lock);
    Current = Timeout(Fire, this, Policy->Next(), Asynchronous);
}

void CyclicTimeout::Stop()
{
    Timeout current;
    {
        MutexLock lock(Lock);
        current = std::move(Current);
        Current = Timeout();
    }
    if (current)
    {
        current.Stop();
        current.Wait();
        Policy->Reset();
    }
}

unsigned CyclicTimeout::Fire(void* self)
{
    auto* cycle = static_cast<CyclicTimeout*>(self);
    const unsigned result = cycle->Function(cycle->Argument);
    Timeout previous;
    {
        MutexLock lock(cycle->Lock);
        // An empty Current means the cycle was stopped, possibly by the callback itself.
        if (cycle->Current)
        {
            previous = std::move(cycle->Current);
            cycle->Current = Timeout(Fire, cycle, cycle->Policy->Next(), cycle->Asynchronous);
        }
    }
    // Dropped outside the lock; this runs inside that timeout, so its Wait returns at once.
    return result;
}

} // namespace Common
