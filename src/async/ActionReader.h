// Async::ActionReader feeds a stream of actions into a consumer: Read pushes the actions it has, one
// Consume each, stops at the first Consume that fails, and then completes like any action.
#pragma once

#include "async/Action.h"
#include "async/ActionConsumer.h"
#include "common/NonCopyable.h"

#include <memory>

namespace Async
{

class ActionReader : Common::NonCopyable
{
public:
    virtual ~ActionReader() = default;
    // Feeds `consumer` (borrowed until `handler` was called) and then completes `handler` with the
    // round's result. Returns the job of the round, or null. May throw Common::Error without completing.
    virtual std::shared_ptr<Job> Read(ActionConsumer& consumer, ActionHandler& handler) = 0;
};

} // namespace Async
