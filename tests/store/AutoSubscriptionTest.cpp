// Feeds of auto subscriptions against the memory store: the opening report with and without a report
// reader, an empty opening, Stop waiting for a running reader function, the end of a feed at its
// completion handler or in the trace, the subscribed handler, and starting again.
#include "dml/AutoSubscription.h"

#include "FeedTesting.h"
#include "dml/Errors.h"
#include "dml/NullSubscriptionReader.h"
#include "dml/SpecWriters.h"
#include "runtime/EntryPoint.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace
{

using Host::Store::MemoryStore;
using Testing::Lines;

class AutoSubscriptionTest : public ::testing::Test
{
protected:
    void Add(std::uint32_t id, std::uint32_t state = 0)
    {
        ASSERT_EQ(Testing::Register(Store, Testing::MakeItem(id, state)).GetCode(), 0u);
    }
    static Dml::ViewSpec Items() { return {Testing::ClassPattern(), nullptr}; }

    MemoryStore Store;
    Testing::LoggingReaders Readers;
};

TEST_F(AutoSubscriptionTest, WithoutAReportReaderTheReportArrivesAsCreatedObjectsBeforeTheNews)
{
    Add(1);
    Add(2);
    Add(3);
    const auto feed = Dml::StartAutoSubscription(CORE_ENTRY_POINT(), Store, Items(),
                                                 static_cast<Dml::SubscriptionReader&>(Readers));
    EXPECT_TRUE(feed->IsStarted());
    Add(4);
    ASSERT_EQ(Testing::UpdateState(Store, 1, 7).GetCode(), 0u);
    ASSERT_EQ(Testing::Delete(Store, 2).GetCode(), 0u);
    EXPECT_EQ(Readers.Log.WaitFor(6),
              (Lines{"created 1", "created 2", "created 3", "created 4", "updated 1 0>7", "deleted 2"}));
    feed->Stop();
    EXPECT_FALSE(feed->IsStarted());
}

TEST_F(AutoSubscriptionTest, WithAReportReaderTheReportGoesThereAndOnCreatedSeesOnlyNews)
{
    Add(1);
    Add(2);
    auto readers = std::make_shared<Testing::LoggingReaders>();
    const auto feed = Dml::StartAutoSubscription(CORE_ENTRY_POINT(), Store, Items(),
                                                 std::shared_ptr<Dml::ReportReader>(readers),
                                                 std::shared_ptr<Dml::SubscriptionReader>(readers));
    Add(3);
    EXPECT_EQ(readers->Log.WaitFor(3), (Lines{"report 1", "report 2", "created 3"}));
}

TEST_F(AutoSubscriptionTest, ALimitOfZeroOpensWithAnEmptyReportWhileNewsFlows)
{
    Add(1);
    const auto feed = Dml::StartAutoSubscription(CORE_ENTRY_POINT(), Store, Dml::Query::WithLimit(Items(), 0),
                                                 Readers, Readers);
    Add(2);
    ASSERT_EQ(Testing::UpdateState(Store, 1, 3).GetCode(), 0u);
    EXPECT_EQ(Readers.Log.WaitFor(2), (Lines{"created 2", "updated 1 0>3"}));
}

// Blocks in its first OnCreated until released.
struct BlockingReader final : Dml::NullSubscriptionReader
{
    using Dml::NullSubscriptionReader::OnCreated;
    void OnCreated(const Por::View::Unit&) override
    {
        ++Calls;
        Entered.Set();
        Release.Wait();
        Returned = true;
    }
    Common::Event Entered{true, false};
    Common::Event Release{true, false};
    std::atomic<bool> Returned{false};
    std::atomic<int> Calls{0};
};

TEST_F(AutoSubscriptionTest, StopFromAnotherThreadReturnsOnlyAfterTheRunningReaderFunctionHasReturned)
{
    BlockingReader reader;
    const auto feed = Dml::MakeAutoSubscription(CORE_ENTRY_POINT(), Store, Items(), reader);
    feed->Start();
    Add(1);
    reader.Entered.Wait();

    std::atomic<bool> stopped{false};
    bool returnedBeforeStop = false;
    std::thread stopper(
        [&]
        {
            feed->Stop();
            returnedBeforeStop = reader.Returned;
            stopped = true;
        });
    // Time for Stop to get under way; whatever the timing, it must not return while the reader runs.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(stopped);
    reader.Release.Set();
    stopper.join();
    EXPECT_TRUE(returnedBeforeStop);
    EXPECT_FALSE(feed->IsStarted());
    EXPECT_EQ(reader.Calls, 1);
}

TEST_F(AutoSubscriptionTest, StopWithoutAStartReturnsAtOnceAndDestroyingARunningFeedStopsIt)
{
    auto done = std::make_shared<Testing::ResultHandler>();
    auto feed = Dml::MakeAutoSubscription(CORE_ENTRY_POINT(), Store, Items(), Readers, Readers);
    feed->SetCompletionHandler(done);
    feed->Stop();
    feed->Stop();
    EXPECT_FALSE(feed->IsStarted());
    EXPECT_EQ(done->GetCalls(), 0);

    feed->Start();
    feed.reset();
    ASSERT_EQ(done->GetCalls(), 1);
    EXPECT_TRUE(Async::Errors::HasCode(done->GetResult(), Async::ErrorCodes::Canceled));
}

TEST_F(AutoSubscriptionTest, AnInjectedReadNewsFailureEndsTheFeedAtItsCompletionHandlerAndStartOpensAnew)
{
    Add(1);
    auto done = std::make_shared<Testing::ResultHandler>();
    auto subscribed = std::make_shared<Testing::ResultHandler>();
    const auto feed = Dml::MakeAutoSubscription(CORE_ENTRY_POINT(), Store, Items(), Readers);
    feed->SetCompletionHandler(done);
    feed->SetSubscribedHandler(subscribed);
    Store.FailNextReadNews(
        Dml::Errors::MakeCustomStoreFailed(COMMON_LOCATION("AutoSubscriptionTest"), u"news"));
    feed->Start();
    ASSERT_TRUE(done->WaitFor());
    EXPECT_TRUE(Async::Errors::HasCode(done->GetResult(), Dml::ErrorCodes::CustomStoreFailed));
    EXPECT_EQ(subscribed->GetCalls(), 1);
    EXPECT_EQ(subscribed->GetResult().GetCode(), 0u);
    EXPECT_TRUE(feed->IsStarted());

    // The dead feed stays dead: news waits for a new start, which reports the object again.
    Add(2);
    EXPECT_EQ(Readers.Log.Get(), Lines{"created 1"});
    feed->Start();
    Add(3);
    EXPECT_EQ(Readers.Log.WaitFor(4), (Lines{"created 1", "created 1", "created 2", "created 3"}));
    EXPECT_EQ(subscribed->GetCalls(), 2);
    feed->Stop();
    ASSERT_EQ(done->GetCalls(), 2);
    EXPECT_TRUE(Async::Errors::HasCode(done->GetResult(), Async::ErrorCodes::Canceled));

    // A start after a stop is not cancelled by that stop.
    feed->Start();
    Add(4);
    EXPECT_EQ(Readers.Log.WaitFor(8).back(), "created 4");
}

// Appends its name to a shared list when completed, with the result.
struct NamedHandler final : Async::ActionHandler
{
    NamedHandler(const char* name, std::vector<std::pair<std::string, Common::Error>>& order)
        : Name(name), Order(order)
    {
    }
    void Completed(const Common::Error& result) override { Order.emplace_back(Name, result); }
    std::string Name;
    std::vector<std::pair<std::string, Common::Error>>& Order;
};

TEST_F(AutoSubscriptionTest, TheSubscribedHandlerIsToldOfAFailedOpeningBeforeTheFeedEnds)
{
    Add(1);
    Por::Unit unknown = Por::Unit::Composite();
    unknown["State"].SetDefault(0u).SetTrait("NoSuchOperator", 1u);
    std::vector<std::pair<std::string, Common::Error>> order;
    const auto feed = Dml::MakeAutoSubscription(CORE_ENTRY_POINT(), Store,
                                                Dml::ViewSpec{unknown.Result(), nullptr}, Readers);
    feed->SetSubscribedHandler(std::make_shared<NamedHandler>("subscribed", order));
    feed->SetCompletionHandler(std::make_shared<NamedHandler>("completed", order));
    feed->Start();
    feed->Stop();
    ASSERT_EQ(order.size(), 2u);
    EXPECT_EQ(order[0].first, "subscribed");
    EXPECT_EQ(order[1].first, "completed");
    EXPECT_TRUE(Async::Errors::HasCode(order[0].second, 0x00FA000E));
    EXPECT_TRUE(Async::Errors::HasCode(order[1].second, 0x00FA000E));
    EXPECT_TRUE(Readers.Log.Get().empty());
}

struct TraceCase
{
    const char* Name;
    std::uint32_t Cause; // chained under the injected failure; 0 for none
    int Level;
};

TEST_F(AutoSubscriptionTest, WithoutACompletionHandlerAFailureIsTracedAtItsLevelAndACancelNotAtAll)
{
    constexpr std::uint32_t Injected = 0x011A0077;
    const TraceCase cases[] = {
        {"plain failure", 0, 4},
        {"barrier mark in the chain", Async::ErrorCodes::BarrierMark, 1},
        {"0x00F90017 in the chain", 0x00F90017, 1},
    };
    for (const TraceCase& item : cases)
    {
        SCOPED_TRACE(item.Name);
        Testing::ErrorTraces traces;
        Common::Error failure(COMMON_LOCATION("AutoSubscriptionTest"), Injected);
        if (item.Cause != 0)
        {
            failure.SetSubError(Common::Error(COMMON_LOCATION("AutoSubscriptionTest"), item.Cause));
        }
        auto subscribed = std::make_shared<Testing::ResultHandler>();
        const auto feed = Dml::MakeAutoSubscription(CORE_ENTRY_POINT(), Store, Items(), Readers);
        feed->SetSubscribedHandler(subscribed);
        Store.FailNextReadNews(failure);
        feed->Start();
        ASSERT_TRUE(subscribed->WaitFor());
        // The failed read ends the job whether or not the cancel of Stop comes first.
        feed->Stop();
        EXPECT_EQ(traces.LevelsOf(Injected), std::vector<int>{item.Level});
    }

    Testing::ErrorTraces traces;
    const auto feed = Dml::StartAutoSubscription(CORE_ENTRY_POINT(), Store, Items(), Readers);
    feed->Stop();
    EXPECT_TRUE(traces.LevelsOf(Async::ErrorCodes::Canceled).empty());
}

} // namespace
