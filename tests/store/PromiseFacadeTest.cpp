// The promise facade against the memory store: values before, after success and after failure of the
// action, arguments as values and as futures read at Perform, finds, reports, counts, writes, and
// subscriptions with and without their report.
#include "dml/PromiseFacade.h"

#include "FeedTesting.h"
#include "async/Synchronizer.h"
#include "dml/AsyncSubscription.h"
#include "dml/Errors.h"
#include "dml/NewsActions.h"
#include "dml/ObjectKey.h"
#include "dml/Subscription.h"
#include "runtime/EntryPoint.h"

#include <gtest/gtest.h>

namespace
{

using Host::Store::MemoryStore;
using Testing::Lines;

class PromiseFacadeTest : public ::testing::Test
{
protected:
    void Add(std::uint32_t id, std::uint32_t state = 0)
    {
        ASSERT_EQ(Testing::Register(Store, Testing::MakeItem(id, state)).GetCode(), 0u);
    }
    static Dml::ViewSpec Items() { return {Testing::ClassPattern(), nullptr}; }
    static Por::ConstUnitPtr KeyOf(std::uint32_t id)
    {
        return Por::Util::Copy(Dml::GetObjectKey(Testing::MakeItem(id, 0).Get()), Por::GetUnitFactory());
    }
    // The failure code of performing `action`, 0 for success.
    static std::uint32_t Run(Async::Action& action)
    {
        try
        {
            Async::Perform(action);
            return 0;
        }
        catch (const Common::Error& error)
        {
            return error.GetCode();
        }
    }
    static std::vector<std::uint32_t> NumbersOf(const std::vector<Por::UnitPtr>& objects)
    {
        return Testing::Numbers({objects.begin(), objects.end()});
    }
    template <class T>
    static std::uint32_t FailureOf(Async::Future<T>& value)
    {
        try
        {
            value.Get();
            return 0;
        }
        catch (const Common::Error& error)
        {
            return error.GetCode();
        }
    }

