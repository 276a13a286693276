#include "alerts/utils/MetaHelpers.h"

#include "AlertTesting.h"
#include "alerts/utils/MetaReaders.h"
#include "por/UnitPrinter.h"

#include <gtest/gtest.h>

namespace
{

using AlertTesting::Id;
using AlertTesting::MakeActivity;
using AlertTesting::MakeInstance;
using AlertTesting::MakeObject;
using AlertTesting::StoreFixture;

constexpr const char* Addon = "Inspector of alert BackupDidNotStart";

const Common::Guid Instance = Id(0x1A);
const Common::Guid Machine = Id(0x3C);
const Common::Guid PlanKey = Id(0x2B);

std::u16string Text(const Common::Guid& id)
{
    return Common::GuidToWideString(id);
}

Por::Unit MakePlan(std::uint32_t sourceType)
{
    Por::Unit plan = AlertTesting::MakePlan(PlanKey, Id(0x2C));
    plan[".__cache.SourceType"] = sourceType;
    return plan;
}

Por::Unit Source(const char16_t* name, const char* idPath, const std::u16string& localId)
{
    Por::Unit source = Por::Unit::Composite();
    source["DisplayName"] = name;
    source[idPath] = Common::WideString(localId);
    return source;
}

std::vector<std::u16string> Strings(const Por::Unit& meta, const char* key)
{
    std::vector<std::u16string> values;
    for (std::size_t i = 0; i < meta[key].AsConst().Size(); ++i)
    {
        values.push_back(meta[key][i].As<Por::String>());
    }
    return values;
}

using MetaReadersTest = StoreFixture;

TEST_F(MetaReadersTest, MissesLogAtTheirLevelAndWrongKindsThrow)
{
    Por::Unit object = Por::Unit::Composite();
    object[".A.Byte"] = std::uint8_t{7};
    object[".A.Large"] = std::uint64_t{1} << 40;
    object[".A.Nil"] = Por::Unit().Get();
    object[".A.Text"] = u"x";
    std::int32_t number = 0;
    std::int64_t time = 0;
    Common::Guid guid = Id(9);
    EXPECT_TRUE(Alerts::Util::TryReadInt(object.Get(), ".A.Byte", number, Addon, true) && number == 7);
    EXPECT_TRUE(Alerts::Util::TryReadTime(object.Get(), ".A.Large", time, Addon, true) && time == 1ll << 40);
    EXPECT_THROW(Alerts::Util::TryReadInt(object.Get(), ".A.Large", number, Addon, true), Common::Error);
    EXPECT_THROW(Alerts::Util::TryReadGuid(object.Get(), ".A.Text", guid, Addon, false), Common::Error);
    EXPECT_TRUE(Log.Lines().empty());

    EXPECT_FALSE(Alerts::Util::TryReadGuid(object.Get(), ".A.Nil", guid, Addon, true));
    EXPECT_FALSE(Alerts::Util::TryReadGuid(object.Get(), ".A.Missing", guid, Addon, false));
    EXPECT_FALSE(Alerts::Util::TryReadGuid(object.Get(), ".A.Text.Deeper", guid, Addon, true));
    EXPECT_EQ(guid, Id(9));
    const auto lines = Log.Lines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].Level, 3);
    EXPECT_EQ(lines[1].Level, 1);
    EXPECT_EQ(lines[2].Level, 3);
    const std::string miss =
        std::string(Addon) + ": .A.Missing not found in Root (Composite)\n  A (Composite)";
    EXPECT_EQ(lines[1].Text.rfind(miss, 0), 0u);
}

TEST_F(MetaReadersTest, MergeAddsPropertiesOrCopiesIntoAnEmptyTarget)
{
    const Por::Unit source = AlertTesting::With("PlanName", u"new");
    Por::Unit empty;
    Alerts::Util::MergeMeta(empty, source.Get());
    EXPECT_EQ(Por::Util::UnitToString(empty.Get()), Por::Util::UnitToString(source.Get()));
    Por::Unit target = Por::Unit::Composite();
    target["PlanName"] = u"old";
    target["Time"] = std::int64_t{5};
    Alerts::Util::MergeMeta(target, source.Get());
    EXPECT_EQ(target["PlanName"].As<Por::String>(), u"new");
    EXPECT_EQ(target["Time"].As<std::int64_t>(), 5);
}

using InstanceNameTest = StoreFixture;

