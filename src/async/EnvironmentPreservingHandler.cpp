#include "async/EnvironmentPreservingHandler.h"

#include "async/ThreadEnvironmentScope.h"

#include <optional>

namespace Async
{

EnvironmentPreservingHandler::EnvironmentPreservingHandler(ActionHandler& next)
    : Next(next), Environment(GetServiceThreadEnvironment()),
      Snapshot(Environment != nullptr ? Environment->Capture() : nullptr)
{
}

EnvironmentPreservingHandler::EnvironmentPreservingHandler(ActionHandler& next,
                                                           const ThreadEnvironment& environment)
    : Next(next), Environment(&environment), Snapshot(environment.Capture())
{
}

void EnvironmentPreservingHandler::Completed(const Common::Error& result)
{
    ActionHandler& next = Next;
    // The scope keeps what it restores by itself, so the next handler may destroy this one.
    std::optional<ThreadEnvironmentScope> scope;
    if (Environment != nullptr)
    {
        scope.emplace(*Environment, Snapshot);
    }
    next.Completed(result);
}

} // namespace Async
