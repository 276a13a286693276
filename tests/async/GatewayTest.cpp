// The gateway: who enters and who waits, the turns of a queue of exclusive and shared requests, the closed
// gateway, cancelling a waiting request or one just let in, a handler that blocks, a long chain of
// waiters releasing inside their handlers on a small stack, and readers and writers on threads.
#include "async/Gateway.h"

#include "HookedService.h"
#include "ManualAction.h"
#include "ThreadHelpers.h"
#include "async/Errors.h"
#include "async/TailRecursionController.h"
#include "common/AssertCapture.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

namespace
{

using Async::Gateway;
using Flag = std::unique_ptr<Gateway::Flag>;

// One request, performed at construction.
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
    bool Cancelled() const
    {
        return Recorder.GetCalls() == 1 && Recorder.Result.GetCode() == Async::ErrorCodes::Canceled && !Slot;
    }

    Flag Slot;
    AsyncTesting::ResultRecorder Recorder;
    std::unique_ptr<Async::Action> Action;
    std::shared_ptr<Async::Job> Job;
};

// No test may find the gateway's logic broken.
class GatewayTest : public ::testing::Test
{
protected:
    void TearDown() override { EXPECT_TRUE(Asserts.Expressions().empty()); }
    Testing::AssertCapture Asserts;
};

TEST_F(GatewayTest, SharedPassagesShareUntilAnExclusiveRequestWaitsAndThoseBehindItEnterTogether)
{
    Gateway gateway;
    Passage first(gateway, false), second(gateway, false); // shared held, nobody waits: enters
    Passage writer(gateway, true), third(gateway, false), fourth(gateway, false);
    ASSERT_TRUE(first.Entered() && second.Entered());
    EXPECT_FALSE(writer.Entered() || third.Entered()); // behind a waiting writer though readers hold it

    first.Slot->Release();
    EXPECT_FALSE(writer.Entered());
    second.Slot->Release();
    ASSERT_TRUE(writer.Entered());
    EXPECT_FALSE(third.Entered() || fourth.Entered());
    writer.Slot->Release();
    EXPECT_TRUE(third.Entered() && fourth.Entered());
}

TEST_F(GatewayTest, ClosedGatewayLetsWaitersInOneTurnAtATimeInArrivalOrder)
{
    Flag closing;
    auto gateway = std::make_unique<Gateway>(closing);
    ASSERT_NE(closing, nullptr);
    std::vector<std::unique_ptr<Passage>> queue;
    for (bool exclusive : {true, false, true, false, false})
    {
        queue.push_back(std::make_unique<Passage>(*gateway, exclusive));
    }
    gateway.reset(); // requests and flags outlive the gateway object
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
    queue[0]->Slot->Release();
    queue[0]->Slot->Release(); // a second release gives nothing back
    EXPECT_EQ(entered(), std::vector<bool>({true, true, false, false, false}));
    queue[1]->Slot.reset();
    EXPECT_EQ(entered(), std::vector<bool>({true, false, true, false, false}));
    queue[2]->Slot.reset();
    EXPECT_EQ(entered(), std::vector<bool>({true, false, false, true, true}));
}

TEST_F(GatewayTest, CancellingAWaitingRequestCompletesItAtOnceAndItsTurnPassesOn)
{
    Gateway gateway;
    Passage holder(gateway, true), next(gateway, true), cancelled(gateway, true), reader(gateway, false);
    cancelled.Job->Cancel();
    cancelled.Job->Cancel();
    ASSERT_TRUE(cancelled.Cancelled());
    EXPECT_STREQ(cancelled.Recorder.Result.GetLineTag().Function,
                 "Async::Detail::GatewayLogic::CaptureRequest::Cancel");

    holder.Slot->Release();
    ASSERT_TRUE(next.Entered());
    next.Job->Cancel(); // too late: the passage stays held
    EXPECT_FALSE(reader.Entered());
    next.Slot->Release(); // the cancelled request's turn gives the passage back at once
    EXPECT_TRUE(reader.Entered());
    EXPECT_TRUE(next.Entered() && cancelled.Cancelled());

    Async::WorkDescription exclusive, shared;
    cancelled.Job->Describe(exclusive);
    reader.Job->Describe(shared);
    EXPECT_EQ(exclusive.Text, u"ASYNC: Gateway get exclusive passage job.");
    EXPECT_EQ(shared.Text, u"ASYNC: Gateway get shared passage job.");
}

