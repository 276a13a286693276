#include "async/ImmediateResultAction.h"

namespace Async
{

std::shared_ptr<Job> ImmediateResultAction::Perform(ActionHandler& handler)
{
    handler.Completed(Result);
    return nullptr;
}

std::unique_ptr<Action> MakeImmediateResult(const Common::Error& result)
{
    return std::make_unique<ImmediateResultAction>(result);
}

} // namespace Async
