// Async::ActionConsumer takes actions one at a time; a failure returned by Consume tells the feeder to
// stop.
#pragma once

#include "async/Action.h"
#include "common/Error.h"
#include "common/NonCopyable.h"

#include <memory>

namespace Async
{

class ActionConsumer : Common::NonCopyable
{
public:
    virtual ~ActionConsumer() = default;
    // Takes `action` (shared from now on). Success, or the reason why no more actions are taken.
    virtual Common::Error Consume(std::shared_ptr<Action> action) = 0;
};

} // namespace Async