TEST_F(InstanceNameTest, TheTypeChoosesTheFieldWithoutFallingBack)
{
    struct Case
    {
        std::int32_t Type;
        const char* Field;        // null: not set
        const char16_t* Value;    // null: nil
        const char16_t* Expected; // null: false
    };
    const char* display = ".Parameters.DisplayName";
    const char* sql = ".Parameters.SqlDisplayName";
    const Case cases[] = {
        {6, display, u"display", u"display"},   {22, display, nullptr, nullptr},
        {24, nullptr, nullptr, nullptr},        {14, sql, u"sql", u"sql"},
        {26, display, u"display", nullptr},     {19, sql, nullptr, nullptr},
        {1, display, u"display", u"machine-1"}, {7, nullptr, nullptr, u"machine-1"},
    };
    std::uint32_t number = 0x100;
    for (const Case& test : cases)
    {
        Por::Unit instance = MakeInstance(Id(++number), test.Type);
        if (test.Field != nullptr)
        {
            instance[test.Field] = test.Value != nullptr ? Por::Unit(test.Value) : Por::Unit();
        }
        Add(instance);
        Common::WideString name = u"unchanged";
        EXPECT_EQ(Alerts::Util::TryGetInstanceName(Id(number), name, Client, Addon), test.Expected != nullptr)
            << test.Type;
        EXPECT_EQ(name, test.Expected != nullptr ? test.Expected : u"unchanged") << test.Type;
    }

    Por::Unit untyped = MakeObject(u"InstanceManagement::Instance", Id(0x200));
    untyped["FullPath"] = u"machine-1";
    Add(untyped);
    Common::WideString name;
    EXPECT_FALSE(Alerts::Util::TryGetInstanceName(Id(0x200), name, Client, Addon));
    EXPECT_TRUE(Log.Texts(4).empty());
    // A missing instance is a failed read, logged as one.
    EXPECT_FALSE(Alerts::Util::TryGetInstanceName(Id(0x201), name, Client, Addon));
    const auto failures = Log.Texts(4);
    ASSERT_FALSE(failures.empty());
    EXPECT_EQ(failures[0].rfind(
                  "011A0012 Read objects from DML failed in inspector (add-on: '" + std::string(Addon), 0),
              0u);
}

TEST_F(InstanceNameTest, ThisMachinesInstanceIsTheOneOfTypeOne)
{
    Add(MakeInstance(Id(1), 6));
    Common::Guid id;
    Common::WideString name;
    EXPECT_FALSE(Alerts::Util::TryGetInstance(Store, Addon, id, name));
    EXPECT_TRUE(Log.Lines().empty());

    Add(MakeInstance(Id(2), 1));
    EXPECT_TRUE(Alerts::Util::TryGetInstance(Store, Addon, id, name));
    EXPECT_EQ(id, Id(2));
    EXPECT_EQ(name, u"machine-1");

    Add(MakeInstance(Id(3), 1));
    EXPECT_FALSE(Alerts::Util::TryGetInstance(Store, Addon, id, name));
    EXPECT_TRUE(Log.HasReadFailure());
}

using PlanMetaTest = StoreFixture;

TEST_F(PlanMetaTest, SourcesComeFromTheRulesOrFromCachedSourcesOfThisInstanceOrMachine)
{
    Por::Unit plan = MakePlan(2);
    Por::Unit sources = plan[".__cache.Sources"];
    sources.PushBack(Source(u"instance's", ".MachineID.LocalID", Text(Instance) + u"\\disk").Get());
    sources.PushBack(Source(u"machine's", ".ID.LocalID", u"vm:" + Text(Machine)).Get());
    sources.PushBack(Source(u"other", ".ID.LocalID", u"vm:" + Text(Id(0x77))).Get());
    sources.PushBack(Source(u"short", ".ID.LocalID", Text(Instance).substr(0, 10)).Get());
    Por::Unit unnamed = Source(u"", ".ID.LocalID", Text(Instance));
    unnamed["DisplayName"] = Por::Unit();
    sources.PushBack(unnamed.Get());
    sources.PushBack(Source(u"by id", ".ID.LocalID", Text(Instance)).Get());
    Por::Unit locations = plan[".__cache.Locations"];
    Por::Unit location = Por::Unit::Composite();
    location["DisplayName"] = u"NAS";
    location["Type"] = u"network_share";
    locations.PushBack(location.Get());
    location["Type"] = Por::Unit();
    locations.PushBack(location.Get());
    Add(plan);

    const Por::Unit meta = Alerts::Util::GetPlanMeta(PlanKey, Instance, Machine, Client, Addon);
    EXPECT_EQ(meta["PlanID"].As<Common::Guid>(), Id(0x2C));
    EXPECT_EQ(meta["PlanName"].As<Por::String>(), u"Daily");
    EXPECT_EQ(meta["BackupSourcesType"].As<std::int32_t>(), 2);
    EXPECT_EQ(Strings(meta, "BackupSources"),
              (std::vector<std::u16string>{u"instance's", u"machine's", u"by id"}));
    ASSERT_EQ(meta["BackupLocations"].AsConst().Size(), 1u);
    EXPECT_EQ(meta[".BackupLocations.0.DisplayName"].As<Por::String>(), u"NAS");
    EXPECT_EQ(meta[".BackupLocations.0.Type"].As<Por::String>(), u"network_share");

    // Rules, when there are any, win over the cache.
    plan[".Options.SpecificParameters.InclusionRules.Rules"].PushBack(Por::String(u"C:\\"));
    plan["ID"] = Id(0x2D);
    plan["ID"].AddTrait("PrimaryKey");
    Add(plan);
    EXPECT_EQ(Strings(Alerts::Util::GetPlanMeta(Id(0x2D), Instance, Machine, Client, Addon), "BackupSources"),
              (std::vector<std::u16string>{u"C:\\"}));
}

