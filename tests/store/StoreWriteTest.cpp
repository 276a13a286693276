// The write side of the memory store: stamping, refusals with their codes and texts, updates as merges,
// every operation object, batches that apply all or nothing, and persistence of committed batches.
#include "StoreTesting.h"
#include "dml/Errors.h"
#include "dml/KeyPattern.h"
#include "dml/ObjectKey.h"
#include "dml/OperationFactory.h"
#include "por/Compare.h"
#include "por/Diff.h"
#include "por/UnitPrinter.h"
#include "por/UpdateBuilder.h"

#include <gtest/gtest.h>

#include <map>

namespace
{

using Host::Store::MemoryStore;
using Testing::MakeItem;

std::string Message(const Common::Error& error)
{
    std::string text;
    for (char16_t c : error.GetMessage())
    {
        text += static_cast<char>(c);
    }
    return text;
}

Por::ConstUnitPtr KeyPattern(std::uint32_t id)
{
    return Dml::MakeKeyPatternFromValue(Testing::IdOf(id));
}

// The stored object of the key, or null.
Por::ConstUnitPtr Find(MemoryStore& store, std::uint32_t id)
{
    const auto found = Testing::Report(store, KeyPattern(id));
    EXPECT_LE(found.size(), 1u);
    return found.empty() ? nullptr : found.front();
}

std::int64_t StampOf(const Por::ConstUnitPtr& object)
{
    return Por::Util::GetValue<std::int64_t>(Por::Util::GetPropertyValue(*object, "DmlTimeStamp"));
}

std::uint32_t StateOf(const Por::ConstUnitPtr& object)
{
    return Por::Util::GetValue<std::uint32_t>(Por::Util::GetPropertyValue(*object, "State"));
}

Por::Unit Operation(const char16_t* className)
{
    Por::Unit operation = Por::Unit::Composite();
    operation["ID"] = Common::Guid{};
    operation["ID"].AddTrait("PrimaryKey");
    operation.AddTrait("Is", Por::Unit(className).Get());
    operation.AddTrait("Is", Por::Unit(u"Dml::Operation::Definition").Get());
    return operation;
}

Por::Unit ToUnit(const Por::ConstUnitPtr& unit)
{
    Por::Unit copy;
    copy = *unit;
    return copy;
}

using ObjectOperationMaker = Por::ConstUnitPtr (*)(const Por::ConstUnitPtr&,
                                                   const Por::Construction::UnitFactory&);

Por::Unit ObjectOperation(const char16_t* className, const Por::Unit& object)
{
    using Dml::Operation::OperationFactory;
    const std::map<std::u16string, ObjectOperationMaker> makers = {
        {u"Dml::Operation::CreateObject", &OperationFactory::MakeCreateObject},
        {u"Dml::Operation::CreateIfNotExist", &OperationFactory::MakeCreateIfNotExist},
        {u"Dml::Operation::StoreOrUpdate", &OperationFactory::MakeStoreOrUpdate},
        {u"Dml::Operation::StoreOrConsolidate", &OperationFactory::MakeStoreOrConsolidate},
        {u"Dml::Operation::ConsolidateIfExists", &OperationFactory::MakeConsolidateIfExists},
    };
    return ToUnit(makers.at(className)(object.Result(), Por::GetUnitFactory()));
}

Por::Unit Batch(std::initializer_list<Por::Unit> operations)
{
    Por::Unit batch = Operation(u"Dml::Operation::BatchOperation");
    batch["Operations"] = Por::Unit::Array();
    for (const Por::Unit& operation : operations)
    {
        batch["Operations"].PushBack(operation.Get());
    }
    return batch;
}

Por::UnitPtr Patch(const Por::Unit& from, const Por::Unit& to)
{
    return Por::Util::Diff(from.Get(), to.Get(), Por::GetUnitFactory());
}

TEST(StoreWriteTest, RegisterStampsEachWriteAndRefusesAnExistingOrMissingKey)
{
    MemoryStore store;
    ASSERT_EQ(Testing::Register(store, MakeItem(1, 0)).GetCode(), 0u);
    ASSERT_EQ(Testing::Register(store, MakeItem(2, 0)).GetCode(), 0u);
    EXPECT_EQ(StampOf(Find(store, 1)), 1);
    EXPECT_EQ(StampOf(Find(store, 2)), 2);

    const Common::Error exists = Testing::Register(store, MakeItem(1, 7));
    EXPECT_EQ(exists.GetCode(), Dml::ErrorCodes::ObjectAlreadyExists);
    EXPECT_EQ(Message(exists).rfind("DML: Object '", 0), 0u) << Message(exists);
    EXPECT_EQ(StateOf(Find(store, 1)), 0u);

    Por::Unit keyless = Por::Unit::Composite();
    keyless["State"] = 1u;
    EXPECT_EQ(Testing::Register(store, keyless).GetCode(), Dml::ErrorCodes::ObjectKeyNotFound);
    EXPECT_EQ(store.GetObjectCount(), 2u);
    // Refused writes take stamps, but never make them go back.
    ASSERT_EQ(Testing::Register(store, MakeItem(3, 0)).GetCode(), 0u);
    EXPECT_GT(StampOf(Find(store, 3)), 2);
}

TEST(StoreWriteTest, UpdateMergesThePatchIntoANewUnitOrLeavesTheObjectAsItWas)
{
    MemoryStore store;
    const Por::Unit before = MakeItem(1, 1, u"first");
    ASSERT_EQ(Testing::Register(store, before).GetCode(), 0u);
    const Por::ConstUnitPtr stored = Find(store, 1);

    Por::Unit after = Testing::MakeObject(1);
    after["State"] = 2u;
    after["Extra"]["Depth"] = 5u; // "Name" goes, "Extra" comes
    const Por::ConstUnitPtr key = Dml::MakeKeyPattern(Dml::GetObjectKey(before.Get()));
    ASSERT_EQ(Testing::Update(store, *key, *Patch(before, after)).GetCode(), 0u);
    const Por::ConstUnitPtr updated = Find(store, 1);
    EXPECT_EQ(StateOf(updated), 2u);
    EXPECT_EQ(Por::Util::FindPropertyValue(*updated, "Name"), nullptr);
    EXPECT_NE(Por::Util::FindPropertyValue(*updated, "Extra"), nullptr);
    EXPECT_GT(StampOf(updated), StampOf(stored));
    // The unit handed out before stays as it was.
    EXPECT_EQ(StateOf(stored), 1u);

    Por::Unit plain = Por::Unit::Composite(); // no "PackedDiff": no patch
    plain["State"] = 9u;
    const Common::Error invalid = Testing::Update(store, Dml::GetObjectKey(before.Get()), plain.Get());
    EXPECT_EQ(invalid.GetCode(), Dml::ErrorCodes::ObjectNotFound);
    EXPECT_EQ(Message(invalid).rfind("DML: Trying to update object with invalid patch.\nKey is '", 0), 0u);
    EXPECT_EQ(invalid.GetSubError().GetCode(), 0x00FA000Cu);
    EXPECT_TRUE(Por::UnitEqual(*Find(store, 1), *updated));

    const Common::Error missingUpdate = Testing::Update(store, *KeyPattern(5), *Patch(before, after));
    EXPECT_EQ(missingUpdate.GetCode(), Dml::ErrorCodes::ObjectNotFound);
    EXPECT_EQ(Message(missingUpdate).rfind("DML: Trying to update missing object.\nSubject is '", 0), 0u);
    const Common::Error missingDelete = Testing::Unregister(store, *KeyPattern(5));
    EXPECT_EQ(missingDelete.GetCode(), Dml::ErrorCodes::ObjectNotFound);
    EXPECT_EQ(Message(missingDelete).rfind("DML: Trying to delete missing object.\nKey is '", 0), 0u);

    // A key, its pattern and the whole object all name the object.
    ASSERT_EQ(Testing::Unregister(store, *updated).GetCode(), 0u);
    EXPECT_EQ(store.GetObjectCount(), 0u);
}

TEST(StoreWriteTest, ObjectOperationsCreateReplaceConsolidateOrSkipByWhetherTheKeyExists)
{
    struct Case
    {
        const char16_t* Operation;
        bool Exists;
        std::uint32_t ExpectedCode;
        const char* Expected; // state and name afterwards, "" when absent
    };
    const Case cases[] = {
        {u"Dml::Operation::CreateObject", false, 0, "2 new tag"},
        {u"Dml::Operation::CreateObject", true, Dml::ErrorCodes::ObjectAlreadyExists, "1 old"},
        {u"Dml::Operation::CreateIfNotExist", false, 0, "2 new tag"},
        {u"Dml::Operation::CreateIfNotExist", true, 0, "1 old"},
        {u"Dml::Operation::StoreOrUpdate", false, 0, "2 new tag"},
        {u"Dml::Operation::StoreOrUpdate", true, 0, "2 - tag"},
        {u"Dml::Operation::StoreOrConsolidate", false, 0, "2 new tag"},
        {u"Dml::Operation::StoreOrConsolidate", true, 0, "2 old tag"}, // what only the update has joins
        {u"Dml::Operation::ConsolidateIfExists", false, 0, ""},
        {u"Dml::Operation::ConsolidateIfExists", true, 0, "2 old tag"},
    };
    for (const Case& test : cases)
    {
        MemoryStore store;
        if (test.Exists)
        {
            ASSERT_EQ(Testing::Register(store, MakeItem(1, 1, u"old")).GetCode(), 0u);
        }
        Por::Unit object = Testing::MakeObject(1);
        object["State"] = 2u;
        object["Tag"] = 1u;
        if (!test.Exists)
        {
            object["Name"] = u"new";
        }
        EXPECT_EQ(Testing::Register(store, ObjectOperation(test.Operation, object)).GetCode(),
                  test.ExpectedCode);
        const Por::ConstUnitPtr found = Find(store, 1);
        std::string outcome;
        if (found != nullptr)
        {
            const Por::View::Unit* name = Por::Util::FindPropertyValue(*found, "Name");
            outcome =
                std::to_string(StateOf(found)) + " " +
                (name == nullptr ? "-" : (Por::Util::GetValue<Por::String>(*name) == u"old" ? "old" : "new"));
            if (Por::Util::FindPropertyValue(*found, "Tag") != nullptr)
            {
                outcome += " tag";
            }
            EXPECT_TRUE(Dml::HasObjectKey(*found));
        }
        EXPECT_EQ(outcome, test.Expected)
            << Por::Util::UnitToString(ObjectOperation(test.Operation, object).Get());
    }
}

TEST(StoreWriteTest, KeyOperationsAndPatternOperationsChangeWhatTheyName)
{
    MemoryStore store;
    for (std::uint32_t id = 1; id <= 5; ++id)
    {
        ASSERT_EQ(Testing::Register(store, MakeItem(id, 10 - id)).GetCode(), 0u);
    }
    using Dml::Operation::OperationFactory;
    Por::Unit key(Testing::IdOf(5));
    key.AddTrait("PrimaryKey");
    ASSERT_EQ(Testing::Register(store, ToUnit(OperationFactory::MakeDeleteObject(key.Result()))).GetCode(),
              0u);
    EXPECT_EQ(Find(store, 5), nullptr);

    const Por::ConstUnitPtr setState = Por::UpdateBuilder().Add(u".State", Por::Unit(40u).Get()).Result();
    ASSERT_EQ(Testing::Register(store, ToUnit(OperationFactory::MakeUpdateObject(KeyPattern(4), setState)))
                  .GetCode(),
              0u);
    EXPECT_EQ(StateOf(Find(store, 4)), 40u);

    // Every object whose state is below 9 gets "Flag": states are 9, 8, 7 and 40 now.
    Por::Unit below = Por::Unit::Composite();
    below["State"].SetDefault(0u).SetTrait("Less", 9u);
    const Por::ConstUnitPtr setFlag = Por::UpdateBuilder().Add(u".Flag", Por::Unit(true).Get()).Result();
    ASSERT_EQ(Testing::Register(store, ToUnit(OperationFactory::MakeUpdateByPattern(below.Result(), setFlag)))
                  .GetCode(),
              0u);
    for (std::uint32_t id = 1; id <= 4; ++id)
    {
        EXPECT_EQ(Por::Util::FindPropertyValue(*Find(store, id), "Flag") != nullptr, id == 2 || id == 3)
            << id;
    }

    // Ordered and limited, each delete by pattern takes the next page: states 7 and 8 first, then 9 and 40.
    Por::Unit options = Por::Unit::Composite();
    options["LimitOptions"] = 2u;
    options["SortingOptions"]["State"] = 0u;
    options["SortingOptions"]["State"].AddTrait("Ascending ");
    const Por::Unit page =
        ToUnit(OperationFactory::MakeDeleteByPattern(Testing::ClassPattern(), options.Result()));
    ASSERT_EQ(Testing::Register(store, page).GetCode(), 0u);
    EXPECT_EQ(Testing::Numbers(Testing::Report(store, Testing::ClassPattern())),
              (std::vector<std::uint32_t>{1, 4}));
    ASSERT_EQ(Testing::Register(store, MakeItem(6, 0)).GetCode(), 0u);
    ASSERT_EQ(Testing::Register(store, page).GetCode(), 0u);
    EXPECT_EQ(Testing::Numbers(Testing::Report(store, Testing::ClassPattern())),
              (std::vector<std::uint32_t>{4}));
    // Without options it takes every match.
    const Por::Unit all = ToUnit(OperationFactory::MakeDeleteByPattern(Testing::ClassPattern(), nullptr));
    ASSERT_EQ(Testing::Register(store, all).GetCode(), 0u);
    EXPECT_EQ(store.GetObjectCount(), 0u);
}

TEST(StoreWriteTest, BatchAppliesAllOperationsOrNone)
{
    MemoryStore store;
    ASSERT_EQ(Testing::Register(store, MakeItem(1, 1)).GetCode(), 0u);
    const std::int64_t stamp = store.GetLastTimeStamp();

    // The third operation fails: the create and the replace before it are undone.
    const Por::Unit failing = Batch({ObjectOperation(u"Dml::Operation::CreateObject", MakeItem(2, 2)),
                                     ObjectOperation(u"Dml::Operation::StoreOrUpdate", MakeItem(1, 5)),
                                     ObjectOperation(u"Dml::Operation::CreateObject", MakeItem(2, 3))});
    EXPECT_EQ(Testing::Register(store, failing).GetCode(), Dml::ErrorCodes::ObjectAlreadyExists);
    EXPECT_EQ(store.GetObjectCount(), 1u);
    EXPECT_EQ(StateOf(Find(store, 1)), 1u);
    EXPECT_EQ(StampOf(Find(store, 1)), stamp);
    EXPECT_EQ(Testing::Report(store, Testing::ClassPattern(u"Test::Base")).size(), 1u);

    // A nested batch, a delete and a create of the deleted key in one go.
    const Por::Unit remove = ToUnit(Dml::Operation::OperationFactory::MakeDeleteObject(KeyPattern(1)));
    const Por::Unit good = Batch({Batch({ObjectOperation(u"Dml::Operation::CreateObject", MakeItem(2, 2))}),
                                  remove, ObjectOperation(u"Dml::Operation::CreateObject", MakeItem(1, 9))});
    ASSERT_EQ(Testing::Register(store, good).GetCode(), 0u);
    EXPECT_EQ(StateOf(Find(store, 1)), 9u);
    EXPECT_EQ(StateOf(Find(store, 2)), 2u);
    EXPECT_LT(StampOf(Find(store, 2)), StampOf(Find(store, 1)));
}

// Keeps committed batches; fails its next commit when told.
class FakePersistence final : public Host::Store::Persistence
{
public:
    struct Shared
    {
        std::map<std::string, Host::Store::PersistedObject> Objects;
        int Commits = 0;
        bool FailNext = false;
    };
    explicit FakePersistence(Shared& shared) : Data(shared) {}
    std::vector<Host::Store::PersistedObject> Load() override
    {
        std::vector<Host::Store::PersistedObject> objects;
        for (const auto& entry : Data.Objects)
        {
            objects.push_back(entry.second);
        }
        return objects;
    }
    void Commit(std::span<const Host::Store::PersistedChange> changes) override
    {
        if (std::exchange(Data.FailNext, false))
        {
            throw Common::Error(COMMON_LOCATION("FakePersistence::Commit"), 0x00FC0033);
        }
        ++Data.Commits;
        for (const Host::Store::PersistedChange& change : changes)
        {
            if (change.Object == nullptr)
            {
                Data.Objects.erase(change.KeyCode);
            }
            else
            {
                Data.Objects[change.KeyCode] = {change.KeyCode, change.Ordinal, change.Object};
            }
        }
    }

private:
    Shared& Data;
};

TEST(StoreWriteTest, AReopenedStoreResumesFromItsHighestStampAndAFailedCommitChangesNothing)
{
    FakePersistence::Shared disk;
    {
        MemoryStore store(std::make_unique<FakePersistence>(disk));
        ASSERT_EQ(Testing::Register(store, MakeItem(1, 1)).GetCode(), 0u);
        Dml::Operation::OperationFactory operations;
        operations.CreateObject(MakeItem(2, 2).Result());
        operations.StoreOrUpdate(MakeItem(3, 3).Result());
        ASSERT_EQ(Testing::Register(store, ToUnit(operations.Finish())).GetCode(), 0u);
        ASSERT_EQ(Testing::Unregister(store, *KeyPattern(2)).GetCode(), 0u);
        EXPECT_EQ(disk.Commits, 3);
        disk.FailNext = true;
        EXPECT_EQ(Testing::Register(store, MakeItem(4, 4)).GetCode(), 0x00FC0033u);
        EXPECT_EQ(Find(store, 4), nullptr);
    }
    MemoryStore reopened(std::make_unique<FakePersistence>(disk));
    EXPECT_EQ(Testing::Numbers(Testing::Report(reopened, nullptr)), (std::vector<std::uint32_t>{1, 3}));
    EXPECT_EQ(reopened.GetLastTimeStamp(), 3);
    ASSERT_EQ(Testing::Register(reopened, MakeItem(5, 5)).GetCode(), 0u);
    EXPECT_EQ(StampOf(Find(reopened, 5)), 4);
    EXPECT_EQ(Testing::Numbers(Testing::Report(reopened, nullptr)), (std::vector<std::uint32_t>{1, 3, 5}));
}

TEST(StoreWriteTest, TheFaultHookFailsTheNextWriteOnly)
{
    MemoryStore store;
    store.FailNextWrite(Common::Error(COMMON_LOCATION("Test"), 0x00FC0001));
    EXPECT_EQ(Testing::Register(store, MakeItem(1, 1)).GetCode(), 0x00FC0001u);
    EXPECT_EQ(Testing::Register(store, MakeItem(1, 1)).GetCode(), 0u);
}

} // namespace
