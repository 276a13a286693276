// Async::Synchronizer is the handler of a synchronous caller: it forwards Completed to the WaitingHandler
// it embeds. Async::Perform(action) is the synchronous bridge built on it: it performs the action and,
// unless the action completed inside Perform, hands the work pending on this thread to other threads
// (the synchronisation callbacks) and blocks, inside a BlockingScope so that the service's pool grows,
// until the action completes. Then it returns, or throws the result.
#pragma once

#include "async/Action.h"
#include "async/WaitingHandler.h"

namespace Async
{

class Synchronizer : public ActionHandler
{
public:
    void Completed(const Common::Error& result) override { Waiting.Completed(result); }

    // Announces the coming block to this thread's synchronisation callbacks, then blocks until completed.
    // Returns at once when already completed.
    void Wait();
    bool IsCompleted() { return Waiting.IsCompleted(); }
    const Common::Error& GetResult() const { return Waiting.GetResult(); }

private:
    WaitingHandler Waiting;
};

// Runs `action` to its end on the calling thread, which may block with no time limit. Throws the
// action's failure as it came; a Common::Error thrown by its Perform as it is, other exceptions from it
// as 0x00F90007 or 0x00F90008 (operation "Perform") at "Async::Perform".
void Perform(Action& action);

} // namespace Async
