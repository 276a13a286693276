#include "async/WaitCompletionHandler.h"

#include "common/SafeAssert.h"

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
    : Shared(std::move(logic)), Handler(next)
{
}

void WaitCompletionHandler::Completed(const Common::Error& result)
{
    Shared->Count();
    SAFE_ASSERT_TEXT(Handler != nullptr, "Handler && \"Invalid Delegating Action Handler state.\"");
    if (Handler != nullptr)
    {
        Handler->Completed(result);
    }
}

} // namespace Async
