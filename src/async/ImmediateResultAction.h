// Async::ImmediateResultAction: an action whose result is known when it is made. Perform completes the
// handler with it at once and returns a null job; with success it is the empty action. Reusable, and
// thread-safe as long as nobody assigns to it.
#pragma once

#include "async/Action.h"
#include "common/Error.h"

#include <memory>

namespace Async
{

class ImmediateResultAction : public Action
{
public:
    explicit ImmediateResultAction(Common::Error result = Common::Success) : Result(std::move(result)) {}

    // handler.Completed(result) before returning; null job.
    std::shared_ptr<Job> Perform(ActionHandler& handler) override;

private:
    Common::Error Result;
};

// An action that completes at once with `result` (success: the empty action).
std::unique_ptr<Action> MakeImmediateResult(const Common::Error& result = Common::Success);

} // namespace Async
