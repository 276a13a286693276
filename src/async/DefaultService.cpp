#include "async/DefaultService.h"

#include "async/Errors.h"
#include "common/Timeout.h"
#include "common/Trace.h"

#include <atomic>
#include <cstdlib>
#include <mutex>

namespace Async::Detail
{
namespace
{

// One Execute: whoever takes it first (a worker, Cancel or a refusal) decides its single completion.
class ExecuteJob final : public BaseJob, public ServiceThreadPool::Task
{
public:
    ExecuteJob(Work& work, ActionHandler& handler) : Posted(work), Handler(handler) {}

    void Cancel() override
    {
        if (!Taken.exchange(true, std::memory_order_acq_rel))
        {
            Complete(
                Errors::MakeCanceled(COMMON_LOCATION("Async::Detail::DefaultService::ExecuteJob::Cancel")));
        }
    }

    void Run() override
    {
        if (Taken.exchange(true, std::memory_order_acq_rel))
        {
            return;
        }
        Common::Error result;
        try
        {
            Posted.Run();
        }
        catch (...)
        {
            result = Errors::CurrentException(
                COMMON_LOCATION("Async::Detail::DefaultService::ExecuteJob::Run"), u"Work");
        }
        Complete(result);
    }

    void Refuse(const Common::Error& reason) override
    {
        if (!Taken.exchange(true, std::memory_order_acq_rel))
        {
            Complete(reason);
        }
    }

private:
    void Complete(const Common::Error& result)
    {
        try
        {
            Handler.Completed(result);
        }
        catch (...)
        {
            Common::TraceError(4, Errors::CurrentException(
                                      COMMON_LOCATION("Async::Detail::DefaultService::ExecuteJob::Complete"),
                                      u"Finalize run"));
        }
    }

    Work& Posted;
    ActionHandler& Handler;
    std::atomic<bool> Taken{false};
};

std::mutex DefaultLock;
DefaultService::Options DefaultOptions;
std::atomic<DefaultService*> Default{nullptr};

void CloseDefaultAtExit()
{
    DefaultService& service = *Default.load(std::memory_order_acquire);
    service.Terminate(Errors::MakeCanceled(COMMON_LOCATION("Async::Detail::CloseDefaultAtExit")));
    service.WaitForThreads();
}

} // namespace

DefaultService::DefaultService() : DefaultService(Options{}) {}

DefaultService::DefaultService(const Options& options)
    : Pool(options.Pool), Beats(options.TickMilliseconds, Pool)
{
}

DefaultService::~DefaultService()
{
    Terminate(Errors::MakeCanceled(COMMON_LOCATION("Async::Detail::DefaultService::~DefaultService")));
    WaitForThreads();
}

std::shared_ptr<Job> DefaultService::Execute(Work& work, ActionHandler& handler)
{
    auto job = std::make_shared<ExecuteJob>(work, handler);
    Pool.Post(job);
    return job;
}

void DefaultService::Shutdown(const Common::Error& reason)
{
    Beats.Close(reason);
    Pool.Close(true, reason);
}

void DefaultService::Terminate(const Common::Error& reason)
{
    Beats.Close(reason);
    Pool.Close(false, reason);
}

void DefaultService::WaitUntilIdle()
{
    Pool.WaitUntilIdle();
}

void DefaultService::WaitForThreads()
{
    Pool.WaitForThreads();
}

DefaultService& GetDefaultService()
{
    if (DefaultService* service = Default.load(std::memory_order_acquire))
    {
        return *service;
    }
    std::lock_guard<std::mutex> guard(DefaultLock);
    if (DefaultService* service = Default.load(std::memory_order_acquire))
    {
        return *service;
    }
    // Statics the exit handler relies on are made now, so they are destroyed only after it has run.
    (void)Common::Detail::HasTimeoutMonitor();
    (void)Errors::Canceled();
    auto* service = new DefaultService(DefaultOptions);
    std::atexit(&CloseDefaultAtExit);
    Default.store(service, std::memory_order_release);
    return *service;
}

bool ConfigureDefaultService(const DefaultService::Options& options)
{
    std::lock_guard<std::mutex> guard(DefaultLock);
    if (Default.load(std::memory_order_acquire) != nullptr)
    {
        return false;
    }
    DefaultOptions = options;
    return true;
}

void WaitUntilIdle()
{
    Service* service = nullptr;
    GetAsyncService(&service);
    if (auto* defaultService = dynamic_cast<DefaultService*>(service))
    {
        defaultService->WaitUntilIdle();
    }
}

} // namespace Async::Detail
