#include "async/SynchronizationFork.h"

#include "async/Errors.h"
#include "async/JobControl.h"
#include "async/TextDescription.h"
#include "common/CatalogIds.h"
#include "common/TextCatalog.h"
#include "common/Trace.h"

namespace Async
{
namespace
{

constexpr int SwallowedErrorLevel = 4;

} // namespace

// Posts one work through the service and owns itself until the service completed it.
class SynchronizationFork::ForkJob final : public ActionHandler
{
public:
    static void Start(Service& service, std::shared_ptr<Work> work)
    {
        auto* job = new ForkJob(service, std::move(work));
        Posting posting(*job);
        // The job may be gone when Run returns: its completion deletes it.
        job->Control.Run(posting, *job, nullptr);
    }

    void Completed(const Common::Error& result) override
    {
        if (result.GetCode() != 0)
        {
            Common::TraceError(SwallowedErrorLevel, result);
        }
        delete this;
    }

private:
    class Posting final : public Action
    {
    public:
        explicit Posting(ForkJob& owner) : Owner(owner) {}
        std::shared_ptr<Job> Perform(ActionHandler& handler) override
        {
            return Owner.Target.Execute(*Owner.Posted, handler);
        }

    private:
        ForkJob& Owner;
    };

    ForkJob(Service& service, std::shared_ptr<Work> work) : Target(service), Posted(std::move(work)) {}

    JobControl Control;
    Service& Target;
    std::shared_ptr<Work> Posted;
};

SynchronizationFork::SynchronizationFork(std::uint32_t level) : ScopedSynchronizationCallback(level) {}

bool SynchronizationFork::OnSynchronize(void* argument)
{
    Attempts.fetch_add(1, std::memory_order_relaxed);
    if (!CanFork(argument))
    {
        return false;
    }
    Forks.fetch_add(1, std::memory_order_relaxed);
    std::shared_ptr<Work> work;
    Fork(work);
    if (work == nullptr)
    {
        return false;
    }
    Service* service = nullptr;
    GetAsyncService(&service);
    Dispatch(service, std::move(work));
    // Callbacks further down may own work of their own.
    return false;
}

void SynchronizationFork::OnTick()
{
    OnSynchronize(nullptr);
}

void SynchronizationFork::Dispatch(Service* service, std::shared_ptr<Work> work)
{
    if (work == nullptr)
    {
        return;
    }
    if (service != nullptr)
    {
        ForkJob::Start(*service, std::move(work));
        return;
    }
    try
    {
        work->Run();
    }
    catch (...)
    {
        const TextDescription description(COMMON_LOCATION("Async::SynchronizationFork::Dispatch"),
                                          ErrorCodes::WorkFailed,
                                          Common::GetText(Common::Texts::AsyncWorkException),
                                          Common::GetText(Common::Texts::AsyncWorkStdException),
                                          Common::GetText(Common::Texts::AsyncWorkUnknownException));
        Common::TraceError(SwallowedErrorLevel, SafeDescribeCurrentException(description));
    }
}

} // namespace Async
