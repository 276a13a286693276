// The store client against the memory store: the synchronous store's operations, their tolerant forms,
// the paged delete, single reads and their errors, store-or-update and consolidation, the service holder.
#include "StoreTesting.h"
#include "common/Error.h"
#include "async/Synchronizer.h"
#include "dml/ActionFacade.h"
#include "dml/Errors.h"
#include "dml/KeyPattern.h"
#include "dml/ObjectKey.h"
#include "dml/QueryWriters.h"
#include "dml/ServiceHolder.h"
#include "dml/SpecWriters.h"
#include "dml/SynchronousDataStore.h"
#include "por/ConstUnit.h"
#include "por/Diff.h"
#include "por/PorUnit.h"
#include "por/UnitPrinter.h"

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

namespace
{

using namespace Testing;

// Passes every call on to the store and records what the client asked of the registry.
class RecordingRegistry final : public Dml::ObjectRegistry
{
public:
    explicit RecordingRegistry(Host::Store::MemoryStore& store) : Store(store) {}

    std::shared_ptr<Async::Job> Register(const Por::View::Unit& object,
                                         Async::ActionHandler& handler) override
    {
        Record("register", &object);
        return Store.Register(object, handler);
    }
    std::shared_ptr<Async::Job> Update(const Por::View::Unit& key, const Por::View::Unit& patch,
                                       Async::ActionHandler& handler) override
    {
        Record("update", nullptr);
        return Store.Update(key, patch, handler);
    }
    std::shared_ptr<Async::Job> Unregister(const Por::View::Unit& key, Async::ActionHandler& handler) override
    {
        Record("unregister", nullptr);
        return Store.Unregister(key, handler);
    }

    // The "LimitOptions" of each paged delete operation, in call order.
    std::vector<std::uint32_t> PageLimits;
    std::vector<std::string> Calls;

private:
    void Record(const char* call, const Por::View::Unit* object)
    {
        const std::lock_guard lock(Lock);
        Calls.emplace_back(call);
        if (object == nullptr)
        {
            return;
        }
        const Por::ConstUnit operations =
            Por::ConstUnit(Por::Util::Copy(*object, Por::GetUnitFactory()))["Operations"];
        if (!operations.Exists())
        {
            return;
        }
        const Por::ConstUnit operation = operations.At(0);
        if (operation["Options"]["LimitOptions"].Exists())
        {
            PageLimits.push_back(operation["Options"]["LimitOptions"].As<std::uint32_t>());
        }
    }

    Host::Store::MemoryStore& Store;
    std::mutex Lock;
};

std::string Chain(Common::Error error)
{
    std::string text;
    for (; error.GetCode() != 0; error = error.GetSubError())
    {
        const std::u16string message = error.GetMessage();
        text += std::string(message.begin(), message.end()) + " | ";
    }
    return text;
}

class ClientTest : public ::testing::Test
{
protected:
    ClientTest() : Registry(Store), Client(Dml::ServiceHolder(&Store, &Registry)) {}

    void Fill(std::uint32_t count, std::uint32_t first = 1)
    {
        for (std::uint32_t id = first; id < first + count; ++id)
        {
            ASSERT_EQ(Testing::Register(Store, MakeItem(id, id % 3)).GetCode(), 0u);
        }
    }

    static Por::Unit KeyOf(std::uint32_t id) { return MakeObject(id)["ID"]; }

    static Dml::ViewSpec ItemsSpec() { return {ClassPattern(), nullptr}; }

    Common::Error Caught(const std::function<void()>& call)
    {
        try
        {
            call();
        }
        catch (const Common::Error& error)
        {
            return error;
        }
        return Common::Success;
    }

