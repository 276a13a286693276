#include "async/CyclicRunner.h"

#include "async/Errors.h"
#include "common/CatalogIds.h"
#include "common/TextCatalog.h"

namespace Async
{
namespace CyclicRunnerImpl
{

CyclicRunner::CyclicRunner(NextActionFunction next, ActionHandler& handler)
    : Next(std::move(next)), Handler(handler)
{
}

void CyclicRunner::Start()
{
    RunRounds();
}

void CyclicRunner::Cancel()
{
    Control.Cancel();
}

void CyclicRunner::RunRounds()
{
    // The handler may release the runner while a round still returns through Run.
    const std::shared_ptr<CyclicRunner> self = shared_from_this();
    for (;;)
    {
        std::shared_ptr<Action> action;
        try
        {
            action = Next();
        }
        catch (...)
        {
            Finish(Errors::CurrentException(
                COMMON_LOCATION("Async::CyclicRunnerImpl::CyclicRunner::RunRounds"), u"Perform"));
            return;
        }
        if (action == nullptr)
        {
            Finish(Errors::InvalidResult());
            return;
        }
        Loop.store(InRun, std::memory_order_release);
        Control.Run(*action, *this, this);
        std::uint32_t expected = InRun;
        if (Loop.compare_exchange_strong(expected, Outside, std::memory_order_acq_rel))
        {
            return; // still running, or failed: the completion does the rest
        }
        // Again: the round succeeded before Run returned.
    }
}

void CyclicRunner::Completed(const Common::Error& result)
{
    if (result.GetCode() != 0)
    {
        Finish(result);
        return;
    }
    std::uint32_t expected = InRun;
    if (Loop.compare_exchange_strong(expected, Again, std::memory_order_acq_rel))
    {
        return; // the thread in Run goes on
    }
    RunRounds();
}

void CyclicRunner::Finish(const Common::Error& result)
{
    Handler.Completed(result);
}

void CyclicRunner::Describe(WorkDescription& out) const
{
    out = WorkDescription(COMMON_LOCATION("Async::CyclicRunnerImpl::CyclicRunner::Describe"),
                          Common::GetText(Common::Texts::AsyncCyclicRunnerJob));
}

} // namespace CyclicRunnerImpl

namespace Detail
{

CyclicRunAction::CyclicRunAction(NextActionFunction next) : Next(std::move(next)) {}

CyclicRunAction::CyclicRunAction(std::shared_ptr<Action> action)
    : Next([action = std::move(action)] { return action; })
{
}

std::shared_ptr<Job> CyclicRunAction::Perform(ActionHandler& handler)
{
    auto runner = std::make_shared<CyclicRunnerImpl::CyclicRunner>(Next, handler);
    runner->Start();
    return runner;
}

} // namespace Detail
} // namespace Async
