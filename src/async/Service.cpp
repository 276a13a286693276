#include "async/Service.h"

#include "async/DefaultService.h"
#include "async/Errors.h"
#include "common/SafeAssert.h"

#include <atomic>

namespace Async
{
namespace
{

std::atomic<Service*> Installed{nullptr};

// Only the library's own services can be ended here; a host ends the service it installed itself.
Detail::DefaultService* AsDefault(Service* service)
{
    return dynamic_cast<Detail::DefaultService*>(service);
}

} // namespace

void GetAsyncService(Service** service)
{
    SAFE_ASSERT(service != nullptr);
    if (service == nullptr)
    {
        return;
    }
    Service* installed = Installed.load(std::memory_order_acquire);
    *service = installed != nullptr ? installed : &Detail::GetDefaultService();
}

void InstallAsyncService(Service* service)
{
    Installed.store(service, std::memory_order_release);
}

void ShutdownAsyncService(Service* service, const Common::Error* reason)
{
    if (Detail::DefaultService* ended = AsDefault(service))
    {
        ended->Shutdown(reason != nullptr
                            ? *reason
                            : Errors::MakeCanceled(COMMON_LOCATION("Async::ShutdownAsyncService")));
    }
}

void TerminateAsyncService(Service* service, const Common::Error* reason)
{
    if (Detail::DefaultService* ended = AsDefault(service))
    {
        ended->Terminate(reason != nullptr
                             ? *reason
                             : Errors::MakeCanceled(COMMON_LOCATION("Async::TerminateAsyncService")));
    }
}

} // namespace Async
