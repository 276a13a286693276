#include "async/LazyBarrier.h"

#include "async/Errors.h"

namespace Async
{
namespace
{

Common::Error MakeCanceled()
{
    return Errors::MakeCanceled(COMMON_LOCATION("Async::LazyBarrier::BarrierJob::Cancel"));
}

} // namespace

LazyBarrier::BarrierJob::BarrierJob() : Detail::BarrierJob(Kind::Lazy, nullptr) {}

void LazyBarrier::BarrierJob::Cancel()
{
    CancelActions(MakeCanceled);
}

std::shared_ptr<LazyBarrier::BarrierJob> LazyBarrier::CurrentRound()
{
    std::lock_guard<std::mutex> guard(Lock);
    if (Current == nullptr)
    {
        Current = std::make_shared<BarrierJob>();
    }
    return Current;
}

Common::Error LazyBarrier::Add(Action& action)
{
    return CurrentRound()->Add(action);
}

std::unique_ptr<Action> LazyBarrier::Wait()
{
    std::shared_ptr<BarrierJob> round;
    {
        std::lock_guard<std::mutex> guard(Lock);
        round = Current != nullptr ? std::move(Current) : std::make_shared<BarrierJob>();
        Current.reset();
    }
    return Detail::BarrierJob::MakeWaitAction(std::move(round));
}

} // namespace Async
