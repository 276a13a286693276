#include "async/WaitingHandler.h"

namespace Async
{

void WaitingHandler::Completed(const Common::Error& result)
{
    Result = result;
    // The event publishes Result; the waiter may destroy this object as soon as it is set.
    Done.Set();
}

} // namespace Async
