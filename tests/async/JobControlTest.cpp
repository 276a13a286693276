// JobControl under every ordering of the events of one run. A generator writes every script of events up
// to a length; the harness plays each one with real threads, one event at a time: an event runs on its
// own thread until it returns or parks at a gate (inside Perform, inside the job's Cancel, or right after
// the control entered its finishing state), and only then does the next event start. What the upper
// handler must receive and where the control must end follow from the order alone.
#include "async/JobControl.h"

#include "async/Errors.h"
#include "common/AssertCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace
{

using Async::JobControl;
using namespace std::chrono_literals;

constexpr std::uint32_t Canceled = Async::ErrorCodes::Canceled;
constexpr std::uint32_t Failure = 0x00F95555; // what the action completes with when told to fail
constexpr std::uint32_t Thrown = 0x00F95556;  // what Perform throws

// How the job answers a cancel request.
enum class JobKind
{
    None,      // Perform returns a null job
    Honouring, // the job's Cancel completes the action at once, cancelled
    Deferring, // the job's Cancel is noted; the action completes later, cancelled
    Ignoring,  // the job's Cancel is ignored; the action completes later with its own result
};

// Scripts, one letter per event in the order they happen:
//   R  Run starts; Perform parks until P or T
//   P  Perform returns          T  Perform throws
//   i  Perform completes the action itself before it returns or throws
//   C  the action completes from another thread; c: the same, failing
//   X  Cancel from another thread (before R: the next run is cancelled in advance)
//   r  a parked finish or job Cancel goes on
// A script may start with F (the first entry into the finishing state parks there) and J (the first job
// Cancel parks inside); arming sooner or later is the same, since a park happens where its trigger is.
// After the script every parked event goes on and an action that hasn't completed completes.
std::vector<std::string> MakeScripts()
{
    struct Walk
    {
        std::string Arms;
        std::vector<std::string> Out;

        void Extend(const std::string& events)
        {
            const std::size_t run = events.find('R');
            const bool started = run != std::string::npos;
            const bool preventive = started && events.find('X') < run;
            const bool performed = events.find_first_of("PT") != std::string::npos;
            const bool threw = events.find('T') != std::string::npos;
            const bool completed = events.find_first_of("iCc") != std::string::npos;
            auto count = [&](char event) { return std::count(events.begin(), events.end(), event); };
            auto add = [&](char event) { Extend(events + event); };
            if (started && (preventive || performed))
            {
                Out.push_back(Arms + events);
            }
            if (count('X') < 2)
            {
                add('X');
            }
            if (!started)
            {
                add('R');
            }
            if (count('r') < static_cast<long>(Arms.size()))
            {
                add('r');
            }
            if (started && !preventive && !performed)
            {
                add('P');
                add('T');
                if (!completed)
                {
                    add('i');
                }
            }
            if (started && !preventive && !completed && !threw)
            {
                add('C');
                add('c');
            }
        }
    };
    std::vector<std::string> scripts;
    for (const char* arms : {"", "F", "J", "FJ"})
    {
        Walk walk{arms, {}};
        walk.Extend("");
        scripts.insert(scripts.end(), walk.Out.begin(), walk.Out.end());
    }
    return scripts;
}

// One mutex for every gate, so "all events have returned or parked" is a single condition.
class Stage
{
public:
    enum GateId
    {
        PerformGate,
        FinishGate,
        JobGate,
        GatesCount
    };

    void Enter()
    {
        std::lock_guard<std::mutex> lock(Lock);
        ++Active;
    }
    void Leave()
    {
        std::lock_guard<std::mutex> lock(Lock);
        --Active;
        Changed.notify_all();
    }
    void Park(GateId gate)
    {
        std::unique_lock<std::mutex> lock(Lock);
        Gates[gate].Parked = true;
        --Active;
        Changed.notify_all();
        Changed.wait(lock, [&] { return Gates[gate].Open; });
        Gates[gate] = {};
    }
    // Lets a parked event go on; false if none is parked there.
    bool Release(GateId gate)
    {
        std::lock_guard<std::mutex> lock(Lock);
        if (!Gates[gate].Parked || Gates[gate].Open)
        {
            return false;
        }
        Gates[gate].Open = true;
        ++Active;
        Changed.notify_all();
        return true;
    }
    bool IsParked(GateId gate)
    {
        std::lock_guard<std::mutex> lock(Lock);
        return Gates[gate].Parked && !Gates[gate].Open;
    }
    // False if some event neither returned nor parked in time: it spins or hangs.
    bool WaitQuiet()
    {
        std::unique_lock<std::mutex> lock(Lock);
        return Changed.wait_for(lock, 5s, [&] { return Active == 0; });
    }

private:
    struct GateState
    {
        bool Parked = false;
        bool Open = false;
    };
    std::mutex Lock;
    std::condition_variable Changed;
    int Active = 0;
    GateState Gates[GatesCount];
};

struct Outcome
{
    int Calls = 0;
    std::uint32_t Code = 0;
    std::uint32_t InnerCode = 0; // the sub-error's code, 0 without one
    std::uint32_t FinalState = 0;
    int Performs = 0;

    bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome)
{
    return out << "{calls " << outcome.Calls << ", code " << std::hex << outcome.Code << ", inner "
               << outcome.InnerCode << std::dec << ", state " << outcome.FinalState << ", performs "
               << outcome.Performs << "}";
}

class Harness;
std::atomic<Harness*> Playing{nullptr};

class Harness final : public Async::Action, public Async::ActionHandler, public Async::DescriptiveEntity
{
public:
    Harness(JobKind kind, bool owner, std::string script)
        : Kind(kind), Owner(owner), Script(std::move(script))
    {
    }

    ~Harness() override
    {
        for (std::thread& thread : Threads)
        {
            thread.join();
        }
    }

    // Plays the script and says what should have come out of it.
    void Play()
    {
        Playing.store(this);
        Async::Detail::SetJobControlTransitionHook(&Harness::OnTransition);
        for (const char event : Script)
        {
            Step(event);
        }
        ReleaseAll();
        if (!Preventive && !Threw && !ActionCompleted.load())
        {
            NoteCompletion();
            Launch([this] { CompleteAction(false); });
            ReleaseAll();
        }
        Async::Detail::SetJobControlTransitionHook(nullptr);
        Playing.store(nullptr);
        for (std::thread& thread : Threads)
        {
            thread.join();
        }
        Threads.clear();
    }

    Outcome Seen() const
    {
        Outcome seen = Observed;
        seen.FinalState = Control.GetState();
        seen.Performs = Performs.load();
        return seen;
    }

    Outcome Expected() const
    {
        Outcome expected;
        expected.Calls = 1;
        expected.Performs = Preventive ? 0 : 1;
        if (Preventive)
        {
            expected.Code = Canceled;
        }
        else if (Threw)
        {
            expected.Code = Async::ErrorCodes::Exception;
            expected.InnerCode = Thrown;
        }
        else
        {
            const std::uint32_t code = SentCode.load();
            const bool quick = CompletionAfterPerform && LiveCancels == 0;
            if (code != 0 && Owner && !quick)
            {
                expected.Code = Async::ErrorCodes::JobFailed;
                expected.InnerCode = code;
            }
            else
            {
                expected.Code = code;
            }
        }
        if (LateCancel)
        {
            expected.FinalState = JobControl::StateCancelScheduledWaitAll;
        }
        else if (Preventive || Threw || LiveCancels == 0)
        {
            expected.FinalState = JobControl::StateBegin;
        }
        else if (FirstLiveCancelAfterCompletion || SentCode.load() != Canceled)
        {
            // Either the cancel met a completed action that Perform hadn't returned yet, or the job
            // didn't honour it: the request stands for the next run.
            expected.FinalState = JobControl::StateCancelScheduledWaitAll;
        }
        return expected;
    }

    bool Stuck() const { return Spun; }
    bool JobReleasedEarly() const { return ReleasedBeforeHandler.load(); }
    bool JobLeaked() const { return JobsMade.load() != JobsReleased.load(); }
    int JobCancels() const { return CancelCalls.load(); }

    // Action
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override
    {
        ++Performs;
        Handler = &handler;
        Scene.Park(Stage::PerformGate);
        if (InlineCompletion)
        {
            CompleteAction(false);
        }
        if (Threw)
        {
            throw Common::Error(COMMON_LOCATION("JobControlTest::Perform"), Thrown);
        }
        if (Kind == JobKind::None)
        {
            return nullptr;
        }
        ++JobsMade;
        return std::make_shared<TestJob>(*this);
    }

    // Upper handler
    void Completed(const Common::Error& result) override
    {
        ++Observed.Calls;
        Observed.Code = result.GetCode();
        Observed.InnerCode = result.GetSubError().GetCode();
        HandlerCalled.store(true);
    }

    // Owner
    void Describe(Async::WorkDescription& out) const override
    {
        out = Async::WorkDescription(COMMON_LOCATION("JobControlTest::Describe"), u"test job");
    }
    std::uint32_t GetId() const override { return 1; }

private:
    class TestJob final : public Async::Job
    {
    public:
        explicit TestJob(Harness& harness) : Test(harness) {}
        ~TestJob() override
        {
            if (!Test.HandlerCalled.load())
            {
                Test.ReleasedBeforeHandler.store(true);
            }
            ++Test.JobsReleased;
        }
        void Cancel() override { Test.JobCancel(); }
        void Describe(Async::WorkDescription&) const override {}
        std::uint32_t GetId() const override { return 2; }

    private:
        Harness& Test;
    };

    void Step(char event)
    {
        switch (event)
        {
        case 'R':
            Started = true;
            Preventive = CancelsBeforeRun > 0;
            Launch([this] { Control.Run(*this, *this, Owner ? this : nullptr); });
            break;
        case 'P':
        case 'T':
            Threw = event == 'T';
            PerformReturned = !Threw;
            Release(Stage::PerformGate);
            break;
        case 'i':
            InlineCompletion = true;
            break;
        case 'C':
        case 'c':
            NoteCompletion();
            Launch([this, event] { CompleteAction(event == 'c'); });
            break;
        case 'X':
            NoteCancel();
            Launch([this] { Control.Cancel(); });
            break;
        case 'F':
            ParkAtFinish.store(true);
            break;
        case 'J':
            ParkInJobCancel.store(true);
            break;
        case 'r':
            if (!Release(Stage::FinishGate))
            {
                Release(Stage::JobGate);
            }
            break;
        }
    }

    void NoteCancel()
    {
        if (!Started)
        {
            ++CancelsBeforeRun;
            return;
        }
        if (HandlerCalled.load() || Scene.IsParked(Stage::FinishGate))
        {
            LateCancel = true;
            return;
        }
        if (LiveCancels++ == 0)
        {
            FirstLiveCancelAfterCompletion = ActionCompleted.load();
        }
    }

    void NoteCompletion() { CompletionAfterPerform = PerformReturned; }

    void Launch(std::function<void()> event)
    {
        Scene.Enter();
        Threads.emplace_back(
            [this, event = std::move(event)]
            {
                event();
                Scene.Leave();
            });
        Settle();
    }

    bool Release(Stage::GateId gate)
    {
        if (!Scene.Release(gate))
        {
            return false;
        }
        Settle();
        return true;
    }

    void ReleaseAll()
    {
        while (Release(Stage::FinishGate) || Release(Stage::JobGate))
        {
        }
    }

    void Settle()
    {
        if (!Scene.WaitQuiet())
        {
            Spun = true;
            // Let everything go so that the threads can be joined.
            for (int round = 0; round < 8; ++round)
            {
                Scene.Release(Stage::FinishGate);
                Scene.Release(Stage::JobGate);
                Scene.Release(Stage::PerformGate);
                std::this_thread::sleep_for(10ms);
            }
        }
    }

    void JobCancel()
    {
        ++CancelCalls;
        CancelNoted.store(true);
        if (ParkInJobCancel.exchange(false))
        {
            Scene.Park(Stage::JobGate);
        }
        if (Kind == JobKind::Honouring)
        {
            CompleteAction(false);
        }
    }

    void CompleteAction(bool fail)
    {
        if (ActionCompleted.exchange(true))
        {
            return; // an action completes once
        }
        std::uint32_t code = fail ? Failure : 0;
        if (CancelNoted.load() && Kind != JobKind::Ignoring)
        {
            code = Canceled;
        }
        SentCode.store(code);
        Handler->Completed(code == 0 ? Common::Success
                                     : Common::Error(COMMON_LOCATION("JobControlTest::Action"), code));
    }

    static void OnTransition(JobControl&, std::uint32_t, std::uint32_t to)
    {
        Harness* harness = Playing.load();
        if (to == JobControl::StateFinishing && harness != nullptr && harness->ParkAtFinish.exchange(false))
        {
            harness->Scene.Park(Stage::FinishGate);
        }
    }

    const JobKind Kind;
    const bool Owner;
    const std::string Script;
    JobControl Control;
    Stage Scene;
    std::vector<std::thread> Threads;
    Async::ActionHandler* Handler = nullptr;

    // Set by the script's thread before the event it affects starts.
    bool InlineCompletion = false;
    bool Threw = false;
    bool PerformReturned = false;
    bool Started = false;
    bool Preventive = false;
    int CancelsBeforeRun = 0;
    int LiveCancels = 0;
    bool LateCancel = false;
    bool FirstLiveCancelAfterCompletion = false;
    bool CompletionAfterPerform = false;
    bool Spun = false;

    std::atomic<bool> ParkAtFinish{false};
    std::atomic<bool> ParkInJobCancel{false};
    std::atomic<bool> CancelNoted{false};
    std::atomic<bool> ActionCompleted{false};
    std::atomic<bool> HandlerCalled{false};
    std::atomic<bool> ReleasedBeforeHandler{false};
    std::atomic<std::uint32_t> SentCode{0};
    std::atomic<int> Performs{0};
    std::atomic<int> CancelCalls{0};
    std::atomic<int> JobsMade{0};
    std::atomic<int> JobsReleased{0};
    Outcome Observed;
};

class JobControlTest : public ::testing::TestWithParam<JobKind>
{
};
std::string KindName(const ::testing::TestParamInfo<JobKind>& info)
{
    const char* names[] = {"NullJob", "HonouringAtOnce", "HonouringLater", "Ignoring"};
    return names[static_cast<int>(info.param)];
}
INSTANTIATE_TEST_SUITE_P(Jobs, JobControlTest,
                         ::testing::Values(JobKind::None, JobKind::Honouring, JobKind::Deferring,
                                           JobKind::Ignoring),
                         KindName);

TEST_P(JobControlTest, EveryOrderingOfOneRunsEvents)
{
    const std::vector<std::string> scripts = MakeScripts();
    Testing::AssertCapture asserts;
    int played = 0;
    for (const bool owner : {false, true})
    {
        for (const std::string& script : scripts)
        {
            Harness harness(GetParam(), owner, script);
            harness.Play();
            ++played;
            SCOPED_TRACE("script " + script + (owner ? " with an owner" : " without an owner"));
            ASSERT_FALSE(harness.Stuck()) << "an event neither returned nor parked";
            EXPECT_EQ(harness.Seen(), harness.Expected());
            EXPECT_FALSE(harness.JobReleasedEarly()) << "the job was released before the handler was called";
            EXPECT_FALSE(harness.JobLeaked());
            EXPECT_LE(harness.JobCancels(), 1);
            EXPECT_TRUE(asserts.Expressions().empty()) << "the control found its state logic broken";
            if (HasFailure())
            {
                return; // the first failing script says enough
            }
        }
    }
    EXPECT_GT(played, 1000);
}

} // namespace
