// JobControl with real threads racing: a million runs on one control, each with a randomly chosen job
// and a random placement of the completion and of cancels on two threads. Nothing is scripted, so what
// is checked are the invariants every interleaving must keep: one upper completion per run, a result that
// is the action's own (bare or described) or the cancellation of a run cancelled in advance, an idle
// state at the end, a job released once and only after the handler, and a standing cancel consumed by
// the next run. Meant to run under ThreadSanitizer as well.
#include "async/Errors.h"
#include "async/JobControl.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <random>
#include <thread>

namespace
{

using Async::JobControl;

constexpr std::uint32_t Canceled = Async::ErrorCodes::Canceled;
constexpr std::uint32_t Failure = 0x00F95555;

// What one run does; drawn at random by the main thread and read by the helper after the hand-over.
struct Plan
{
    enum Completion : std::uint8_t
    {
        InsidePerform,
        ByHelperEarly, // possibly before Perform returned
        ByHelperLate,  // after the helper cancelled
    };
    enum Cancels : std::uint8_t
    {
        None = 0,
        ByRunner = 1, // right after Run returned
        ByHelper = 2,
    };
    Completion Completes = InsidePerform;
    std::uint8_t CancelBy = None;
    bool NullJob = false;
    bool HonoursCancel = false;
    bool Fails = false;
    bool Owner = false;
    std::uint32_t Delay = 0; // spins before the helper acts
};

void Pause(std::uint32_t spins)
{
    for (std::uint32_t i = 0; i < spins; ++i)
    {
        std::atomic_signal_fence(std::memory_order_seq_cst);
    }
}

class Race final : public Async::Action, public Async::ActionHandler, public Async::DescriptiveEntity
{
public:
    void Play(std::uint32_t runs)
    {
        std::thread helper([this, runs] { HelperLoop(runs); });
        std::mt19937 random(20261121);
        for (std::uint32_t run = 1; run <= runs && !::testing::Test::HasFailure(); ++run)
        {
            Current = Draw(random);
            const int callsBefore = Calls.load();
            const int performsBefore = Performs.load();
            const bool preventive = Control.GetState() == JobControl::StateCancelScheduledWaitAll;
            HelperDone.store(false, std::memory_order_relaxed);
            ActionDone.store(false, std::memory_order_relaxed);
            Sent.store(0, std::memory_order_relaxed);
            Ticket.store(run, std::memory_order_release);

            Control.Run(*this, *this, Current.Owner ? this : nullptr);
            if (Current.CancelBy & Plan::ByRunner)
            {
                Control.Cancel();
            }
            // The run is over once the helper is done, the handler was called and the job released.
            while (!HelperDone.load(std::memory_order_acquire) ||
                   Calls.load(std::memory_order_acquire) == callsBefore ||
                   Released.load(std::memory_order_acquire) != Made.load(std::memory_order_relaxed))
            {
                std::this_thread::yield();
            }
            Check(run, preventive, callsBefore, performsBefore);
        }
        Ticket.store(Stop, std::memory_order_release);
        helper.join();
        // Leave the control idle and clean for its destructor.
        EXPECT_TRUE(Control.GetState() == JobControl::StateBegin ||
                    Control.GetState() == JobControl::StateCancelScheduledWaitAll);
    }

    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override
    {
        Performs.fetch_add(1, std::memory_order_relaxed);
        Handler = &handler;
        PerformStarted.store(true, std::memory_order_release);
        if (Current.Completes == Plan::InsidePerform)
        {
            Complete(false);
        }
        if (Current.NullJob)
        {
            return nullptr;
        }
        Made.fetch_add(1, std::memory_order_relaxed);
        return std::make_shared<RaceJob>(*this);
    }

    void Completed(const Common::Error& result) override
    {
        Code.store(result.GetCode(), std::memory_order_relaxed);
        Inner.store(result.GetSubError().GetCode(), std::memory_order_relaxed);
        Calls.fetch_add(1, std::memory_order_release);
    }

    void Describe(Async::WorkDescription& out) const override
    {
        out = Async::WorkDescription(COMMON_LOCATION("JobControlStressTest::Describe"), u"racing job");
    }
    std::uint32_t GetId() const override { return 3; }

private:
    static constexpr std::uint32_t Stop = ~0u;

    class RaceJob final : public Async::Job
    {
    public:
        explicit RaceJob(Race& race) : Owner(race), CallsAtStart(race.Calls.load(std::memory_order_relaxed))
        {
        }
        ~RaceJob() override
        {
            // Released after the handler was called, on the finishing thread.
            if (Owner.Calls.load(std::memory_order_acquire) == CallsAtStart)
            {
                Owner.EarlyReleases.fetch_add(1, std::memory_order_relaxed);
            }
            Owner.Released.fetch_add(1, std::memory_order_release);
        }
        void Cancel() override
        {
            Owner.CancelNoted.store(true, std::memory_order_release);
            if (Owner.Current.HonoursCancel)
            {
                Owner.Complete(false);
            }
        }
        void Describe(Async::WorkDescription&) const override {}
        std::uint32_t GetId() const override { return 4; }

    private:
        Race& Owner;
        int CallsAtStart;
    };

