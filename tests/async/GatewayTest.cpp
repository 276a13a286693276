// The gateway: who enters and who waits, the order of a queue of exclusive and shared requests, the closed
// gateway, cancelling a waiting request or one that has just been let in, a handler that blocks, a long
// chain of waiters releasing inside their handlers on a small stack, and readers and writers on threads.
#include "async/Gateway.h"

#include "HookedService.h"
#include "ManualAction.h"
#include "SmallStack.h"
#include "async/Errors.h"
#include "async/TailRecursionController.h"
#include "common/AssertCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

namespace
{

using Async::Gateway;
using Flag = std::unique_ptr<Gateway::Flag>;

// One request: performed at construction, its handler records the completion.
struct Passage
{
    Passage(Gateway& gateway, bool exclusive)
        : Action(exclusive ? gateway.GetExclusive(Slot) : gateway.GetShared(Slot)),
          Job(Action->Perform(Recorder))
    {
    }
    bool Entered() const
    {
        return Recorder.GetCalls() == 1 && Recorder.Result.GetCode() == 0 && Slot != nullptr;
    }
    bool Waiting() const { return Recorder.GetCalls() == 0 && Slot == nullptr; }
    bool Cancelled() const
    {
        return Recorder.GetCalls() == 1 && Recorder.Result.GetCode() == Async::ErrorCodes::Canceled &&
               Slot == nullptr;
    }
    void Release() { Slot->Release(); }

