#include "async/Synchronizer.h"

#include "async/BlockingScope.h"
#include "async/Errors.h"
#include "async/SynchronizationCallback.h"

namespace Async
{

void Synchronizer::Wait()
{
    if (IsCompleted())
    {
        return;
    }
    // A tail-recursion loop of this thread may hold the very work that would complete the action: the
    // callbacks move it to a service thread before this one sleeps.
    NotifySynchronization(this);
    BlockingScope blocking;
    Waiting.Wait();
}

void Perform(Action& action)
{
    Synchronizer synchronizer;
    // Held until the end: releasing a job may belong after its completion.
    std::shared_ptr<Job> job;
    try
    {
        job = action.Perform(synchronizer);
    }
    catch (const Common::Error&)
    {
        throw;
    }
    catch (...)
    {
        throw Errors::CurrentException(COMMON_LOCATION("Async::Perform"), u"Perform");
    }
    synchronizer.Wait();
    const Common::Error result = synchronizer.GetResult();
    if (result.GetCode() != 0)
    {
        throw result;
    }
}

} // namespace Async
