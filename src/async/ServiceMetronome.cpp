#include "async/ServiceMetronome.h"

#include "async/Errors.h"
#include "common/CyclicTimeout.h"
#include "common/Trace.h"

#include <algorithm>
#include <atomic>
#include <vector>

namespace Async::Detail
{
namespace
{

// One Wait: whoever takes the handler first (the beat's delivery, Cancel or Close) completes it.
class WaitJob final : public BaseJob
{
public:
    WaitJob(std::weak_ptr<ServiceMetronome::Clock> clock, ActionHandler& handler)
        : Owner(std::move(clock)), Handler(&handler)
    {
    }

    void Cancel() override;

    bool Complete(const Common::Error& result)
    {
        ActionHandler* handler = Handler.exchange(nullptr, std::memory_order_acq_rel);
        if (handler == nullptr)
        {
            return false;
        }
        try
        {
            handler->Completed(result);
        }
        catch (...)
        {
            Common::TraceError(4, Errors::CurrentException(
                                      COMMON_LOCATION("Async::Detail::ServiceMetronome::WaitJob::Complete"),
                                      u"Finalize run"));
        }
        return true;
    }

    // Set before the job is published, under the clock's lock.
    std::uint64_t Due = 0;

private:
    std::weak_ptr<ServiceMetronome::Clock> Owner;
    std::atomic<ActionHandler*> Handler;
};

// The completions of one beat, run on a pool thread.
class Delivery final : public ServiceThreadPool::Task
{
public:
    explicit Delivery(std::vector<std::shared_ptr<WaitJob>> jobs) : Jobs(std::move(jobs)) {}

    void Run() override { Refuse(Common::Success); }
    void Refuse(const Common::Error& reason) override
    {
        for (const std::shared_ptr<WaitJob>& job : Jobs)
        {
            job->Complete(reason);
        }
    }

private:
    std::vector<std::shared_ptr<WaitJob>> Jobs;
};

} // namespace

struct ServiceMetronome::Clock : std::enable_shared_from_this<Clock>
{
    Clock(std::uint32_t tickMilliseconds, ServiceThreadPool& pool)
        : Pool(pool), Cycle(&Beat, this, tickMilliseconds, false)
    {
    }

    std::shared_ptr<Job> Wait(ActionHandler& handler, std::uint32_t period);
    std::shared_ptr<WaitJob> Remove(const WaitJob& job);
    void Close(const Common::Error& reason);
    static unsigned Beat(void* argument);

    ServiceThreadPool& Pool;
    // Held while starting the cycle and while the beat stops it, so Beating always says whether the
    // cycle is armed; never held while waiting for a beat.
    mutable std::mutex Lock;
    std::uint64_t Ticks = 0;
    bool Beating = false;
    bool Closed = false;
    Common::Error Reason;
    std::multimap<std::uint64_t, std::shared_ptr<WaitJob>> Pending;
    // Last: destroyed first, so no beat outlives the fields it reads.
    Common::CyclicTimeout Cycle;
};

namespace
{

class PeriodMetronome final : public Metronome
{
public:
    PeriodMetronome(std::shared_ptr<ServiceMetronome::Clock> clock, std::uint32_t period)
        : Beats(std::move(clock)), Period(period)
    {
    }

