#include "async/BlockingScope.h"

#include "async/ServiceThreadPool.h"

namespace Async
{

BlockingScope::BlockingScope()
{
    Detail::ServiceThreadPool::EnterBlocking();
}

BlockingScope::~BlockingScope()
{
    Detail::ServiceThreadPool::LeaveBlocking();
}

} // namespace Async
