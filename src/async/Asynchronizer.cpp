#include "async/Asynchronizer.h"

#include "async/ActionConsumer.h"
#include "async/BarrierJob.h"
#include "async/Errors.h"
#include "async/FullBarrier.h"
#include "async/JobComposition.h"
#include "async/LazyBarrier.h"
#include "async/WaitCompletionJob.h"
#include "common/SafeAssert.h"

#include <cstdint>
#include <mutex>
#include <utility>

namespace Async
{
namespace AsynchronizerImpl
{

class ActionJob;
using Signal = WaitCompletionJob::Signal;

// The job of one asynchronizer run: step "Read" repeats while rounds consume actions, then a wait for
// the barrier. The job is its own chain's owner, so that it can hold itself (Self) until its handler was
// called; the jobs of consumed actions hold it too, since they report failures to it.
class BaseAsynchronizerJob : public BaseMethodComposition<BaseAsynchronizerJob>,
                             public ActionConsumer,
                             public ActionHandler,
                             public std::enable_shared_from_this<BaseAsynchronizerJob>
{
public:
    BaseAsynchronizerJob(std::shared_ptr<ActionReader> reader, std::shared_ptr<Detail::BarrierJob> round)
        : Reader(std::move(reader)), Round(std::move(round))
    {
    }

    void Begin(ActionHandler& handler)
    {
        Upper = &handler;
        Self = shared_from_this();
        {
            std::lock_guard<std::mutex> guard(Lock);
            Accepting = true;
            Finished = false;
            Reading = true;
        }
        Start(*this);
        Step(&BaseAsynchronizerJob::Read, &BaseAsynchronizerJob::OnRead);
    }

    Common::Error Consume(std::shared_ptr<Action> action) override;

    void Cancel() override
    {
        bool reading = false;
        {
            std::lock_guard<std::mutex> guard(Lock);
            CancelRequested = true;
            Accepting = false;
            reading = Reading;
        }
        Round->Cancel();
        if (reading)
        {
            BaseMethodComposition<BaseAsynchronizerJob>::Cancel();
        }
    }

    // The end of the chain.
    void Completed(const Common::Error& result) override
    {
        const std::shared_ptr<BaseAsynchronizerJob> self = std::move(Self);
        Upper->Completed(result);
    }

    // From the job of a consumed action that failed: no more actions are taken.
    void ActionFailed(const Common::Error& result)
    {
        std::lock_guard<std::mutex> guard(Lock);
        Accepting = false;
        if (ActionFailure == Common::Success)
        {
            ActionFailure = result;
        }
    }

protected:
    // The job of a consumed action; the sequence kind chains them.
    virtual std::shared_ptr<ActionJob> MakeActionJob(std::shared_ptr<Action> action);
    // Starts `job` in the barrier; the barrier's reason to stop, or success.
    Common::Error AddToBarrier(const std::shared_ptr<ActionJob>& job);

private:
    std::shared_ptr<Job> Read(ActionHandler& handler) { return Reader->Read(*this, handler); }
    Common::Error OnRead(const Common::Error& result);
    Common::Error OnWaited(const Common::Error& result);

    std::mutex Lock;
    bool Accepting = false;          // guarded by Lock
    bool Finished = false;           // guarded by Lock
    Common::Error FailReason;        // guarded by Lock
    Common::Error ActionFailure;     // guarded by Lock
    bool Reading = false;            // guarded by Lock
    bool CancelRequested = false;    // guarded by Lock
    std::uint32_t RoundConsumed = 0; // guarded by Lock
    const std::shared_ptr<ActionReader> Reader;
    const std::shared_ptr<Detail::BarrierJob> Round;
    ActionHandler* Upper = nullptr;
    std::shared_ptr<BaseAsynchronizerJob> Self;
};

// One consumed action: optionally waits for the success of its predecessor, then runs the action and
// tells the asynchronizer of a failure before the barrier learns of it, so that the asynchronizer stops
// taking actions first.
class ActionJob final : public BaseMethodComposition<ActionJob>,
                        public ActionHandler,
                        public std::enable_shared_from_this<ActionJob>
{
public:
    ActionJob(std::shared_ptr<BaseAsynchronizerJob> owner, std::shared_ptr<Action> action,
              std::shared_ptr<Signal> predecessor, std::shared_ptr<Signal> ended)
        : Owner(std::move(owner)), Performed(std::move(action)), Predecessor(std::move(predecessor)),
          Ended(std::move(ended))
    {
    }

    // Perform of the action that the barrier runs.
    std::shared_ptr<Job> Begin(ActionHandler& handler)
    {
        std::shared_ptr<ActionJob> self = shared_from_this();
        Upper = &handler;
        Start(*this);
        if (Predecessor != nullptr)
        {
            const std::unique_ptr<Action> wait = Predecessor->MakeWaitAction();
            Step(*wait, &ActionJob::OnPredecessorEnded);
        }
        else
        {
            Step(*Performed, &ActionJob::OnActionCompleted);
        }
        return self;
    }

    void Completed(const Common::Error& result) override
    {
        // Only a success lets the successor start; after a failure the lazy round cancels it.
        const std::shared_ptr<Signal> ended = result == Common::Success ? Ended : nullptr;
        // The barrier may release this job.
        Upper->Completed(result);
        if (ended != nullptr)
        {
            ended->Finish();
        }
    }

private:
    void OnPredecessorEnded() { Step(*Performed, &ActionJob::OnActionCompleted); }

    Common::Error OnActionCompleted(const Common::Error& result)
    {
        if (result != Common::Success)
        {
            Owner->ActionFailed(result);
        }
        return result;
    }

    const std::shared_ptr<BaseAsynchronizerJob> Owner;
    const std::shared_ptr<Action> Performed;
    const std::shared_ptr<Signal> Predecessor;
    const std::shared_ptr<Signal> Ended;
    ActionHandler* Upper = nullptr;
};

namespace
{

// The barrier's view of a consumed action: performing it starts the action's job.
class StartAction final : public Action
{
public:
    explicit StartAction(std::shared_ptr<ActionJob> job) : Started(std::move(job)) {}
    std::shared_ptr<Job> Perform(ActionHandler& handler) override { return Started->Begin(handler); }

private:
    const std::shared_ptr<ActionJob> Started;
};

} // namespace

std::shared_ptr<ActionJob> BaseAsynchronizerJob::MakeActionJob(std::shared_ptr<Action> action)
{
    return std::make_shared<ActionJob>(shared_from_this(), std::move(action), nullptr, nullptr);
}

Common::Error BaseAsynchronizerJob::AddToBarrier(const std::shared_ptr<ActionJob>& job)
{
    StartAction start(job);
    return Round->Add(start);
}

Common::Error BaseAsynchronizerJob::Consume(std::shared_ptr<Action> action)
{
    {
        std::lock_guard<std::mutex> guard(Lock);
        SAFE_ASSERT_TEXT(FailReason == Common::Success,
                         "FailReason == Common::Success && \"Top-level logic broken.\"");
        if (!Accepting)
        {
            return Errors::MakeAsynchronizerClosed();
        }
        ++RoundConsumed;
    }
    const Common::Error added = action != nullptr ? AddToBarrier(MakeActionJob(std::move(action)))
                                                  : Errors::MakePendingJobEmptyError();
    if (added != Common::Success)
    {
        std::lock_guard<std::mutex> guard(Lock);
        Accepting = false;
        if (FailReason == Common::Success)
        {
            FailReason = added;
        }
    }
    return added;
}

Common::Error BaseAsynchronizerJob::OnRead(const Common::Error& result)
{
    bool again = false;
    {
        std::lock_guard<std::mutex> guard(Lock);
        if (FailReason == Common::Success)
        {
            FailReason = result;
        }
        Finished = FailReason != Common::Success || ActionFailure != Common::Success || CancelRequested ||
                   RoundConsumed == 0;
        again = !Finished;
        Accepting = again;
        Reading = again;
        RoundConsumed = 0;
    }
    // Nothing of this job is touched after Step: the chain may have moved on to another thread.
    if (again)
    {
        Step(&BaseAsynchronizerJob::Read, &BaseAsynchronizerJob::OnRead);
    }
    else
    {
        const std::unique_ptr<Action> wait = Detail::BarrierJob::MakeWaitAction(Round);
        Step(*wait, &BaseAsynchronizerJob::OnWaited);
    }
    return Common::Success;
}

Common::Error BaseAsynchronizerJob::OnWaited(const Common::Error& result)
{
    std::lock_guard<std::mutex> guard(Lock);
    if (ActionFailure != Common::Success)
    {
        return ActionFailure;
    }
    return FailReason != Common::Success ? FailReason : result;
}

class FullBarrierAsynchronizerJob final : public BaseAsynchronizerJob
{
public:
    explicit FullBarrierAsynchronizerJob(std::shared_ptr<ActionReader> reader)
        : BaseAsynchronizerJob(std::move(reader), std::make_shared<FullBarrier::BarrierJob>(nullptr))
    {
    }
};

class LazyBarrierAsynchronizerJob : public BaseAsynchronizerJob
{
public:
    explicit LazyBarrierAsynchronizerJob(std::shared_ptr<ActionReader> reader)
        : BaseAsynchronizerJob(std::move(reader), std::make_shared<LazyBarrier::BarrierJob>())
    {
    }
};

// Each consumed action waits for the end of the one consumed before it; the lazy round cancels the
// waiting ones at the first failure.
class SequenceAsynchronizerJob final : public LazyBarrierAsynchronizerJob
{
public:
    using LazyBarrierAsynchronizerJob::LazyBarrierAsynchronizerJob;

protected:
    std::shared_ptr<ActionJob> MakeActionJob(std::shared_ptr<Action> action) override
    {
        auto ended = std::make_shared<Signal>();
        std::shared_ptr<Signal> predecessor;
        {
            std::lock_guard<std::mutex> guard(Lock);
            predecessor = std::exchange(Last, ended);
        }
        return std::make_shared<ActionJob>(shared_from_this(), std::move(action), std::move(predecessor),
                                           std::move(ended));
    }

private:
    std::mutex Lock;
    std::shared_ptr<Signal> Last; // guarded by Lock
};

} // namespace AsynchronizerImpl

namespace
{

class AsynchronizerAction final : public Action
{
public:
    AsynchronizerAction(std::shared_ptr<ActionReader> reader, AsynchronizerKind kind)
        : Reader(std::move(reader)), Kind(kind)
    {
    }

