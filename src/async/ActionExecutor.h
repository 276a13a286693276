// Async::ActionExecutor takes actions to be run later, in the order given; what "later" means is the
// executor's business (a sequence runs them one after another when it is performed).
#pragma once

#include "async/Action.h"
#include "common/NonCopyable.h"

#include <memory>

namespace Async
{

class ActionExecutor : Common::NonCopyable
{
public:
    virtual ~ActionExecutor() = default;
    // Adds `action` (shared with the executor from now on) for later running.
    virtual void Execute(std::shared_ptr<Action> action) = 0;
};

} // namespace Async
