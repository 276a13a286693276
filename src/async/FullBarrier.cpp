#include "async/FullBarrier.h"

#include "async/Errors.h"

namespace Async
{
namespace
{

Common::Error MakeCanceled()
{
    return Errors::MakeCanceled(COMMON_LOCATION("Async::FullBarrier::BarrierJob::Cancel"));
}

} // namespace

FullBarrier::BarrierJob::BarrierJob(ResultAccumulator* accumulator)
    : Detail::BarrierJob(Kind::Full, accumulator)
{
}

void FullBarrier::BarrierJob::Cancel()
{
    CancelActions(MakeCanceled);
}

std::shared_ptr<FullBarrier::BarrierJob> FullBarrier::CurrentRound()
{
    std::lock_guard<std::mutex> guard(Lock);
    if (Current == nullptr)
    {
        Current = std::make_shared<BarrierJob>(Accumulator);
    }
    return Current;
}

Common::Error FullBarrier::Add(Action& action)
{
    return CurrentRound()->Add(action);
}

std::unique_ptr<Action> FullBarrier::Wait()
{
    std::shared_ptr<BarrierJob> round;
    {
        std::lock_guard<std::mutex> guard(Lock);
        round = Current != nullptr ? std::move(Current) : std::make_shared<BarrierJob>(Accumulator);
        Current.reset();
    }
    return Detail::BarrierJob::MakeWaitAction(std::move(round));
}

void FullBarrier::SetAccumulator(ResultAccumulator* accumulator)
{
    std::lock_guard<std::mutex> guard(Lock);
    Accumulator = accumulator;
}

} // namespace Async
