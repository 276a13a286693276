// Async::ResultAccumulator collects the results of a full barrier's actions, one call per action with
// its position (the order in which the barrier started it, from 0). Calls come from the completion
// threads, possibly at the same time: implementations must be thread-safe. BarrierDebugTracer traces
// each result at level 1.
#pragma once

#include "common/Error.h"
#include "common/NonCopyable.h"

#include <cstdint>

namespace Async
{

class ResultAccumulator : Common::NonCopyable
{
public:
    virtual ~ResultAccumulator() = default;
    virtual void Accumulate(std::uint32_t position, const Common::Error& result) = 0;
};

// Traces "ASYNC: Barrier action {0} completed." for a success, the error itself for a failure.
class BarrierDebugTracer : public ResultAccumulator
{
public:
    void Accumulate(std::uint32_t position, const Common::Error& result) override;
};

} // namespace Async
