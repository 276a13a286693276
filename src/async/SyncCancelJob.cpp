#include "async/SyncCancelJob.h"

#include "common/CatalogIds.h"
#include "common/Event.h"
#include "common/SafeAssert.h"
#include "common/TextCatalog.h"

namespace Async
{
namespace
{

bool IsEvent(std::uintptr_t state)
{
    return state > 2;
}

void SetEvent(std::uintptr_t state)
{
    reinterpret_cast<Common::Event*>(state)->Set();
}

} // namespace

class SyncCancelJob::WrapperAction final : public Action
{
public:
    explicit WrapperAction(std::shared_ptr<Action> action) : Wrapped(std::move(action)) {}

    std::shared_ptr<Job> Perform(ActionHandler& handler) override;

private:
    const std::shared_ptr<Action> Wrapped;
};

std::unique_ptr<Action> SyncCancelJob::MakeAction(std::shared_ptr<Action> action)
{
    return std::make_unique<WrapperAction>(std::move(action));
}

std::shared_ptr<Job> SyncCancelJob::WrapperAction::Perform(ActionHandler& handler)
{
    auto job = std::make_shared<SyncCancelJob>(Wrapped, handler);
    job->Start(job);
    return job;
}

SyncCancelJob::SyncCancelJob(std::shared_ptr<Action> action, ActionHandler& handler)
    : Wrapped(std::move(action)), Handler(handler)
{
}

void SyncCancelJob::Start(const std::shared_ptr<SyncCancelJob>& self)
{
    Self = self;
    Control.Run(*Wrapped, *this, this);
}

void SyncCancelJob::Cancel()
{
    const std::shared_ptr<SyncCancelJob> self = Self.lock();
    if (!CancelRequested.exchange(true, std::memory_order_acq_rel))
    {
        Control.Cancel();
    }
    Common::Event done(false, false);
    const auto mine = reinterpret_cast<std::uintptr_t>(&done);
    const std::uintptr_t previous = CancelState.exchange(mine, std::memory_order_acq_rel);
    if (previous == Finished)
    {
        const std::uintptr_t came = CancelState.exchange(Finished, std::memory_order_acq_rel);
        if (came == mine)
        {
            return;
        }
        // Threads that began to wait meanwhile form a chain ending at this one: wake its head, and wait
        // until the chain reaches back here, so that nobody signals this event after it is gone.
        SetEvent(came);
        done.Wait();
        return;
    }
    done.Wait();
    if (IsEvent(previous))
    {
        SetEvent(previous);
    }
}

void SyncCancelJob::Completed(const Common::Error& result)
{
    // The handler may drop the last outside reference to this job.
    const std::shared_ptr<SyncCancelJob> self = Self.lock();
    Handler.Completed(result);
    const std::uintptr_t previous = CancelState.exchange(Finished, std::memory_order_acq_rel);
    SAFE_ASSERT_TEXT(previous != Finished, "!\"Sync cancel logic broken.\"");
    if (IsEvent(previous))
    {
        SetEvent(previous);
    }
}

void SyncCancelJob::Describe(WorkDescription& out) const
{
    out = WorkDescription(COMMON_LOCATION("Async::SyncCancelJob::Describe"),
                          Common::GetText(Common::Texts::AsyncSyncCancelJob));
}

} // namespace Async