    MemoryStore Store;
    const std::shared_ptr<Dml::PromiseFacade> Facade = Dml::PromiseFacade::Create(&Store, &Store);
};

TEST_F(PromiseFacadeTest, FindByIdGivesACopyOrSucceedsEmptyAndItsValueIsThereOnlyAfterASuccess)
{
    Add(1);
    Por::ConstUnitPtr key = KeyOf(2);
    auto found = Facade->FindById(CORE_ENTRY_POINT(), Async::FutureOf(key));
    EXPECT_EQ(FailureOf(found.Value), Async::ErrorCodes::InvalidResult);
    ASSERT_EQ(Run(*found.Action), 0u);
    EXPECT_EQ(found.Value.Get(), nullptr);

    // The future argument is read at each Perform.
    key = KeyOf(1);
    ASSERT_EQ(Run(*found.Action), 0u);
    ASSERT_NE(found.Value.Get(), nullptr);
    EXPECT_EQ(Testing::NumberOf(*found.Value.Get()), 1u);

    Por::Unit unknown = Por::Unit::Composite();
    unknown["State"].SetDefault(0u).SetTrait("NoSuchOperator", 1u);
    auto report = Facade->Report(CORE_ENTRY_POINT(), Dml::ViewSpec{unknown.Result(), nullptr});
    EXPECT_EQ(Run(*report.Action), 0x00FA000Eu);
    EXPECT_EQ(FailureOf(report.Value), 0x00FA000Eu);

    key = nullptr;
    EXPECT_EQ(Run(*found.Action), Dml::ErrorCodes::NullPointer);
}

TEST_F(PromiseFacadeTest, WritesReportsAndCountsFollowEachOther)
{
    Por::ConstUnitPtr object;
    auto registered = Facade->Register(Async::FutureOf(object));
    object = Testing::MakeItem(1, 0).Result();
    ASSERT_EQ(Run(*registered.Action), 0u);
    ASSERT_EQ(Run(*Facade->Register(Testing::MakeItem(2, 0).Result()).Action), 0u);
    EXPECT_EQ(Run(*registered.Action), Dml::ErrorCodes::ObjectAlreadyExists);

    auto count = Facade->Count(CORE_ENTRY_POINT(), Items());
    ASSERT_EQ(Run(*count.Action), 0u);
    EXPECT_EQ(count.Value.Get(), 2u);
    auto report = Facade->Report(CORE_ENTRY_POINT(), Items());
    ASSERT_EQ(Run(*report.Action), 0u);
    EXPECT_EQ(NumbersOf(report.Value.Get()), (std::vector<std::uint32_t>{1, 2}));

    ASSERT_EQ(Run(*Facade->UnregisterObject(object).Action), 0u);
    ASSERT_EQ(Run(*Facade->Unregister(KeyOf(2)).Action), 0u);
    EXPECT_EQ(Run(*Facade->Unregister(KeyOf(2)).Action), Dml::ErrorCodes::ObjectNotFound);
    ASSERT_EQ(Run(*count.Action), 0u);
    EXPECT_EQ(count.Value.Get(), 0u);
}

TEST_F(PromiseFacadeTest, AMissingServiceFailsTheRunAtOnce)
{
    const auto readOnly = Dml::PromiseFacade::Create(&Store);
    auto registered = readOnly->Register(Testing::MakeItem(1, 0).Result());
    EXPECT_EQ(Run(*registered.Action), Dml::ErrorCodes::ServiceMissing);
    auto count = Dml::PromiseFacade::Create(nullptr)->Count(CORE_ENTRY_POINT(), Items());
    EXPECT_EQ(Run(*count.Action), Dml::ErrorCodes::ServiceMissing);
    EXPECT_EQ(FailureOf(count.Value), Dml::ErrorCodes::ServiceMissing);
    EXPECT_EQ(Store.GetObjectCount(), 0u);
}

TEST_F(PromiseFacadeTest, SubscribeWithoutReportYieldsNoSnapshotAndALiveFeedWhoseCreatedObjectsAreRead)
{
    Add(1);
    auto subscribed = Facade->SubscribeWithoutReport(CORE_ENTRY_POINT(), Items());
    ASSERT_EQ(Run(*subscribed.Action), 0u);
    Dml::SubscribedSnapshot held = subscribed.Value.Get();
    EXPECT_TRUE(held.Snapshot.empty());
    ASSERT_NE(held.Feed, nullptr);
    // The feed is handed out once.
    EXPECT_EQ(FailureOf(subscribed.Value), Async::ErrorCodes::InvalidResult);

    auto created = Facade->ReadCreated(Async::Future<Dml::Subscription*>([&] { return held.Feed.get(); }));
    ASSERT_EQ(Testing::UpdateState(Store, 1, 3).GetCode(), 0u);
    ASSERT_EQ(Run(*created.Action), 0u);
    EXPECT_TRUE(created.Value.Get().empty());

    Add(2);
    ASSERT_EQ(Testing::UpdateState(Store, 2, 3).GetCode(), 0u);
    ASSERT_EQ(Testing::Delete(Store, 1).GetCode(), 0u);
    Add(3);
    ASSERT_EQ(Run(*created.Action), 0u);
    EXPECT_EQ(NumbersOf(created.Value.Get()), (std::vector<std::uint32_t>{2, 3}));
}

TEST_F(PromiseFacadeTest, SubscribeKeepsTheReportAndAsyncSubscribeWrapsTheFeed)
{
    Add(1);
    Add(2);
    auto subscribed = Facade->Subscribe(CORE_ENTRY_POINT(), Items());
    ASSERT_EQ(Run(*subscribed.Action), 0u);
    const Dml::SubscribedSnapshot held = subscribed.Value.Get();
    EXPECT_EQ(Testing::Numbers({held.Snapshot.begin(), held.Snapshot.end()}),
              (std::vector<std::uint32_t>{1, 2}));
    ASSERT_NE(held.Feed, nullptr);

    auto asynchronous = Facade->AsyncSubscribe(CORE_ENTRY_POINT(), Items());
    ASSERT_EQ(Run(*asynchronous.Action), 0u);
    const Dml::AsyncSubscribedSnapshot wrapped = asynchronous.Value.Get();
    EXPECT_EQ(wrapped.Snapshot.size(), 2u);
    ASSERT_NE(wrapped.Feed, nullptr);
    Add(3);
    Testing::AsyncLoggingReaders readers;
    Dml::Actions::AsyncReadNews read(*wrapped.Feed, readers);
    ASSERT_EQ(Run(read), 0u);
    EXPECT_EQ(readers.Log.Get(), Lines{"created 3"});
}

} // namespace
