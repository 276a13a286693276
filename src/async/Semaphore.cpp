#include "async/Semaphore.h"

#include "async/SemaphoreLogic.h"
#include "async/Service.h"

namespace Async
{
namespace
{

const ThreadEnvironment& GetServiceEnvironment()
{
    Service* service = nullptr;
    GetAsyncService(&service);
    return service->GetThreadEnvironment();
}

} // namespace

Semaphore::Semaphore(std::uint32_t limit)
    : Logic(std::make_shared<Detail::SemaphoreLogic>(limit, GetServiceEnvironment()))
{
}

Semaphore::~Semaphore() = default;

std::unique_ptr<Action> Semaphore::Wrap(std::shared_ptr<Action> action)
{
    return Detail::SemaphoreLogic::MakeWrapper(Logic, std::move(action));
}

} // namespace Async
