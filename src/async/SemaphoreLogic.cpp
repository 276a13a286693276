#include "async/SemaphoreLogic.h"

#include "async/Errors.h"
#include "async/JobControl.h"
#include "async/ThreadEnvironmentScope.h"
#include "common/CatalogIds.h"
#include "common/SafeAssert.h"
#include "common/TextCatalog.h"
#include "common/ThreadId.h"

#include <atomic>
#include <vector>

namespace Async::Detail
{

// One Perform of a wrapped action. While it waits, its handler is up for grabs: Pump claims it to start
// the job, Cancel to complete it as cancelled; exactly one of them gets it. A claimed job runs the action
// through its own control and hands the result on.
class SemaphoreLogic::SemaphoreJob final : public BaseJob, public ActionHandler
{
public:
    // Captures the calling thread's environment.
    SemaphoreJob(std::shared_ptr<SemaphoreLogic> logic, std::shared_ptr<Action> action,
                 ActionHandler& handler)
        : Logic(std::move(logic)), Wrapped(std::move(action)), Environment(Logic->Environment.Capture()),
          Handler(&handler)
    {
    }

    // Takes the handler for a start; false if the job was cancelled while waiting.
    bool Prepare()
    {
        Claimed = Handler.exchange(nullptr, std::memory_order_acq_rel);
        return Claimed != nullptr;
    }

    // Runs the action on this thread, looking like the thread that performed the wrapper. The caller
    // holds the job alive.
    void Start()
    {
        StartThread.store(Common::GetCurrentThreadId(), std::memory_order_relaxed);
        const std::shared_ptr<Action> action = std::move(Wrapped);
        if (action == nullptr)
        {
            Completed(Errors::InvalidResult());
        }
        else
        {
            ThreadEnvironmentScope scope(Logic->Environment, Environment);
            Control.Run(*action, *this, this);
        }
        StartThread.store(0, std::memory_order_relaxed);
    }

    bool IsStartedHere() const
    {
        return StartThread.load(std::memory_order_relaxed) == Common::GetCurrentThreadId();
    }

    void Completed(const Common::Error& result) override
    {
        ActionHandler* const upper = Claimed;
        Logic->Finished(*this);
        // May release this job: nothing of it is touched afterwards.
        upper->Completed(result);
    }

    void Cancel() override
    {
        if (ActionHandler* handler = Handler.exchange(nullptr, std::memory_order_acq_rel))
        {
            // Still waiting: it stays queued until Pump drops it, but never runs.
            Wrapped.reset();
            handler->Completed(
                Errors::MakeCanceled(COMMON_LOCATION("Async::Detail::SemaphoreLogic::SemaphoreJob::Cancel")));
            return;
        }
        Control.Cancel();
    }

    // "ASYNC: Action sequence pending action job."
    void Describe(WorkDescription& out) const override
    {
        out = WorkDescription(COMMON_LOCATION("Async::Detail::SemaphoreLogic::SemaphoreJob::Describe"),
                              Common::GetText(Common::Texts::AsyncSequencePendingJob));
    }

private:
    const std::shared_ptr<SemaphoreLogic> Logic;
    std::shared_ptr<Action> Wrapped;
    const ThreadEnvironment::Snapshot Environment;
    std::atomic<ActionHandler*> Handler;
    // The handler taken by Prepare; read when the run completes.
    ActionHandler* Claimed = nullptr;
    JobControl Control;
    // Read by the completing thread, which may be another one.
    std::atomic<Common::ThreadId> StartThread{0};
};

namespace
{

class WrappedAction final : public Action
{
public:
    WrappedAction(std::shared_ptr<SemaphoreLogic> logic, std::shared_ptr<Action> action)
        : Logic(std::move(logic)), Wrapped(std::move(action))
    {
    }

    std::shared_ptr<Job> Perform(ActionHandler& handler) override;

private:
    const std::shared_ptr<SemaphoreLogic> Logic;
    const std::shared_ptr<Action> Wrapped;
};

} // namespace

SemaphoreLogic::SemaphoreLogic(std::uint32_t limit, const ThreadEnvironment& environment)
    : Limit(limit), Environment(environment)
{
}

SemaphoreLogic::~SemaphoreLogic()
{
    SAFE_ASSERT_TEXT(!RunningCount,
                     "!RunningCount && \"Don't destroy semaphore until all jobs has finished.\"");
}

std::unique_ptr<Action> SemaphoreLogic::MakeWrapper(std::shared_ptr<SemaphoreLogic> logic,
                                                    std::shared_ptr<Action> action)
{
    return std::make_unique<WrappedAction>(std::move(logic), std::move(action));
}

void SemaphoreLogic::Admit(const std::shared_ptr<SemaphoreJob>& job)
{
    {
        std::lock_guard<std::mutex> guard(Lock);
        if (!CanRun())
        {
            Queue.push_back(job);
            return;
        }
        ++RunningCount;
    }
    const bool prepareResult = job->Prepare();
    SAFE_ASSERT_TEXT(prepareResult, "prepareResult && \"State logic broken.\"");
    if (prepareResult)
    {
        job->Start();
    }
    else
    {
        std::lock_guard<std::mutex> guard(Lock);
        --RunningCount;
    }
    // A job that completed inside Start left the queue to this call.
    Pump();
}

void SemaphoreLogic::Finished(const SemaphoreJob& job)
{
    {
        std::lock_guard<std::mutex> guard(Lock);
        --RunningCount;
    }
    if (!job.IsStartedHere())
    {
        Pump();
    }
}

void SemaphoreLogic::Pump()
{
    for (;;)
    {
        std::shared_ptr<SemaphoreJob> next;
        // Cancelled jobs are released outside the lock.
        std::vector<std::shared_ptr<SemaphoreJob>> dropped;
        {
            std::lock_guard<std::mutex> guard(Lock);
            while (next == nullptr && !Queue.empty() && CanRun())
            {
                std::shared_ptr<SemaphoreJob> front = std::move(Queue.front());
                Queue.pop_front();
                if (front->Prepare())
                {
                    ++RunningCount;
                    next = std::move(front);
                }
                else
                {
                    dropped.push_back(std::move(front));
                }
            }
        }
        if (next == nullptr)
        {
            return;
        }
        next->Start();
    }
}

bool SemaphoreLogic::CanRun() const
{
    return Limit == 0 || RunningCount < Limit;
}

std::shared_ptr<Job> WrappedAction::Perform(ActionHandler& handler)
{
    auto job = std::make_shared<SemaphoreLogic::SemaphoreJob>(Logic, Wrapped, handler);
    Logic->Admit(job);
    return job;
}

} // namespace Async::Detail