    Host::Store::MemoryStore Store;
    RecordingRegistry Registry;
    Dml::SynchronousDataStore Client;
    const Core::EntryPoint Site = CORE_ENTRY_POINT();
};

TEST_F(ClientTest, PagedDeleteTakesPagesOfAtMostAHundredUpToTheLimit)
{
    Fill(250);
    Client.DeleteBySpec(Site, ItemsSpec());
    EXPECT_EQ(Registry.PageLimits, (std::vector<std::uint32_t>{100, 100, 50}));
    EXPECT_EQ(Store.GetObjectCount(), 0u);

    Fill(250);
    Registry.PageLimits.clear();
    Por::Unit options = Por::Unit::Composite();
    Dml::Query::SetLimit(options, 30);
    Client.DeleteBySpec(Site, {ClassPattern(), options.Result()});
    EXPECT_EQ(Registry.PageLimits, (std::vector<std::uint32_t>{30}));
    EXPECT_EQ(Store.GetObjectCount(), 220u);
    // Ascending by time stamp: the oldest thirty went.
    EXPECT_EQ(Numbers(Report(Store, ClassPattern())).front(), 31u);

    Registry.Calls.clear();
    Client.DeleteByPattern(Site, *ClassPattern(u"Test::Nothing"));
    EXPECT_TRUE(Registry.Calls.empty());

    Client.DeleteByPattern(Site, *ClassPattern());
    EXPECT_EQ(Store.GetObjectCount(), 0u);
}

TEST_F(ClientTest, TolerantWritesAcceptWhatTheStrictOnesReport)
{
    Fill(1);
    EXPECT_TRUE(Dml::IsObjectAlreadyExists(Caught([&] { Client.Create(Site, MakeItem(1, 7).Get()); })));
    Client.CreateIfNotExist(Site, MakeItem(1, 7).Get());
    EXPECT_EQ(NewsLog::State(*Client.FindById(Site, KeyOf(1).Get())), "1");

    Por::Unit patch = Por::Unit::Composite();
    patch["State"] = 2u;
    const Por::UnitPtr diff =
        Por::Util::Diff(MakeItem(1, 1).Get(), MakeItem(1, 2).Get(), Por::GetUnitFactory());
    EXPECT_TRUE(Dml::IsObjectNotFound(Caught([&] { Client.Update(Site, KeyOf(9).Get(), *diff); })));
    Client.UpdateIfExists(Site, KeyOf(9).Get(), *diff);
    Client.UpdateIfExists(Site, KeyOf(1).Get(), *diff);
    EXPECT_EQ(NewsLog::State(*Client.FindById(Site, KeyOf(1).Get())), "2");

    Client.Delete(Site, KeyOf(9).Get());
    Client.Delete(Site, KeyOf(1).Get());
    EXPECT_EQ(Store.GetObjectCount(), 0u);

    // A different failure passes through the tolerant form.
    Store.FailNextWrite(Common::Error(COMMON_LOCATION("Test"), 0x1234));
    EXPECT_EQ(Caught([&] { Client.CreateIfNotExist(Site, MakeItem(2, 0).Get()); }).GetCode(), 0x1234u);
}

TEST_F(ClientTest, SingleReadsByKeyAndBySpec)
{
    Fill(3);
    const Por::ConstUnitPtr keyPattern = Dml::MakeKeyPattern(KeyOf(2).Get());
    EXPECT_EQ(NumberOf(*Client.ReadSingleOrNone(Site, {keyPattern, nullptr})), 2u);
    EXPECT_EQ(NumberOf(*Client.FindById(Site, KeyOf(3).Get())), 3u);
    EXPECT_EQ(Client.Find(Site, KeyOf(7).Get()), nullptr);
    EXPECT_EQ(Client.ReadSingleOrNone(Site, {Dml::MakeKeyPattern(KeyOf(7).Get()), nullptr}), nullptr);

    const Common::Error missing = Caught([&] { Client.FindById(Site, KeyOf(7).Get()); });
    EXPECT_EQ(missing.GetCode(), Dml::ErrorCodes::ObjectNotFound);
    // Thrown at the operation's site, with the same error at the caller's site as its cause.
    ASSERT_NE(missing.GetSubError().GetCode(), 0u);
    EXPECT_EQ(missing.GetSubError().GetLineTag().LineTag, Site.ID);

    Por::Unit options = Por::Unit::Composite();
    Dml::Query::SetLimit(options, 5);
    const Common::Error two = Caught(
        [&] {
            Client.ReadSingleOrNone(Site, {ClassPattern(), options.Result()});
        });
    EXPECT_EQ(two.GetCode(), Dml::ErrorCodes::MoreThanOneMatch);
    const std::u16string text = two.GetMessage();
    EXPECT_EQ(text.rfind(u"DML: Logic Error: More than one match found.\nPattern: ", 0), 0u);
    EXPECT_NE(text.find(u"\nOptions: "), std::u16string::npos);
    EXPECT_NE(text.find(u"LimitOptions"), std::u16string::npos);

    const Common::Error none = Caught(
        [&] {
            Client.ReadSingle(Site, {ClassPattern(u"Test::Nothing"), nullptr});
        });
    EXPECT_EQ(none.GetCode(), Dml::ErrorCodes::NothingFoundByCriteria);

    EXPECT_EQ(Client.EnsureSingleObjectExists(Site, {keyPattern, nullptr}), 1u);
    EXPECT_EQ(Caught([&] { Client.EnsureSingleObjectExists(Site, ItemsSpec()); }).GetCode(),
              Dml::ErrorCodes::MoreThanOneMatch);
    EXPECT_EQ(Caught(
                  [&] {
                      Client.EnsureSingleObjectExists(Site, {ClassPattern(u"Test::Nothing"), nullptr});
                  })
                  .GetCode(),
              Dml::ErrorCodes::NothingFoundByCriteria);
    EXPECT_EQ(Client.Count(Site, ItemsSpec()), 3u);
}

TEST_F(ClientTest, StoreOrUpdateRegistersOnceThenPatchesAsPropertiesComeAndGo)
{
    Client.StoreOrUpdate(Site, MakeItem(1, 1).Get());
    EXPECT_EQ(Registry.Calls, (std::vector<std::string>{"register"}));

    Por::Unit grown = MakeItem(1, 2);
    grown["Extra"] = u"more";
    Client.StoreOrUpdate(Site, grown.Get());
    Por::Unit shrunk = MakeObject(1);
    shrunk["State"] = 3u;
    Client.StoreOrUpdate(Site, shrunk.Get());
    EXPECT_EQ(Registry.Calls, (std::vector<std::string>{"register", "update", "update"}));

    const Por::UnitPtr stored = Client.FindById(Site, KeyOf(1).Get());
    EXPECT_EQ(NewsLog::State(*stored), "3");
    EXPECT_EQ(Por::Util::FindPropertyValue(*stored, "Extra"), nullptr);
    EXPECT_EQ(Por::Util::FindPropertyValue(*stored, "Name"), nullptr);

    Registry.Calls.clear();
    Client.AtomicStoreOrUpdate(Site, MakeItem(2, 5).Get());
    Client.AtomicStoreOrUpdate(Site, MakeItem(2, 6).Get());
    EXPECT_EQ(Registry.Calls, (std::vector<std::string>{"register", "register"}));
    EXPECT_EQ(NewsLog::State(*Client.FindById(Site, KeyOf(2).Get())), "6");
}

TEST_F(ClientTest, ConsolidationKeepsWhatTheNewObjectLacks)
{
    Por::Unit first = MakeItem(1, 1, u"first");
    Client.StoreOrConsolidate(Site, first.Get());
    Por::Unit partial = MakeObject(1);
    partial["State"] = 4u;
    partial["Added"] = true;
    const Common::Error consolidated = Client.StoreOrConsolidate(Site, partial.Get());
    EXPECT_EQ(consolidated.GetCode(), 0u) << Chain(consolidated);

    const Por::UnitPtr found = Client.FindById(Site, KeyOf(1).Get());
    ASSERT_NE(found, nullptr);
    const Por::ConstUnit stored(found);
    EXPECT_EQ(stored["State"].As<std::uint32_t>(), 4u);
    EXPECT_EQ(stored["Name"].As<Common::WideString>(), u"first");
    EXPECT_TRUE(stored["Added"].As<bool>());

    Por::Unit absent = MakeObject(5);
    Client.StoreOrConsolidate(Site, absent.Get());
    EXPECT_EQ(Store.GetObjectCount(), 2u);
}

TEST_F(ClientTest, AStoreWithoutRegistryReadsButRefusesWrites)
{
    Fill(1);
    const Dml::SynchronousDataStore readOnly{Dml::ServiceHolder(&Store)};
    EXPECT_EQ(NumberOf(*readOnly.FindById(Site, KeyOf(1).Get())), 1u);
    const Common::Error refused = Caught([&] { readOnly.Create(Site, MakeItem(2, 0).Get()); });
    EXPECT_EQ(refused.GetCode(), Dml::ErrorCodes::ServiceMissing);
    EXPECT_EQ(refused.GetMessage(), u"DML: Unproper use. Missing ObjectRegistry.");
}

TEST_F(ClientTest, FacadeActionsKeepTheirServicesAlive)
{
    Fill(3);
    std::unique_ptr<Async::Action> count;
    std::unique_ptr<Async::Action> find;
    std::uint32_t counted = 0;
    Por::UnitPtr found;
    {
        const Dml::ActionFacade facade(std::make_shared<Dml::ServiceHolder>(&Store, &Registry));
        count = facade.Count(Site, ItemsSpec(), counted);
        find = facade.FindById(Site, KeyOf(2).Get(), found);
    }
    Async::Perform(*count);
    Async::Perform(*find);
    EXPECT_EQ(counted, 3u);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(NumberOf(*found), 2u);

    const Dml::ActionFacade readOnly(std::make_shared<Dml::ServiceHolder>(&Store));
    EXPECT_EQ(Caught([&] { readOnly.Register(Site, MakeItem(9, 0).Get()); }).GetCode(),
              Dml::ErrorCodes::ServiceMissing);
}

} // namespace
