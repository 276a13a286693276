// The asynchronous form of feeds against the memory store: notifications as actions in order, a consumer
// that refuses the second action, a reader whose action fails on the second object, and the asynchronous
// auto subscription from report to news and to its end.
#include "dml/AsyncSubscription.h"

#include "FeedTesting.h"
#include "async/ActionConsumer.h"
#include "async/Synchronizer.h"
#include "dml/AutoSubscription.h"
#include "dml/Errors.h"
#include "dml/NewsActions.h"
#include "dml/Subscription.h"
#include "dml/SubscriptionActionReader.h"
#include "dml/SubscriptionActions.h"
#include "por/UnitFactory.h"
#include "runtime/EntryPoint.h"

#include <gtest/gtest.h>

namespace
{

using Host::Store::MemoryStore;
using Testing::Lines;

class AsyncSubscriptionTest : public ::testing::Test
{
protected:
    void Add(std::uint32_t id, std::uint32_t state = 0)
    {
        ASSERT_EQ(Testing::Register(Store, Testing::MakeItem(id, state)).GetCode(), 0u);
    }
    static Dml::ViewSpec Items() { return {Testing::ClassPattern(), nullptr}; }

    MemoryStore Store;
    Testing::AsyncLoggingReaders Readers;
};

// Keeps the actions it takes; refuses the one numbered RefuseAt.
struct RefusingConsumer final : Async::ActionConsumer
{
    Common::Error Consume(std::shared_ptr<Async::Action> action) override
    {
        if (++Offered == RefuseAt)
        {
            return Refusal;
        }
        Taken.push_back(std::move(action));
        return Common::Success;
    }
    static inline const Common::Error Refusal{COMMON_LOCATION("RefusingConsumer"), 0x011A0051};
    int RefuseAt = 2;
    int Offered = 0;
    std::vector<std::shared_ptr<Async::Action>> Taken;
};

TEST_F(AsyncSubscriptionTest, AConsumerRefusingTheSecondActionEndsTheReadWithItsCauseAndSeesNoThird)
{
    const auto subscription = Testing::Subscribe(Store, Testing::ClassPattern(), nullptr);
    Add(1);
    Add(2);
    Add(3);
    Dml::AsyncSubscriptionImpl::SubscriptionActionReader adapter(*subscription, Por::GetUnitFactory(),
                                                                 Readers);
    RefusingConsumer consumer;
    Testing::ResultHandler done;
    adapter.Read(consumer, done);
    ASSERT_TRUE(done.WaitFor());
    const Common::Error result = done.GetResult();
    EXPECT_EQ(result.GetCode(), Dml::ErrorCodes::General);
    EXPECT_EQ(result.GetMessage(), u"Async action consumer failed to handle action.");
    EXPECT_EQ(result.GetSubError().GetCode(), RefusingConsumer::Refusal.GetCode());
    EXPECT_EQ(consumer.Offered, 2);
    // Nothing runs before the consumer starts it; the taken action is bound to the first object.
    EXPECT_TRUE(Readers.Log.Get().empty());
    ASSERT_EQ(consumer.Taken.size(), 1u);
    Async::Perform(*consumer.Taken[0]);
    EXPECT_EQ(Readers.Log.Get(), Lines{"created 1"});

    // A later round of the same job ends the stream without reading the store again.
    Testing::ResultHandler again;
    EXPECT_EQ(adapter.Read(consumer, again), nullptr);
    EXPECT_EQ(again.GetCalls(), 1);
    EXPECT_EQ(again.GetResult().GetCode(), 0u);
    EXPECT_EQ(consumer.Offered, 2);
}

TEST_F(AsyncSubscriptionTest, ReadNewsRunsTheActionsInOrderAndStopsAtTheFirstFailingOne)
{
    auto report = std::make_shared<Testing::AsyncLoggingReaders>();
    Add(1);
    std::unique_ptr<Dml::AsyncSubscription> subscription;
    Dml::Actions::AsyncSubscribe subscribe(CORE_ENTRY_POINT(), Items(), report, subscription, Store,
                                           Por::GetUnitFactory());
    Async::Perform(subscribe);
    ASSERT_NE(subscription, nullptr);
    ASSERT_NE(subscription->GetSubscriptionSlot(), nullptr);
    EXPECT_EQ(report->Log.Get(), Lines{"report 1"});

    Add(2);
    ASSERT_EQ(Testing::UpdateState(Store, 1, 4).GetCode(), 0u);
    ASSERT_EQ(Testing::Delete(Store, 2).GetCode(), 0u);
    Dml::Actions::AsyncReadNews read(*subscription, Readers);
    Async::Perform(read);
    EXPECT_EQ(Readers.Log.Get(), (Lines{"created 2", "updated 1 0>4", "deleted 2"}));

    Readers.FailAt = 4;
    Add(3);
    Add(4);
    Add(5);
    try
    {
        Async::Perform(read);
        ADD_FAILURE() << "the read succeeded";
    }
    catch (const Common::Error& error)
    {
        EXPECT_TRUE(Async::Errors::HasCode(error, Testing::AsyncLoggingReaders::Failure.GetCode()));
    }
    EXPECT_EQ(Readers.Log.Get(),
              (Lines{"created 2", "updated 1 0>4", "deleted 2", "created 3", "created 4"}));

    Dml::AsyncSubscription empty(nullptr, Por::GetUnitFactory());
    Testing::ResultHandler done;
    empty.ReadNews(Readers, done);
    EXPECT_EQ(done.GetResult().GetCode(), Dml::ErrorCodes::NullPointer);
}

TEST_F(AsyncSubscriptionTest, AnAsynchronousFeedReportsNewsAndEndsAtTheFirstFailingAction)
{
    Add(1);
    Add(2);
    auto done = std::make_shared<Testing::ResultHandler>();
    const auto feed = Dml::MakeAutoSubscription(CORE_ENTRY_POINT(), Store, Items(),
                                                static_cast<Dml::AsyncReportReader&>(Readers),
                                                static_cast<Dml::AsyncSubscriptionReader&>(Readers));
    feed->SetCompletionHandler(done);
    Readers.FailAt = 4;
    feed->Start();
    Add(3);
    ASSERT_EQ(Testing::UpdateState(Store, 1, 5).GetCode(), 0u);
    ASSERT_EQ(Testing::Delete(Store, 2).GetCode(), 0u);
    EXPECT_EQ(Readers.Log.WaitFor(5),
              (Lines{"report 1", "report 2", "created 3", "updated 1 0>5", "deleted 2"}));

    Add(4);
    Add(5);
    ASSERT_TRUE(done->WaitFor());
    EXPECT_TRUE(Async::Errors::HasCode(done->GetResult(), Testing::AsyncLoggingReaders::Failure.GetCode()));
    EXPECT_EQ(Readers.Log.Get().back(), "created 4");
    EXPECT_EQ(Readers.Log.Get().size(), 6u);
}

TEST_F(AsyncSubscriptionTest, AnAsynchronousFeedStopsAndAFailedReportEndsIt)
{
    auto readers = std::make_shared<Testing::AsyncLoggingReaders>();
    auto done = std::make_shared<Testing::ResultHandler>();
    {
        const auto feed = Dml::StartAutoSubscription(CORE_ENTRY_POINT(), Store, Items(),
                                                     std::shared_ptr<Dml::AsyncReportReader>(readers),
                                                     std::shared_ptr<Dml::AsyncSubscriptionReader>(readers));
        feed->SetCompletionHandler(done);
        Add(1);
        EXPECT_EQ(readers->Log.WaitFor(1), Lines{"created 1"});
    }
    ASSERT_EQ(done->GetCalls(), 1);
    EXPECT_TRUE(Async::Errors::HasCode(done->GetResult(), Async::ErrorCodes::Canceled));

    readers->FailAt = 1;
    auto failed = std::make_shared<Testing::ResultHandler>();
    const auto feed = Dml::MakeAutoSubscription(CORE_ENTRY_POINT(), Store, Items(),
                                                std::shared_ptr<Dml::AsyncReportReader>(readers),
                                                std::shared_ptr<Dml::AsyncSubscriptionReader>(readers));
    feed->SetCompletionHandler(failed);
    feed->Start();
    ASSERT_TRUE(failed->WaitFor());
    EXPECT_TRUE(Async::Errors::HasCode(failed->GetResult(), Testing::AsyncLoggingReaders::Failure.GetCode()));
    EXPECT_EQ(readers->Log.Get(), (Lines{"created 1", "report 1"}));
}

} // namespace