    Flag Slot;
    AsyncTesting::ResultRecorder Recorder;
    std::unique_ptr<Async::Action> Action;
    std::shared_ptr<Async::Job> Job;
};

TEST(GatewayTest, SharedPassagesShareUntilAnExclusiveRequestWaitsAndThoseBehindItEnterTogether)
{
    Testing::AssertCapture asserts;
    Gateway gateway;
    Passage first(gateway, false);
    Passage second(gateway, false); // a shared passage is held and nobody waits
    ASSERT_TRUE(first.Entered());
    ASSERT_TRUE(second.Entered());

    Passage writer(gateway, true);
    Passage third(gateway, false); // behind a waiting writer, though only readers hold the gate
    Passage fourth(gateway, false);
    EXPECT_TRUE(writer.Waiting());
    EXPECT_TRUE(third.Waiting());

    first.Release();
    EXPECT_TRUE(writer.Waiting());
    second.Release();
    ASSERT_TRUE(writer.Entered());
    EXPECT_TRUE(third.Waiting());
    EXPECT_TRUE(fourth.Waiting());

    writer.Release();
    EXPECT_TRUE(third.Entered());
    EXPECT_TRUE(fourth.Entered());
    Passage late(gateway, true);
    third.Release();
    EXPECT_TRUE(late.Waiting());
    fourth.Release();
    EXPECT_TRUE(late.Entered());
    EXPECT_TRUE(asserts.Expressions().empty());
}

TEST(GatewayTest, ClosedGatewayLetsWaitersInOneTurnAtATimeInArrivalOrder)
{
    Testing::AssertCapture asserts;
    Flag closing;
    auto gateway = std::make_unique<Gateway>(closing);
    ASSERT_NE(closing, nullptr);
    std::vector<std::unique_ptr<Passage>> queue;
    for (bool exclusive : {true, false, true, false, false})
    {
        queue.push_back(std::make_unique<Passage>(*gateway, exclusive));
    }
    // The waiters and their flags outlive the gateway object.
    gateway.reset();
    const auto entered = [&queue]
    {
        std::vector<bool> state;
        for (const auto& passage : queue)
        {
            state.push_back(passage->Entered());
        }
        return state;
    };
    EXPECT_EQ(entered(), std::vector<bool>({false, false, false, false, false}));

    closing.reset(); // destroying a flag releases it
    EXPECT_EQ(entered(), std::vector<bool>({true, false, false, false, false}));
    queue[0]->Release();
    queue[0]->Release(); // a second release gives nothing back
    EXPECT_EQ(entered(), std::vector<bool>({true, true, false, false, false}));
    queue[1]->Release();
    EXPECT_EQ(entered(), std::vector<bool>({true, true, true, false, false}));
    queue[2]->Slot.reset();
    EXPECT_EQ(entered(), std::vector<bool>({true, true, false, true, true}));
    EXPECT_TRUE(asserts.Expressions().empty());
}

TEST(GatewayTest, CancellingAWaitingRequestCompletesItAtOnceAndItsTurnPassesOn)
{
    Testing::AssertCapture asserts;
    Gateway gateway;
    Passage holder(gateway, true);
    Passage next(gateway, true);
    Passage cancelled(gateway, true);
    Passage reader(gateway, false);

    cancelled.Job->Cancel();
    cancelled.Job->Cancel();
    ASSERT_TRUE(cancelled.Cancelled());
    EXPECT_STREQ(cancelled.Recorder.Result.GetLineTag().Function,
                 "Async::Detail::GatewayLogic::CaptureRequest::Cancel");
    EXPECT_TRUE(next.Waiting());
    EXPECT_TRUE(reader.Waiting());

    holder.Release();
    ASSERT_TRUE(next.Entered());
    next.Job->Cancel(); // too late: the passage stays held
    EXPECT_TRUE(next.Entered());
    EXPECT_TRUE(reader.Waiting());

    next.Release(); // the cancelled request's turn gives the passage back at once
    EXPECT_TRUE(reader.Entered());
    EXPECT_EQ(cancelled.Recorder.GetCalls(), 1);

    Async::WorkDescription exclusive, shared;
    cancelled.Job->Describe(exclusive);
    reader.Job->Describe(shared);
    EXPECT_EQ(exclusive.Text, u"ASYNC: Gateway get exclusive passage job.");
    EXPECT_EQ(shared.Text, u"ASYNC: Gateway get shared passage job.");
    EXPECT_STREQ(shared.Location.Function, "Async::Detail::GatewayLogic::CaptureRequest::Describe");
    EXPECT_TRUE(asserts.Expressions().empty());
}

TEST(GatewayTest, RequestCancelledAfterItWasLetInButBeforeItsHandlerGivesThePassageBack)
{
    Testing::AssertCapture asserts;
    Testing::HookedService service;
    Gateway gateway;
    Passage holder(gateway, true);
    Passage victim(gateway, true);
    Passage reader(gateway, false);
    // Inside the loop's round (its detachment is on top) the only callback pushed is the hand-over's own
    // scope: the waiter has been let in and is about to be told.
    bool armed = true;
    int callsAtCancel = -1;
    service.OnPush = [&](Async::SynchronizationCallback&)
    {
        Async::SynchronizationCallback* top = service.GetSynchronizationCallbackStorage().GetTop();
        if (armed && dynamic_cast<Async::TailRecursionController::ProcessingDetachment*>(top) != nullptr)
        {
            armed = false;
            callsAtCancel = victim.Recorder.GetCalls();
            victim.Job->Cancel();
        }
    };

    holder.Release();
    service.OnPush = nullptr;
    EXPECT_EQ(callsAtCancel, 0);
    EXPECT_TRUE(victim.Cancelled());
    EXPECT_TRUE(reader.Entered());
    Passage writer(gateway, true);
    reader.Release();
    EXPECT_TRUE(writer.Entered());
    EXPECT_TRUE(asserts.Expressions().empty());
}

// Tells the test that it has entered, and waits until the test let it go.
struct BlockingWaiter final : Async::ActionHandler
{
    void Completed(const Common::Error&) override
    {
        Async::NotifySynchronization(); // what a thread does before it blocks
        NextEntered = Next.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    }
    std::future<void> Next;
    bool NextEntered = false;
};

struct SignallingWaiter final : Async::ActionHandler
{
    void Completed(const Common::Error&) override { Entered.set_value(); }
    std::promise<void> Entered;
};

TEST(GatewayTest, HandlerThatBlocksLetsTheNextSharedWaiterInFromAServiceThread)
{
    Flag closing, blockingSlot, nextSlot;
    Gateway gateway(closing);
    BlockingWaiter blocking;
    SignallingWaiter next;
    blocking.Next = next.Entered.get_future();
    const auto blockingAction = gateway.GetShared(blockingSlot);
    const auto nextAction = gateway.GetShared(nextSlot);
    const auto blockingJob = blockingAction->Perform(blocking);
    const auto nextJob = nextAction->Perform(next);

    closing->Release();
    EXPECT_TRUE(blocking.NextEntered);
    EXPECT_NE(blockingSlot, nullptr);
    EXPECT_NE(nextSlot, nullptr);
}

// Releases its passage inside its handler, so the next waiter is let in from inside the hand-over.
struct ReleasingWaiter final : Async::ActionHandler
{
    void Completed(const Common::Error&) override
    {
        {
            // Shared waiters may overlap if the chain moves to a service thread.
            std::lock_guard<std::mutex> guard(*Lock);
            Order->push_back(Index);
        }
        Slot->Release();
        if (Last != nullptr)
        {
            Last->set_value();
        }
    }
    Flag Slot;
    std::mutex* Lock = nullptr;
    std::vector<int>* Order = nullptr;
    int Index = 0;
    std::promise<void>* Last = nullptr;
};

TEST(GatewayTest, LongChainOfWaitersReleasingInsideTheirHandlersRunsOnAFlatStack)
{
    constexpr int Count = 100'000;
    Testing::AssertCapture asserts;
    Flag closing;
    Gateway gateway(closing);
    std::mutex lock;
    std::vector<int> order;
    order.reserve(Count);
    std::promise<void> done;
    std::vector<ReleasingWaiter> waiters(Count);
    std::vector<std::unique_ptr<Async::Action>> actions;
    std::vector<std::shared_ptr<Async::Job>> jobs;
    for (int index = 0; index < Count; ++index)
    {
        ReleasingWaiter& waiter = waiters[index];
        waiter.Lock = &lock;
        waiter.Order = &order;
        waiter.Index = index;
        waiter.Last = index + 1 == Count ? &done : nullptr;
        // Alternate runs of shared and exclusive waiters.
        actions.push_back(index % 3 == 0 ? gateway.GetExclusive(waiter.Slot)
                                         : gateway.GetShared(waiter.Slot));
        jobs.push_back(actions.back()->Perform(waiter));
    }
    Testing::RunOnSmallStack(
        [&]
        {
            closing->Release();
            done.get_future().wait(); // a metronome beat may move the chain to a service thread
        });
    // Everyone entered once, and an exclusive waiter came after all before it and before all after it.
    ASSERT_EQ(order.size(), std::size_t(Count));
    std::vector<bool> seen(Count);
    for (int position = 0; position < Count; ++position)
    {
        ASSERT_FALSE(seen[order[position]]);
        seen[order[position]] = true;
        if (order[position] % 3 == 0)
        {
            ASSERT_EQ(order[position], position);
        }
    }
    EXPECT_TRUE(asserts.Expressions().empty());
}

// Waits on its own thread for the completion of one request at a time.
struct ThreadWaiter final : Async::ActionHandler
{
    void Completed(const Common::Error& result) override
    {
        Result = result;
        Done.store(1, std::memory_order_release);
        Done.notify_one();
    }
    void Wait()
    {
        Done.wait(0, std::memory_order_acquire);
        Done.store(0, std::memory_order_relaxed);
    }
    Common::Error Result;
    std::atomic<int> Done{0};
};

TEST(GatewayTest, ReadersAndWritersOnManyThreadsNeverOverlapAWriter)
{
    constexpr int Threads = 4;
    constexpr int Rounds = 3000;
    Testing::AssertCapture asserts;
    Gateway gateway;
    std::atomic<int> readers{0}, writers{0}, overlaps{0}, entries{0}, cancels{0};
    const auto body = [&](int seed)
    {
        ThreadWaiter waiter;
        for (int round = 0; round < Rounds; ++round)
        {
            const bool exclusive = (round + seed) % 4 == 0;
            Flag slot;
            const auto action = exclusive ? gateway.GetExclusive(slot) : gateway.GetShared(slot);
            const auto job = action->Perform(waiter);
            if (round % 7 == seed)
            {
                job->Cancel(); // races the hand-over: either result is fine, a lost passage is not
            }
            waiter.Wait();
            if (waiter.Result.GetCode() != 0)
            {
                overlaps += slot != nullptr;
                ++cancels;
                continue;
            }
            ++entries;
            if (exclusive)
            {
                overlaps += writers.fetch_add(1) != 0 || readers.load() != 0;
                std::this_thread::yield();
                writers.fetch_sub(1);
            }
            else
            {
                readers.fetch_add(1);
                overlaps += writers.load() != 0;
                std::this_thread::yield();
                readers.fetch_sub(1);
            }
            slot->Release();
        }
    };
    std::vector<std::thread> threads;
    for (int seed = 0; seed < Threads; ++seed)
    {
        threads.emplace_back(body, seed);
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(overlaps.load(), 0);
    EXPECT_EQ(entries.load() + cancels.load(), Threads * Rounds);
    Passage after(gateway, true); // nothing was left held
    EXPECT_TRUE(after.Entered());
    EXPECT_TRUE(asserts.Expressions().empty());
}

} // namespace