TEST_F(GatewayTest, RequestCancelledAfterItWasLetInButBeforeItsHandlerGivesThePassageBack)
{
    Testing::HookedService service;
    Gateway gateway;
    Passage holder(gateway, true), victim(gateway, true), reader(gateway, false);
    // Within a round of the loop (its detachment on top) the one callback pushed is the hand-over's scope:
    // the waiter has been let in and is about to be told.
    int callsAtCancel = -1;
    service.OnPush = [&](Async::SynchronizationCallback&)
    {
        auto* top = service.GetSynchronizationCallbackStorage().GetTop();
        if (callsAtCancel < 0 && dynamic_cast<Async::TailRecursionController::ProcessingDetachment*>(top))
        {
            callsAtCancel = victim.Recorder.GetCalls();
            victim.Job->Cancel();
        }
    };
    holder.Slot->Release();
    service.OnPush = nullptr;
    EXPECT_EQ(callsAtCancel, 0);
    EXPECT_TRUE(victim.Cancelled());
    EXPECT_TRUE(reader.Entered());
}

TEST_F(GatewayTest, HandlerThatBlocksLetsTheNextSharedWaiterInFromAServiceThread)
{
    struct Blocking final : Async::ActionHandler
    {
        void Completed(const Common::Error&) override
        {
            Async::NotifySynchronization(); // what a thread does before it blocks
            NextEntered = Next.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
        }
        std::future<void> Next;
        bool NextEntered = false;
    } blocking;
    struct Signalling final : Async::ActionHandler
    {
        void Completed(const Common::Error&) override { Entered.set_value(); }
        std::promise<void> Entered;
    } next;
    blocking.Next = next.Entered.get_future();
    Flag closing, blockingSlot, nextSlot;
    Gateway gateway(closing);
    const auto blockingAction = gateway.GetShared(blockingSlot), nextAction = gateway.GetShared(nextSlot);
    const auto blockingJob = blockingAction->Perform(blocking), nextJob = nextAction->Perform(next);
    closing->Release();
    EXPECT_TRUE(blocking.NextEntered);
}

TEST_F(GatewayTest, LongChainOfWaitersReleasingInsideTheirHandlersRunsOnAFlatStack)
{
    constexpr int Count = 100'000;
    struct Chain
    {
        std::mutex Lock;
        std::vector<int> Order;
        std::promise<void> Done;
    } chain;
    struct Releasing final : Async::ActionHandler
    {
        void Completed(const Common::Error&) override
        {
            {
                // Shared waiters may overlap if a metronome beat moves the chain to a service thread.
                std::lock_guard<std::mutex> guard(Shared->Lock);
                Shared->Order.push_back(Index);
            }
            Slot->Release();
            if (Index + 1 == Count)
            {
                Shared->Done.set_value();
            }
        }
        Flag Slot;
        int Index = 0;
        Chain* Shared = nullptr;
    };
    Flag closing;
    Gateway gateway(closing);
    std::vector<Releasing> waiters(Count);
    std::vector<std::unique_ptr<Async::Action>> actions;
    std::vector<std::shared_ptr<Async::Job>> jobs;
    for (int index = 0; index < Count; ++index)
    {
        waiters[index].Index = index, waiters[index].Shared = &chain;
        Flag& slot = waiters[index].Slot;
        actions.push_back(index % 3 == 0 ? gateway.GetExclusive(slot) : gateway.GetShared(slot));
        jobs.push_back(actions.back()->Perform(waiters[index]));
    }
    Testing::RunOnSmallStack([&] { closing->Release(), chain.Done.get_future().wait(); });
    const std::vector<int>& order = chain.Order;

    // Everyone entered once, and an exclusive waiter after all before it and before all after it.
    ASSERT_EQ(order.size(), std::size_t(Count));
    std::vector<bool> seen(Count);
    for (int position = 0; position < Count; ++position)
    {
        ASSERT_FALSE(seen[order[position]]);
        seen[order[position]] = true;
        ASSERT_TRUE(order[position] % 3 != 0 || order[position] == position);
    }
}

TEST_F(GatewayTest, ReadersAndWritersOnManyThreadsNeverOverlapAWriter)
{
    constexpr int Threads = 4, Rounds = 3000;
    Gateway gateway;
    std::atomic<int> readers{0}, writers{0}, faults{0}, ends{0};
    const auto body = [&](int seed)
    {
        Testing::ThreadWaiter waiter;
        for (int round = 0; round < Rounds; ++round, ++ends)
        {
            const bool exclusive = (round + seed) % 4 == 0;
            Flag slot;
            const auto action = exclusive ? gateway.GetExclusive(slot) : gateway.GetShared(slot);
            const auto job = action->Perform(waiter);
            if (round % 7 == seed)
            {
                job->Cancel(); // races the hand-over: either result will do, a lost passage won't
            }
            if (waiter.Wait().GetCode() != 0)
            {
                faults += slot != nullptr;
                continue;
            }
            std::atomic<int>& mine = exclusive ? writers : readers;
            mine.fetch_add(1);
            faults += writers.load() > 1 || (writers.load() == 1 && readers.load() > 0);
            std::this_thread::yield();
            mine.fetch_sub(1);
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
    EXPECT_EQ(faults.load(), 0);
    EXPECT_EQ(ends.load(), Threads * Rounds);
    EXPECT_TRUE(Passage(gateway, true).Entered()); // nothing was left held
}

} // namespace
