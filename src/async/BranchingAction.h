// Async::BranchingAction chooses between two actions when it runs: Perform evaluates the condition and
// performs the chosen action with the given handler, returning its job. A null branch is the empty action
// (immediate success). Perform throws what the condition or the chosen action throws, having completed
// nothing. Reusable; the branches are shared, so the branching action may go once Perform has returned.
#pragma once

#include "async/Action.h"
#include "async/Condition.h"

#include <memory>

namespace Async
{

class BranchingAction : public Action
{
public:
    BranchingAction(Condition condition, std::shared_ptr<Action> onTrue, std::shared_ptr<Action> onFalse);

    std::shared_ptr<Job> Perform(ActionHandler& handler) override;

private:
    Condition Choice;
    std::shared_ptr<Action> OnTrue;
    std::shared_ptr<Action> OnFalse;
};

std::unique_ptr<Action> MakeBranch(Condition condition, std::shared_ptr<Action> onTrue,
                                   std::shared_ptr<Action> onFalse = nullptr);

} // namespace Async
