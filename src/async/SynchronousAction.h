// Async::SynchronousAction runs synchronous code (Execute) and reports like any other action: Perform
// completes the handler before it returns and gives a null job, so it can't be cancelled. It never throws
// itself: a failure of Execute goes through ApplyContext, and an exception that leaves Execute or
// ApplyContext becomes 0x00F9000B ("ASYNC: Exception has occurred during work execution." with a thrown
// Common::Error as sub-error, the STD text with what(), or the unknown text) at
// "Async::SynchronousAction::Perform". Reusable when Execute is.
#pragma once

#include "async/Action.h"
#include "async/ErrorContextApplier.h"
#include "common/Error.h"

#include <memory>

namespace Async
{

class SynchronousAction : public Action, public ErrorContextApplier
{
public:
    std::shared_ptr<Job> Perform(ActionHandler& handler) override;

protected:
    // The work; its failure is the action's result after ApplyContext.
    virtual Common::Error Execute() = 0;
};

} // namespace Async
