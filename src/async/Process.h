// Async::Process: an action that is its own handle as well: besides Perform it can be cancelled directly
// and tells whether it has ended.
#pragma once

#include "async/Action.h"

namespace Async
{

class Process : public Action
{
public:
    // Cancels the run under way; before any run, the next Perform is cancelled. Thread-safe.
    virtual void Cancel() = 0;
    // Whether a run has ended. Thread-safe.
    virtual bool IsFinished() const = 0;
};

} // namespace Async
