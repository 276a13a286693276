// Async::EnvironmentPreservingHandler makes a completion thread look like the thread that started the
// action: it captures the thread environment of the current async service when it is made, and Completed
// runs the next handler inside a ThreadEnvironmentScope of that snapshot, restoring the completing thread's
// own environment afterwards. Make it on the starting thread. The next handler may destroy it.
#pragma once

#include "async/Action.h"
#include "async/Service.h"

namespace Async
{

class EnvironmentPreservingHandler : public ActionHandler
{
public:
    // `next` must outlive the run.
    explicit EnvironmentPreservingHandler(ActionHandler& next);
    EnvironmentPreservingHandler(ActionHandler& next, const ThreadEnvironment& environment);

    void Completed(const Common::Error& result) override;

private:
    ActionHandler& Next;
    const ThreadEnvironment* Environment;
    ThreadEnvironment::Snapshot Snapshot;
};

} // namespace Async
