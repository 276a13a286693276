// Async::WaitingHandler lets a thread wait for a run to end: Completed stores the result, then sets the
// event. The event is the only synchronisation, so the result may be read once Wait returned or
// IsCompleted said yes; the handler may be destroyed then, even while Completed is still returning.
#pragma once

#include "async/Action.h"
#include "common/Event.h"

namespace Async
{

class WaitingHandler : public ActionHandler
{
public:
    WaitingHandler() : Done(true, false) {}

    void Completed(const Common::Error& result) override;

    // Blocks until Completed has been called (no time limit). Thread-safe.
    void Wait() { Done.Wait(); }
    // Whether Completed has been called, without blocking. Thread-safe.
    bool IsCompleted() { return Done.Wait(0); }
    // The stored result; after Wait or a true IsCompleted.
    const Common::Error& GetResult() const { return Result; }

private:
    Common::Event Done;
    Common::Error Result;
};

} // namespace Async
