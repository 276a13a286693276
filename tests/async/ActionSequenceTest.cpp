// Sequences and cycles: how results and the two marks end a run, marks rising through nested sequences,
// cancellation of the running action and between two, runs completing on other threads, a sequence
// performed again and filled while it runs, and a million synchronous actions on a small stack.
#include "async/ActionSequence.h"

#include "ManualAction.h"
#include "async/ActionCycle.h"
#include "async/Errors.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

namespace
{

using namespace Async::ErrorCodes;
using AsyncTesting::ManualAction;
using AsyncTesting::ResultRecorder;
using Common::Error;

constexpr std::uint32_t Failure = 0x00F95601;

Error Fail(std::uint32_t code = Failure)
{
    return Error(COMMON_LOCATION("ActionSequenceTest"), code);
}

// Completes inside Perform with what Script returns for its n-th run (from 1).
class ScriptedAction final : public Async::Action
{
public:
    explicit ScriptedAction(std::function<Error(int)> script = nullptr) : Script(std::move(script)) {}
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override
    {
        const int run = ++Runs;
        handler.Completed(Script ? Script(run) : Error());
        return nullptr;
    }
    int Runs = 0;

private:
    std::function<Error(int)> Script;
};

// Ends with `result` from the n-th run on, succeeds before.
std::shared_ptr<ScriptedAction> FailsAt(int run, Error result)
{
    return std::make_shared<ScriptedAction>([run, result](int n) { return n >= run ? result : Error(); });
}

Error WithSubError(Error outer, const Error& inner)
{
    outer.SetSubError(inner);
    return outer;
}

template <typename Sequence>
Error RunToEnd(Sequence& sequence)
{
    ResultRecorder recorder;
    sequence.Perform(recorder);
    EXPECT_EQ(recorder.GetCalls(), 1);
    return recorder.Result;
}

TEST(ActionSequenceTest, EmptySequenceAndCycleCompleteWithSuccessBeforePerformReturns)
{
    Async::ActionSequence sequence;
    Async::ActionCycle cycle;
    for (Async::ActionSequence* empty : {&sequence, static_cast<Async::ActionSequence*>(&cycle)})
    {
        ResultRecorder recorder;
        EXPECT_EQ(empty->Perform(recorder), nullptr);
        EXPECT_EQ(recorder.GetCalls(), 1);
        EXPECT_EQ(recorder.Result, Common::Success);
    }
}

TEST(ActionSequenceTest, RunsInOrderAndStopsAtFailureOrSequenceMark)
{
    struct Case
    {
        const char* Name;
        Error Middle;
        std::uint32_t Expected;
        int LastRuns;
    };
    const Case cases[] = {
        {"all succeed", Error(), 0, 1},
        {"failure ends the run", Fail(), Failure, 0},
        {"sequence mark leaves with success", Async::Errors::SequenceBreak(), 0, 0},
        {"sequence mark found in the chain", WithSubError(Fail(), Async::Errors::SequenceBreak()), 0, 0},
        {"cycle mark passes a plain sequence", Async::Errors::CycleBreak(), CycleBreak, 0},
    };
    for (const Case& test : cases)
    {
        SCOPED_TRACE(test.Name);
        std::vector<int> order;
        auto first = std::make_shared<ScriptedAction>([&order](int) { return order.push_back(1), Error(); });
        auto middle = std::make_shared<ScriptedAction>([&](int) { return order.push_back(2), test.Middle; });
        auto last = std::make_shared<ScriptedAction>([&order](int) { return order.push_back(3), Error(); });
        Async::ActionSequence sequence;
        sequence.Execute(first);
        sequence.Execute(middle);
        sequence.Execute(last);
        EXPECT_EQ(RunToEnd(sequence).GetCode(), test.Expected);
        EXPECT_EQ(last->Runs, test.LastRuns);
        EXPECT_EQ(order.size(), 2u + test.LastRuns);
        EXPECT_EQ(order.front(), 1);
    }
}

TEST(ActionSequenceTest, CycleEndsWithSuccessOnItsMarkAndWithAnyOtherFailureAsItIs)
{
    Async::ActionCycle marked;
    auto counted = std::make_shared<ScriptedAction>();
    marked.Execute(counted);
    marked.Execute(FailsAt(4, WithSubError(Fail(), Async::Errors::CycleBreak())));
    EXPECT_EQ(RunToEnd(marked), Common::Success);
    EXPECT_EQ(counted->Runs, 4);

    Async::ActionCycle once;
    once.Execute(counted);
    once.Execute(Async::CycleBreakAction());
    EXPECT_EQ(RunToEnd(once), Common::Success);
    EXPECT_EQ(counted->Runs, 5);

    Async::ActionCycle failing;
    failing.Execute(FailsAt(3, Fail()));
    EXPECT_EQ(RunToEnd(failing).GetCode(), Failure);
}

TEST(ActionSequenceTest, SequenceMarkEndsOnlyTheInnerSequenceAndCycleMarkRisesToTheCycle)
{
    // The cycle: an inner sequence left by its mark each round, then a plain sequence whose action
    // yields the cycle mark in round 3.
    auto inner = std::make_shared<Async::ActionSequence>();
    auto before = std::make_shared<ScriptedAction>();
    auto skipped = std::make_shared<ScriptedAction>();
    inner->Execute(before);
    inner->Execute(Async::SequenceBreakAction());
    inner->Execute(skipped);
    auto breaking = std::make_shared<Async::ActionSequence>();
    breaking->Execute(FailsAt(3, Async::Errors::CycleBreak()));

    Async::ActionCycle cycle;
    cycle.Execute(inner);
    cycle.Execute(breaking);
    EXPECT_EQ(RunToEnd(cycle), Common::Success);
    EXPECT_EQ(before->Runs, 3);
    EXPECT_EQ(skipped->Runs, 0);
}

TEST(ActionSequenceTest, NullActionFailsTheRunAtItsPlace)
{
    Async::ActionSequence sequence;
    auto after = std::make_shared<ScriptedAction>();
    sequence.Execute(nullptr);
    sequence.Execute(after);
    EXPECT_EQ(RunToEnd(sequence).GetCode(), InvalidResult);
    EXPECT_EQ(after->Runs, 0);
}

TEST(ActionSequenceTest, CancelStopsTheRunningActionOrTheNextOne)
{
    for (const bool ignoreCancel : {false, true})
    {
        SCOPED_TRACE(ignoreCancel ? "cancel ignored: the next action is cancelled" : "running action");
        auto running = std::make_shared<ManualAction>();
        auto next = std::make_shared<ManualAction>();
        running->IgnoreCancel = ignoreCancel;
        Async::ActionSequence sequence;
        sequence.Execute(running);
        sequence.Execute(next);
        ResultRecorder recorder;
        const std::shared_ptr<Async::Job> job = sequence.Perform(recorder);
        ASSERT_NE(job, nullptr);
        job->Cancel();
        EXPECT_EQ(running->Cancels.load(), 1);
        if (ignoreCancel)
        {
            EXPECT_EQ(recorder.GetCalls(), 0);
            running->Complete(Error());
        }
        EXPECT_EQ(recorder.GetCalls(), 1);
        EXPECT_EQ(recorder.Result.GetCode(), Canceled);
        EXPECT_EQ(next->Performs.load(), 0);
    }
}

TEST(ActionSequenceTest, RunOutlivesSequenceAndJobAndPicksUpActionsAddedMeanwhile)
{
    auto pending = std::make_shared<ManualAction>();
    auto added = std::make_shared<ScriptedAction>();
    ResultRecorder recorder;
    {
        auto sequence = std::make_unique<Async::ActionSequence>();
        sequence->Execute(pending);
        sequence->Perform(recorder); // job dropped at once
        sequence->Execute(added);
    }
    EXPECT_TRUE(pending->Complete(Error()));
    EXPECT_EQ(recorder.GetCalls(), 1);
    EXPECT_EQ(recorder.Result, Common::Success);
    EXPECT_EQ(added->Runs, 1);
}

TEST(ActionSequenceTest, PerformedAgainRunsFromTheStartEachTime)
{
    Async::ActionSequence sequence;
    auto action = std::make_shared<ScriptedAction>();
    sequence.Execute(action);
    sequence.Execute(action);
    EXPECT_EQ(RunToEnd(sequence), Common::Success);
    EXPECT_EQ(RunToEnd(sequence), Common::Success);
    EXPECT_EQ(action->Runs, 4);
}

// Completes each run on a thread of its own, recording the order of the runs.
class ThreadedAction final : public Async::Action
{
public:
    ThreadedAction(int index, std::mutex& lock, std::vector<int>& order, std::vector<std::thread>& threads)
        : Index(index), Lock(lock), Order(order), Threads(threads)
    {
    }
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override
    {
        std::lock_guard<std::mutex> guard(Lock);
        Order.push_back(Index);
        Threads.emplace_back([&handler] { handler.Completed(Error()); });
        return nullptr;
    }

private:
    int Index;
    std::mutex& Lock;
    std::vector<int>& Order;
    std::vector<std::thread>& Threads;
};

TEST(ActionSequenceTest, ActionsCompletingOnOtherThreadsRunOneAfterAnotherInOrder)
{
    constexpr int Count = 200;
    std::mutex lock;
    std::vector<int> order, expected;
    std::vector<std::thread> threads;
    Async::ActionSequence sequence;
    for (int index = 0; index < Count; ++index)
    {
        sequence.Execute(std::make_shared<ThreadedAction>(index, lock, order, threads));
        expected.push_back(index);
    }
    struct Waiter final : Async::ActionHandler
    {
        void Completed(const Error& result) override { Done.set_value(result); }
        std::promise<Error> Done;
    } waiter;
    sequence.Perform(waiter);
    EXPECT_EQ(waiter.Done.get_future().get(), Common::Success);
    std::lock_guard<std::mutex> guard(lock);
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(order, expected);
}

TEST(ActionSequenceTest, MillionSynchronousActionsRunOnASmallStack)
{
    constexpr int Count = 1'000'000;
    struct Run
    {
        std::shared_ptr<ScriptedAction> Action = std::make_shared<ScriptedAction>();
        Async::ActionSequence Sequence;
        std::promise<Error> Done;
    } run;
    for (int index = 0; index < Count; ++index)
    {
        run.Sequence.Execute(run.Action);
    }
    const auto body = [](void* argument) -> void*
    {
        auto& run = *static_cast<Run*>(argument);
        struct Waiter final : Async::ActionHandler
        {
            explicit Waiter(std::promise<Error>& done) : Done(done) {}
            void Completed(const Error& result) override { Done.set_value(result); }
            std::promise<Error>& Done;
        } waiter(run.Done);
        run.Sequence.Perform(waiter);
        // A metronome beat may move the run to a service thread.
        run.Done.get_future().wait();
        return nullptr;
    };
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 256 * 1024);
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attributes, body, &run), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    EXPECT_EQ(run.Action->Runs, Count);
}

} // namespace
