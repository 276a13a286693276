// Delays of a cyclic timeout: Common::TimeoutPolicy gives the next delay and can start over;
// Common::BackoffTimeoutPolicy multiplies its delay on every call up to a maximum.
#pragma once

#include <cstdint>

namespace Common
{

class TimeoutPolicy
{
public:
    virtual ~TimeoutPolicy() = default;
    // The next delay in milliseconds.
    virtual std::uint32_t Next() = 0;
    virtual void Reset() = 0;
};

// The first delay is already initial × factor: initial itself is never returned. Arithmetic is 32-bit.
class BackoffTimeoutPolicy : public TimeoutPolicy
{
public:
    BackoffTimeoutPolicy(std::uint32_t initial, std::uint32_t factor, std::uint32_t maximum)
        : Current(initial), Initial(initial), Factor(factor), Maximum(maximum)
    {
    }

    std::uint32_t Next() override
    {
        Current = Current < Maximum ? Current * Factor : Maximum;
        return Current < Maximum ? Current : Maximum;
    }
    void Reset() override { Current = Initial; }

private:
    std::uint32_t Current;
    std::uint32_t Initial;
    std::uint32_t Factor;
    std::uint32_t Maximum;
};

} // namespace Common
