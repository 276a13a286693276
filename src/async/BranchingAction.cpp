#include "async/BranchingAction.h"

#include <utility>

namespace Async
{

BranchingAction::BranchingAction(Condition condition, std::shared_ptr<Action> onTrue,
                                 std::shared_ptr<Action> onFalse)
    : Choice(std::move(condition)), OnTrue(std::move(onTrue)), OnFalse(std::move(onFalse))
{
}

std::shared_ptr<Job> BranchingAction::Perform(ActionHandler& handler)
{
    // A local reference: the chosen action may complete synchronously into a handler that drops this one.
    const std::shared_ptr<Action> chosen = Evaluate(Choice) ? OnTrue : OnFalse;
    if (chosen == nullptr)
    {
        handler.Completed(Common::Success);
        return nullptr;
    }
    return chosen->Perform(handler);
}

std::unique_ptr<Action> MakeBranch(Condition condition, std::shared_ptr<Action> onTrue,
                                   std::shared_ptr<Action> onFalse)
{
    return std::make_unique<BranchingAction>(std::move(condition), std::move(onTrue), std::move(onFalse));
}

} // namespace Async