    std::shared_ptr<Job> Perform(ActionHandler& handler) override
    {
        using namespace AsynchronizerImpl;
        if (Reader == nullptr)
        {
            handler.Completed(Errors::MakePendingJobEmptyError());
            return nullptr;
        }
        std::shared_ptr<BaseAsynchronizerJob> job;
        switch (Kind)
        {
        case AsynchronizerKind::FullBarrier:
            job = std::make_shared<FullBarrierAsynchronizerJob>(Reader);
            break;
        case AsynchronizerKind::LazyBarrier:
            job = std::make_shared<LazyBarrierAsynchronizerJob>(Reader);
            break;
        case AsynchronizerKind::Sequence:
            job = std::make_shared<SequenceAsynchronizerJob>(Reader);
            break;
        }
        if (job == nullptr)
        {
            handler.Completed(Errors::InvalidResult());
            return nullptr;
        }
        job->Begin(handler);
        return job;
    }

private:
    const std::shared_ptr<ActionReader> Reader;
    const AsynchronizerKind Kind;
};

} // namespace

std::unique_ptr<Action> MakeAsynchronizer(std::shared_ptr<ActionReader> reader, AsynchronizerKind kind)
{
    return std::make_unique<AsynchronizerAction>(std::move(reader), kind);
}

} // namespace Async
