#include "async/WaitCompletionHandler.h"

namespace Async
{

WaitCompletionHandler::Logic::Logic() : Ended(std::make_shared<WaitCompletionJob::Signal>()) {}

void WaitCompletionHandler::Logic::Count()
{
    if (Runs.fetch_add(1, std::memory_order_acq_rel) == 0)
    {
        Ended->Finish();
    }
}

bool WaitCompletionHandler::Logic::IsFinished() const
{
    return Ended->IsFinished();
}

std::unique_ptr<Action> WaitCompletionHandler::Logic::GetWaitAction() const
{
    return Ended->MakeWaitAction();
}

WaitCompletionHandler::WaitCompletionHandler(std::shared_ptr<Logic> logic, ActionHandler* next)
    : DelegatingActionHandler(next), Shared(std::move(logic))
{
}

void WaitCompletionHandler::ProcessResult(Common::Error& out, const Common::Error& result)
{
    Shared->Count();
    out = result;
}

} // namespace Async