    static Plan Draw(std::mt19937& random)
    {
        Plan plan;
        const std::uint32_t bits = random();
        plan.Completes = static_cast<Plan::Completion>(bits % 3);
        plan.CancelBy = static_cast<std::uint8_t>((bits >> 2) % 4);
        plan.NullJob = ((bits >> 4) & 7) == 0;
        plan.HonoursCancel = (bits >> 7) & 1;
        plan.Fails = ((bits >> 8) & 3) == 0;
        plan.Owner = (bits >> 10) & 1;
        plan.Delay = (bits >> 11) % 64;
        return plan;
    }

    void HelperLoop(std::uint32_t runs)
    {
        for (std::uint32_t run = 1; run <= runs; ++run)
        {
            std::uint32_t ticket;
            while ((ticket = Ticket.load(std::memory_order_acquire)) != run && ticket != Stop)
            {
                std::this_thread::yield();
            }
            if (ticket == Stop)
            {
                return;
            }
            Pause(Current.Delay);
            if (Current.Completes == Plan::ByHelperEarly)
            {
                WaitForPerform();
                Complete(Current.Fails);
            }
            if (Current.CancelBy & Plan::ByHelper)
            {
                Control.Cancel();
            }
            if (Current.Completes == Plan::ByHelperLate)
            {
                WaitForPerform();
                Pause(Current.Delay);
                Complete(Current.Fails);
            }
            HelperDone.store(true, std::memory_order_release);
        }
    }

    // A completion needs the handler that Perform received; a run cancelled in advance has none and no
    // completion to wait for.
    void WaitForPerform()
    {
        while (!PerformStarted.load(std::memory_order_acquire))
        {
            if (Calls.load(std::memory_order_acquire) != CallsSeen.load(std::memory_order_acquire))
            {
                return; // finished without performing
            }
            std::this_thread::yield();
        }
    }

    void Complete(bool fail)
    {
        if (!PerformStarted.load(std::memory_order_acquire) ||
            ActionDone.exchange(true, std::memory_order_acq_rel))
        {
            return;
        }
        std::uint32_t code = fail ? Failure : 0;
        if (CancelNoted.exchange(false, std::memory_order_acq_rel))
        {
            code = Canceled;
        }
        Sent.store(code, std::memory_order_relaxed);
        Handler->Completed(code == 0 ? Common::Success
                                     : Common::Error(COMMON_LOCATION("JobControlStressTest::Action"), code));
    }

    void Check(std::uint32_t run, bool preventive, int callsBefore, int performsBefore)
    {
        SCOPED_TRACE("run " + std::to_string(run));
        // A second upper completion would come from a late event; give it the chance to show.
        std::this_thread::yield();
        ASSERT_EQ(Calls.load(), callsBefore + 1) << "one upper completion per run";
        CallsSeen.store(Calls.load(), std::memory_order_release);
        const std::uint32_t code = Code.load();
        const std::uint32_t inner = Inner.load();
        // The helper's cancel may also come before Run and cancel the run in advance.
        const bool performed = Performs.load() == performsBefore + 1;
        if (preventive || !performed)
        {
            ASSERT_TRUE(preventive || (Current.CancelBy & Plan::ByHelper) != 0) << "a run didn't perform";
            ASSERT_EQ(Performs.load(), performsBefore) << "a run cancelled in advance doesn't perform";
            ASSERT_EQ(code, Canceled);
        }
        else
        {
            const std::uint32_t sent = Sent.load();
            const bool bare = code == sent && inner == 0;
            const bool described =
                Current.Owner && sent != 0 && code == Async::ErrorCodes::JobFailed && inner == sent;
            ASSERT_TRUE(bare || described)
                << std::hex << "delivered " << code << "/" << inner << ", sent " << sent;
        }
        ASSERT_EQ(Made.load(), Released.load()) << "the job is released by the end of its run";
        ASSERT_EQ(EarlyReleases.load(), 0) << "a job was released before its handler was called";
        const std::uint32_t state = Control.GetState();
        ASSERT_TRUE(state == JobControl::StateBegin || state == JobControl::StateCancelScheduledWaitAll)
            << "state " << state;
        PerformStarted.store(false, std::memory_order_relaxed);
        CancelNoted.store(false, std::memory_order_relaxed);
    }

    JobControl Control;
    Plan Current;
    Async::ActionHandler* Handler = nullptr;
    std::atomic<std::uint32_t> Ticket{0};
    std::atomic<bool> HelperDone{false};
    std::atomic<bool> PerformStarted{false};
    std::atomic<bool> ActionDone{false};
    std::atomic<bool> CancelNoted{false};
    std::atomic<std::uint32_t> Sent{0};
    std::atomic<std::uint32_t> Code{0};
    std::atomic<std::uint32_t> Inner{0};
    std::atomic<int> Calls{0};
    std::atomic<int> CallsSeen{0};
    std::atomic<int> Performs{0};
    std::atomic<int> Made{0};
    std::atomic<int> Released{0};
    std::atomic<int> EarlyReleases{0};
};

TEST(JobControlStressTest, AMillionRacingRunsKeepEveryInvariant)
{
    Race race;
    race.Play(1000000);
}

} // namespace
