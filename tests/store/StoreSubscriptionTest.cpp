// Subscriptions of the memory store: news as objects enter, change within and leave a pattern, in stamp
// order; ReadNews on a service thread, cancellable exactly once; readers that throw or call the store;
// and an opening report that no concurrent write slips past or through twice.
#include "StoreTesting.h"
#include "async/Errors.h"
#include "async/FakeAsyncService.h"
#include "common/Trace.h"
#include "dml/KeyPattern.h"
#include "dml/ObjectKey.h"
#include "por/UpdateBuilder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>

namespace
{

using Host::Store::MemoryStore;
using Testing::MakeItem;
using Lines = std::vector<std::string>;

Por::UnitPtr SetState(std::uint32_t state)
{
    return Por::UpdateBuilder().Add(u".State", Por::Unit(state).Get()).Result();
}

Common::Error UpdateState(MemoryStore& store, std::uint32_t id, std::uint32_t state)
{
    return Testing::Update(store, *Dml::MakeKeyPatternFromValue(Testing::IdOf(id)), *SetState(state));
}

// Items whose state is below 5.
Por::ConstUnitPtr LowStates()
{
    Por::Unit pattern = Por::Unit::Composite();
    pattern.AddTrait("Is", Por::Unit(u"Test::Item").Get());
    pattern["State"].SetDefault(0u).SetTrait("Less", 5u);
    return pattern.Result();
}

struct ReportLog final : Dml::ReportReader
{
    using Dml::ReportReader::OnSubject;
    void OnSubject(const Por::View::Unit& object) override { Numbers.push_back(Testing::NumberOf(object)); }
    std::vector<std::uint32_t> Numbers;
};

TEST(StoreSubscriptionTest, NewsFollowsObjectsAsTheyEnterChangeWithinAndLeaveThePattern)
{
    MemoryStore store;
    ASSERT_EQ(Testing::Register(store, MakeItem(1, 1)).GetCode(), 0u);
    ASSERT_EQ(Testing::Register(store, MakeItem(2, 9)).GetCode(), 0u);
    auto report = std::make_shared<ReportLog>();
    const auto subscription = Testing::Subscribe(store, LowStates(), report);
    EXPECT_EQ(report->Numbers, std::vector<std::uint32_t>{1});

    ASSERT_EQ(UpdateState(store, 1, 2).GetCode(), 0u);                 // within
    ASSERT_EQ(UpdateState(store, 1, 7).GetCode(), 0u);                 // leaves
    ASSERT_EQ(UpdateState(store, 1, 8).GetCode(), 0u);                 // outside
    ASSERT_EQ(UpdateState(store, 2, 3).GetCode(), 0u);                 // enters
    ASSERT_EQ(Testing::Register(store, MakeItem(3, 4)).GetCode(), 0u); // created inside
    ASSERT_EQ(Testing::Register(store, MakeItem(4, 6)).GetCode(), 0u); // created outside
    ASSERT_EQ(Testing::Register(store, Testing::MakeObject(5, u"Test::Other")).GetCode(), 0u);
    ASSERT_EQ(Testing::Unregister(store, *Dml::MakeKeyPatternFromValue(Testing::IdOf(3))).GetCode(), 0u);
    ASSERT_EQ(Testing::Unregister(store, *Dml::MakeKeyPatternFromValue(Testing::IdOf(4))).GetCode(), 0u);

    Testing::NewsLog news;
    ASSERT_EQ(Testing::ReadNews(*subscription, news).GetCode(), 0u);
    EXPECT_EQ(news.Take(), (Lines{"updated 1 1>2", "deleted 1", "created 2", "created 3", "deleted 3"}));
}

TEST(StoreSubscriptionTest, OptionsShapeTheOpeningReportAndTheMaskAlsoTheNews)
{
    MemoryStore store;
    ASSERT_EQ(Testing::Register(store, MakeItem(1, 1)).GetCode(), 0u);
    Por::Unit options = Por::Unit::Composite();
    options["LimitOptions"] = 0u;
    options["Mask"]["Name"] = true;
    auto report = std::make_shared<ReportLog>();
    const auto subscription = Testing::Subscribe(store, LowStates(), report, options.Result());
    EXPECT_TRUE(report->Numbers.empty());

    ASSERT_EQ(UpdateState(store, 1, 2).GetCode(), 0u);
    ASSERT_EQ(Testing::Register(store, MakeItem(2, 2)).GetCode(), 0u);
    Testing::NewsLog news;
    ASSERT_EQ(Testing::ReadNews(*subscription, news).GetCode(), 0u);
    // The mask hides "State" and shows the key.
    EXPECT_EQ(news.Take(), (Lines{"updated 1 ->-", "created 2"}));
}

// The names of each object's root fields as news shows them, "Header" opened one level.
struct FieldLog final : Dml::SubscriptionReader
{
    using Dml::SubscriptionReader::OnCreated;
    using Dml::SubscriptionReader::OnDeleted;
    using Dml::SubscriptionReader::OnUpdated;
    void OnCreated(const Por::View::Unit& object) override { Seen.push_back(Fields(object)); }
    void OnUpdated(const Por::View::Unit& before, const Por::View::Unit& after) override
    {
        Seen.push_back(Fields(before) + ">" + Fields(after));
    }
    void OnDeleted(const Por::View::Unit& object) override { Seen.push_back("-" + Fields(object)); }
    static std::string Fields(const Por::View::Unit& object)
    {
        std::string names;
        auto each = Por::MakeProcessor<const Por::View::Property>(
            [&](const Por::View::Property& property)
            {
                names += names.empty() ? "" : " ";
                names += property.GetName();
                if (property.GetName() == "Header")
                {
                    names += "(" + Fields(property.GetValue()) + ")";
                }
            });
        Por::Util::GetComposite(object).ForEach(each);
        return names;
    }
    Lines Seen;
};

// News shows what the mask names and the key wherever the object keeps it: a field the mask leaves out,
// a field it names, or deep in a composite it opens.
TEST(StoreSubscriptionTest, MaskedNewsShowsTheKeyOfEveryObjectWhereverItIsKept)
{
    MemoryStore store;
    Por::ConstUnitPtr pattern = Testing::ClassPattern(u"Test::Base");
    Por::Unit options = Por::Unit::Composite();
    options["Mask"]["Name"] = true;
    options["Mask"]["Header"]["Name"] = true;
    const auto subscription =
        Testing::Subscribe(store, pattern, std::make_shared<ReportLog>(), options.Result());

    ASSERT_EQ(Testing::Register(store, MakeItem(1, 1)).GetCode(), 0u);
    ASSERT_EQ(UpdateState(store, 1, 2).GetCode(), 0u);
    const auto keyless = []
    {
        Por::Unit object = Por::Unit::Composite();
        object.AddTrait("Is", Por::Unit(u"Test::Base").Get());
        return object;
    };
    Por::Unit named = keyless();
    named["Name"] = u"two";
    named["Name"].AddTrait("PrimaryKey");
    named["State"] = 1u;
    ASSERT_EQ(Testing::Register(store, named).GetCode(), 0u);
    Por::Unit nested = keyless();
    nested["Header"]["Key"] = Testing::IdOf(3);
    nested["Header"]["Key"].AddTrait("PrimaryKey");
    nested["Header"]["Name"] = u"three";
    nested["Header"]["Size"] = 3u;
    nested["Body"] = 1u;
    ASSERT_EQ(Testing::Register(store, nested).GetCode(), 0u);
    ASSERT_EQ(Testing::Unregister(store, *Dml::MakeKeyPatternFromValue(Testing::IdOf(1))).GetCode(), 0u);

    FieldLog news;
    ASSERT_EQ(Testing::ReadNews(*subscription, news).GetCode(), 0u);
    EXPECT_EQ(news.Seen, (Lines{"ID Name", "ID Name>ID Name", "Name", "Header(Key Name)", "-ID Name"}));
}

// Holds every time stamp it is told of, in order.
struct StampLog final : Dml::SubscriptionReader
{
    using Dml::SubscriptionReader::OnCreated;
    using Dml::SubscriptionReader::OnDeleted;
    using Dml::SubscriptionReader::OnUpdated;
    void OnCreated(const Por::View::Unit& object) override
    {
        Add(object);
        Created.insert(Testing::NumberOf(object));
    }
    void OnUpdated(const Por::View::Unit&, const Por::View::Unit& after) override { Add(after); }
    void OnDeleted(const Por::View::Unit& object) override { Add(object); }
    void Add(const Por::View::Unit& object)
    {
        Stamps.push_back(
            Por::Util::GetValue<std::int64_t>(Por::Util::GetPropertyValue(object, "DmlTimeStamp")));
    }
    std::vector<std::int64_t> Stamps;
    std::set<std::uint32_t> Created;
};

TEST(StoreSubscriptionTest, ConcurrentWritesArriveInTimeStampOrderAndTheReportTakesEachObjectOnce)
{
    MemoryStore store;
    constexpr std::uint32_t PerWriter = 300;
    std::atomic<bool> go{false};
    std::vector<std::thread> writers;
    for (std::uint32_t writer = 0; writer < 3; ++writer)
    {
        writers.emplace_back(
            [&, writer]
            {
                while (!go)
                {
                }
                for (std::uint32_t index = 1; index <= PerWriter; ++index)
                {
                    const std::uint32_t id = writer * 1000 + index;
                    EXPECT_EQ(Testing::Register(store, MakeItem(id, 0)).GetCode(), 0u);
                    EXPECT_EQ(UpdateState(store, id, 1).GetCode(), 0u);
                }
            });
    }
    go = true;
    while (store.GetObjectCount() < PerWriter)
    {
        std::this_thread::yield();
    }
    auto report = std::make_shared<ReportLog>();
    const auto subscription = Testing::Subscribe(store, Testing::ClassPattern(), report);
    for (std::thread& writer : writers)
    {
        writer.join();
    }
    // The writers may all have finished before the subscription: one last object makes sure of news.
    ASSERT_EQ(Testing::Register(store, MakeItem(99999, 0)).GetCode(), 0u);
    StampLog news;
    ASSERT_EQ(Testing::ReadNews(*subscription, news).GetCode(), 0u);

    EXPECT_TRUE(std::is_sorted(news.Stamps.begin(), news.Stamps.end()));
    EXPECT_EQ(std::adjacent_find(news.Stamps.begin(), news.Stamps.end()), news.Stamps.end());
    // Every object is either in the report or created in the news, never in both.
    std::set<std::uint32_t> all(report->Numbers.begin(), report->Numbers.end());
    EXPECT_EQ(all.size(), report->Numbers.size());
    EXPECT_GE(all.size(), PerWriter);
    all.insert(news.Created.begin(), news.Created.end());
    EXPECT_EQ(all.size(), report->Numbers.size() + news.Created.size());
    EXPECT_EQ(all.size(), 3 * PerWriter + 1);
}

// Throws at the second notification; calls the store from inside the third.
struct DemandingReader final : Dml::SubscriptionReader
{
    explicit DemandingReader(MemoryStore& store) : Store(store) {}
    using Dml::SubscriptionReader::OnCreated;
    using Dml::SubscriptionReader::OnDeleted;
    using Dml::SubscriptionReader::OnUpdated;
    void OnCreated(const Por::View::Unit& object) override
    {
        const std::uint32_t number = Testing::NumberOf(object);
        Seen.push_back(number);
        if (number == 2)
        {
            throw Common::Error(COMMON_LOCATION("DemandingReader"), 0x011A0001);
        }
        if (number == 3)
        {
            // A write and a read on this thread, and a write that this thread waits for on another one.
            WriteResult = Testing::Register(Store, MakeItem(10, 0));
            Found = Testing::Report(Store, Dml::MakeKeyPatternFromValue(Testing::IdOf(10))).size();
            std::thread([this] { OtherResult = Testing::Register(Store, MakeItem(11, 0)); }).join();
        }
    }
    void OnUpdated(const Por::View::Unit&, const Por::View::Unit&) override {}
    void OnDeleted(const Por::View::Unit&) override {}

