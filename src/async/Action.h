// Actions and their handlers: an action is started with Perform(handler), returns a job at once (null
// when it can't be cancelled) and later, possibly before Perform returned or on another thread, calls
// handler.Completed(result) exactly once. Perform may throw Common::Error without having completed.
#pragma once

#include "async/Job.h"
#include "common/Error.h"
#include "common/NonCopyable.h"

#include <memory>

namespace Async
{

class ActionHandler : Common::NonCopyable
{
public:
    virtual ~ActionHandler() = default;
    virtual void Completed(const Common::Error& result) = 0;
};

class Action : Common::NonCopyable
{
public:
    virtual ~Action() = default;
    virtual std::shared_ptr<Job> Perform(ActionHandler& handler) = 0;
};

} // namespace Async