    std::shared_ptr<Job> Wait(ActionHandler& handler) override { return Beats->Wait(handler, Period); }

private:
    std::shared_ptr<ServiceMetronome::Clock> Beats;
    std::uint32_t Period;
};

void WaitJob::Cancel()
{
    // Taken first, so a beat that collected this job already finds nothing to complete.
    ActionHandler* handler = Handler.exchange(nullptr, std::memory_order_acq_rel);
    if (handler == nullptr)
    {
        return;
    }
    std::shared_ptr<WaitJob> keep;
    if (const std::shared_ptr<ServiceMetronome::Clock> clock = Owner.lock())
    {
        keep = clock->Remove(*this);
    }
    try
    {
        handler->Completed(
            Errors::MakeCanceled(COMMON_LOCATION("Async::Detail::ServiceMetronome::WaitJob::Cancel")));
    }
    catch (...)
    {
        Common::TraceError(
            4, Errors::CurrentException(COMMON_LOCATION("Async::Detail::ServiceMetronome::WaitJob::Cancel"),
                                        u"Finalize run"));
    }
}

} // namespace

std::shared_ptr<Job> ServiceMetronome::Clock::Wait(ActionHandler& handler, std::uint32_t period)
{
    auto job = std::make_shared<WaitJob>(weak_from_this(), handler);
    Common::Error refusal;
    {
        std::lock_guard<std::mutex> guard(Lock);
        if (Closed)
        {
            refusal = Reason;
        }
        else
        {
            job->Due = (Ticks / period + 1) * period;
            const auto entry = Pending.emplace(job->Due, job);
            if (!Beating)
            {
                try
                {
                    Cycle.Start();
                    Beating = true;
                }
                catch (...)
                {
                    Pending.erase(entry);
                    refusal = Errors::CurrentException(
                        COMMON_LOCATION("Async::Detail::ServiceMetronome::Wait"), u"Perform");
                }
            }
        }
    }
    if (refusal.GetCode() != 0)
    {
        job->Complete(refusal);
    }
    return job;
}

std::shared_ptr<WaitJob> ServiceMetronome::Clock::Remove(const WaitJob& job)
{
    std::lock_guard<std::mutex> guard(Lock);
    auto [first, last] = Pending.equal_range(job.Due);
    const auto found =
        std::find_if(first, last, [&job](const auto& entry) { return entry.second.get() == &job; });
    if (found == last)
    {
        return nullptr;
    }
    // An idle cycle stops itself at its next beat.
    std::shared_ptr<WaitJob> removed = std::move(found->second);
    Pending.erase(found);
    return removed;
}

void ServiceMetronome::Clock::Close(const Common::Error& reason)
{
    std::multimap<std::uint64_t, std::shared_ptr<WaitJob>> pending;
    {
        std::lock_guard<std::mutex> guard(Lock);
        Closed = true;
        Reason = reason;
        Beating = false;
        pending.swap(Pending);
    }
    // Waits for a beat under way, whose delivery the still open pool accepts.
    Cycle.Stop();
    for (const auto& entry : pending)
    {
        entry.second->Complete(reason);
    }
}

unsigned ServiceMetronome::Clock::Beat(void* argument)
{
    Clock& clock = *static_cast<Clock*>(argument);
    std::vector<std::shared_ptr<WaitJob>> due;
    {
        std::lock_guard<std::mutex> guard(clock.Lock);
        if (clock.Closed)
        {
            return 0;
        }
        ++clock.Ticks;
        const auto end = clock.Pending.upper_bound(clock.Ticks);
        for (auto entry = clock.Pending.begin(); entry != end; ++entry)
        {
            due.push_back(std::move(entry->second));
        }
        clock.Pending.erase(clock.Pending.begin(), end);
        if (clock.Pending.empty())
        {
            clock.Beating = false;
            clock.Cycle.Stop();
        }
    }
    if (!due.empty())
    {
        // Never refused: Close stops the beat (waiting for this one) before the pool closes.
        clock.Pool.Post(std::make_shared<Delivery>(std::move(due)));
    }
    return 0;
}

ServiceMetronome::ServiceMetronome(std::uint32_t tickMilliseconds, ServiceThreadPool& pool)
    : Shared(std::make_shared<Clock>(std::max(tickMilliseconds, 1u), pool))
{
}

ServiceMetronome::~ServiceMetronome()
{
    Close(Errors::MakeCanceled(COMMON_LOCATION("Async::Detail::ServiceMetronome::~ServiceMetronome")));
}

std::shared_ptr<Metronome> ServiceMetronome::GetMetronome(std::uint32_t period)
{
    period = std::max(period, 1u);
    std::lock_guard<std::mutex> guard(MetronomesLock);
    std::shared_ptr<Metronome>& metronome = Metronomes[period];
    if (metronome == nullptr)
    {
        metronome = std::make_shared<PeriodMetronome>(Shared, period);
    }
    return metronome;
}

void ServiceMetronome::Close(const Common::Error& reason)
{
    Shared->Close(reason);
}

std::uint64_t ServiceMetronome::GetTicks() const
{
    std::lock_guard<std::mutex> guard(Shared->Lock);
    return Shared->Ticks;
}

} // namespace Async::Detail