    MemoryStore& Store;
    std::vector<std::uint32_t> Seen;
    Common::Error WriteResult = Async::Errors::InvalidResult();
    Common::Error OtherResult = Async::Errors::InvalidResult();
    std::size_t Found = 0;
};

struct TraceCapture
{
    TraceCapture()
    {
        Levels.clear();
        Common::RegisterTrace(Functions);
    }
    ~TraceCapture() { Common::UnregisterTrace(Functions); }
    static void Text(int, std::uint32_t, std::uint32_t, Common::WideStringView) {}
    static void Error(int level, const Common::Error&) { Levels.push_back(level); }
    static inline std::vector<int> Levels;
    Common::TraceFunctions Functions{&Text, nullptr, &Error};
};

TEST(StoreSubscriptionTest, AThrowingReaderIsTracedAndAReaderMayCallTheStoreFromItsCallback)
{
    MemoryStore store;
    const auto subscription = Testing::Subscribe(store, Testing::ClassPattern(), nullptr);
    for (std::uint32_t id = 1; id <= 4; ++id)
    {
        ASSERT_EQ(Testing::Register(store, MakeItem(id, 0)).GetCode(), 0u);
    }
    TraceCapture traces;
    DemandingReader reader(store);
    ASSERT_EQ(Testing::ReadNews(*subscription, reader).GetCode(), 0u);
    EXPECT_EQ(reader.Seen, (std::vector<std::uint32_t>{1, 2, 3, 4}));
    EXPECT_EQ(TraceCapture::Levels, std::vector<int>{4});
    EXPECT_EQ(reader.WriteResult.GetCode(), 0u);
    EXPECT_EQ(reader.OtherResult.GetCode(), 0u);
    EXPECT_EQ(reader.Found, 1u);
    // What the reader wrote comes with the next read.
    ASSERT_EQ(Testing::ReadNews(*subscription, reader).GetCode(), 0u);
    EXPECT_EQ(reader.Seen, (std::vector<std::uint32_t>{1, 2, 3, 4, 10, 11}));
}

TEST(StoreSubscriptionTest, ReadNewsCompletesOnlyFromTheServiceAndOnlyOnceItHasNews)
{
    Testing::FakeAsyncService service;
    MemoryStore store;
    const auto subscription = Testing::Subscribe(store, Testing::ClassPattern(), nullptr);
    Testing::NewsLog news;
    Testing::ResultHandler handler;
    const auto job = subscription->ReadNews(news, handler);
    ASSERT_NE(job, nullptr);
    EXPECT_EQ(service.PostedCount, 0); // waits: nothing to deliver

    ASSERT_EQ(Testing::Register(store, MakeItem(1, 0)).GetCode(), 0u);
    ASSERT_EQ(service.PostedCount, 1);
    EXPECT_EQ(handler.Calls, 0);
    ASSERT_EQ(Testing::Register(store, MakeItem(2, 0)).GetCode(), 0u);
    EXPECT_EQ(service.PostedCount, 1);

    // A second read while the first is under way is refused, also from the service.
    Testing::ResultHandler second;
    subscription->ReadNews(news, second);
    ASSERT_EQ(service.PostedCount, 2);
    const auto run = [&service]
    {
        const Testing::FakeAsyncService::Posted posted = service.Take();
        posted.Work->Run();
        posted.Handler->Completed(Common::Success);
    };
    run();
    EXPECT_EQ(handler.Calls, 1);
    EXPECT_EQ(news.Take(), (Lines{"created 1", "created 2"}));
    run();
    EXPECT_EQ(second.Calls, 1);
    EXPECT_EQ(second.Result.GetCode(), 0x00FC0001u);

    // With news waiting, a read is posted at once; cancelling it then changes nothing.
    ASSERT_EQ(Testing::Register(store, MakeItem(3, 0)).GetCode(), 0u);
    Testing::ResultHandler third;
    const auto thirdJob = subscription->ReadNews(news, third);
    thirdJob->Cancel();
    EXPECT_EQ(third.Calls, 0);
    run();
    EXPECT_EQ(third.Calls, 1);
    EXPECT_EQ(third.Result.GetCode(), 0u);
    EXPECT_EQ(news.Take(), Lines{"created 3"});
}

TEST(StoreSubscriptionTest, ACancelRacingNewsCompletesTheReadOnceAndLosesNoNews)
{
    MemoryStore store;
    const auto subscription = Testing::Subscribe(store, Testing::ClassPattern(), nullptr);
    Testing::NewsLog news;
    std::uint32_t delivered = 0;
    int cancelled = 0;
    constexpr std::uint32_t Rounds = 500;
    for (std::uint32_t round = 1; round <= Rounds; ++round)
    {
        Testing::ResultHandler handler;
        const auto job = subscription->ReadNews(news, handler);
        std::thread writer([&] { EXPECT_EQ(Testing::Register(store, MakeItem(round, 0)).GetCode(), 0u); });
        job->Cancel();
        writer.join();
        ASSERT_TRUE(handler.WaitFor());
        if (handler.GetResult().GetCode() == Async::ErrorCodes::Canceled)
        {
            ++cancelled;
        }
        else
        {
            ASSERT_EQ(handler.GetResult().GetCode(), 0u);
        }
        delivered += static_cast<std::uint32_t>(news.Take().size());
        if (delivered < round)
        {
            ASSERT_EQ(Testing::ReadNews(*subscription, news).GetCode(), 0u);
            delivered += static_cast<std::uint32_t>(news.Take().size());
        }
        ASSERT_EQ(delivered, round);
        EXPECT_EQ(handler.GetCalls(), 1);
    }
    EXPECT_GT(cancelled, 0);
}

TEST(StoreSubscriptionTest, TheFaultHookFailsAReadAndClosingCancelsAWaitingOne)
{
    MemoryStore store;
    auto subscription = Testing::Subscribe(store, Testing::ClassPattern(), nullptr);
    Testing::NewsLog news;
    store.FailNextReadNews(Common::Error(COMMON_LOCATION("Test"), 0x00FC0033));
    EXPECT_EQ(Testing::ReadNews(*subscription, news).GetCode(), 0x00FC0033u);

    // A failing batch brings no news.
    Por::Unit batch = Por::Unit::Composite();
    batch.AddTrait("Is", Por::Unit(u"Dml::Operation::BatchOperation").Get());
    Por::Unit create = Por::Unit::Composite();
    create.AddTrait("Is", Por::Unit(u"Dml::Operation::CreateObject").Get());
    create["Object"] = MakeItem(1, 0);
    batch["Operations"].PushBack(create.Get());
    batch["Operations"].PushBack(create.Get());
    EXPECT_NE(Testing::Register(store, batch).GetCode(), 0u);

    Testing::ResultHandler handler;
    subscription->ReadNews(news, handler);
    subscription.reset();
    ASSERT_TRUE(handler.WaitFor());
    EXPECT_EQ(handler.GetResult().GetCode(), Async::ErrorCodes::Canceled);
    EXPECT_TRUE(news.Take().empty());
    EXPECT_EQ(Testing::Register(store, MakeItem(2, 0)).GetCode(), 0u);
}

} // namespace