TEST_F(PlanMetaTest, OtherSourceTypesNameNoSourcesAndAnUnreadablePlanGivesNothing)
{
    Por::Unit plan = MakePlan(3);
    plan[".Options.SpecificParameters.InclusionRules.Rules"].PushBack(Por::String(u"C:\\"));
    Add(plan);
    const Por::Unit meta = Alerts::Util::GetPlanMeta(PlanKey, Instance, Machine, Client, Addon);
    EXPECT_EQ(meta["BackupSourcesType"].As<std::int32_t>(), 3);
    EXPECT_FALSE(meta["BackupSources"].Exists());
    EXPECT_FALSE(meta["BackupLocations"].Exists());

    const Por::Unit missing = Alerts::Util::GetPlanMeta(Id(0x99), Instance, Machine, Client, Addon);
    EXPECT_FALSE(missing.HasValue());
    EXPECT_TRUE(Log.HasReadFailure());
}

using ActivityMetaTest = StoreFixture;

TEST_F(ActivityMetaTest, ProgressMetaNamesTheMachineMergesThePlanAndMovesToTheRootBusinessActivity)
{
    Add(MakeInstance(Instance, 1));
    Add(MakePlan(3));
    Por::Unit root = MakeActivity(Id(0xA1));
    root[".Period.StartTime"] = std::int64_t{100};
    root[".Period.FinishTime"] = std::int64_t{200};
    Add(root);
    Por::Unit middle = MakeActivity(Id(0xA2));
    middle[".Environment.BusinessParent"] = Id(0xA1);
    Add(middle);
    Por::Unit leaf = MakeActivity(Id(0xA3));
    leaf[".Environment.BusinessParent"] = Id(0xA2);
    Add(leaf);

    Por::Unit partial = Por::Unit::Composite();
    partial["InstanceID"] = Instance;
    partial["PlanID"] = PlanKey;
    partial["MachineID"] = Machine;
    partial["ActivityID"] = Id(0xA3);
    const Por::Unit meta =
        Alerts::Util::GetProgressMeta(partial.Get(), Client, Machine, "BackupNotResponding");
    EXPECT_EQ(meta["MachineName"].As<Por::String>(), u"machine-1");
    EXPECT_EQ(meta["PlanID"].As<Common::Guid>(), Id(0x2C)); // the plan's own "PlanID" replaces the key
    EXPECT_EQ(meta["PlanName"].As<Por::String>(), u"Daily");
    EXPECT_EQ(meta["ActivityID"].As<Common::Guid>(), Id(0xA1));
    EXPECT_EQ(meta["StartTime"].As<std::int64_t>(), 100);
    EXPECT_EQ(meta["FinishTime"].As<std::int64_t>(), 200);
    EXPECT_TRUE(Log.Texts(4).empty());

    // A broken link keeps the partial meta's activity and says why.
    partial["ActivityID"] = Id(0xA4);
    Por::Unit orphan = MakeActivity(Id(0xA4));
    orphan[".Environment.BusinessParent"] = Id(0xA5);
    Add(orphan);
    const Por::Unit broken =
        Alerts::Util::GetProgressMeta(partial.Get(), Client, Machine, "BackupNotResponding");
    EXPECT_EQ(broken["ActivityID"].As<Common::Guid>(), Id(0xA4));
    EXPECT_FALSE(broken["StartTime"].Exists());
    EXPECT_TRUE(Log.HasReadFailure());

    Por::Unit filled = Por::Unit::Composite();
    Alerts::Util::FillMetaByActivityID(filled, Id(0xA1), Client, Addon);
    EXPECT_EQ(filled["FinishTime"].As<std::int64_t>(), 200);
}

TEST_F(ActivityMetaTest, OverdueMetaMergesThePlanOnlyWithInstancePlanAndMachine)
{
    Add(MakePlan(3));
    Por::Unit record = Por::Unit::Composite();
    record["InstanceID"] = Instance;
    record["PlanID"] = PlanKey;
    record["Time"] = std::int64_t{42};
    EXPECT_FALSE(Alerts::Util::GetOverdueMeta(record.Get(), Client, Addon)["PlanName"].Exists());
    record["MachineID"] = Machine;
    const Por::Unit meta = Alerts::Util::GetOverdueMeta(record.Get(), Client, Addon);
    EXPECT_EQ(meta["PlanName"].As<Por::String>(), u"Daily");
    EXPECT_EQ(meta["Time"].As<std::int64_t>(), 42);
    EXPECT_FALSE(record["PlanName"].Exists()); // the record itself stays as it was
}

} // namespace
