#include "async/ThreadEnvironmentScope.h"

namespace Async
{

const ThreadEnvironment* GetServiceThreadEnvironment()
{
    Service* service = nullptr;
    GetAsyncService(&service);
    return service != nullptr ? &service->GetThreadEnvironment() : nullptr;
}

ThreadEnvironmentScope::ThreadEnvironmentScope(const ThreadEnvironment& environment,
                                               const ThreadEnvironment::Snapshot& snapshot)
    : Environment(&environment), Previous(environment.Apply(snapshot))
{
}

ThreadEnvironmentScope::ThreadEnvironmentScope(const ThreadEnvironment::Snapshot& snapshot)
    : Environment(GetServiceThreadEnvironment())
{
    if (Environment != nullptr)
    {
        Previous = Environment->Apply(snapshot);
    }
}

ThreadEnvironmentScope::~ThreadEnvironmentScope()
{
    if (Environment != nullptr)
    {
        Environment->Apply(Previous);
    }
}

} // namespace Async
