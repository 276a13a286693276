#include "dml/QueryReaders.h"

#include "common/ThrownError.h"
#include "dml/CounterOptions.h"
#include "dml/Sorting.h"
#include "por/Compare.h"
#include "por/PorUnit.h"

#include <gtest/gtest.h>

namespace
{

using Dml::Query::SortingEntry;
using Testing::ThrownError;

// A leaf for a sort key with the given traits (nil values).
Por::Unit Leaf(std::initializer_list<std::string_view> traits, Por::Unit leaf = Por::Unit(std::uint32_t{0}))
{
    for (std::string_view trait : traits)
    {
        leaf.AddTrait(trait);
    }
    return leaf;
}

TEST(QueryReadersTest, AbsentKeysReadAsDefaults)
{
    EXPECT_EQ(Dml::Query::GetSpecLimit(Dml::ViewSpec{}), 0xFFFFFFFFu);

    const Por::Unit empty = Por::Unit::Composite();
    const Por::View::Unit& options = empty.Get();
    EXPECT_EQ(Dml::Query::GetLimit(options), 0xFFFFFFFFu);
    EXPECT_EQ(Dml::Query::GetOffset(options), 0u);
    EXPECT_FALSE(Dml::Query::HasLimit(options) || Dml::Query::HasOffset(options) ||
                 Dml::Query::HasMask(options) || Dml::Query::HasSorting(options) ||
                 Dml::Query::HasCounter(options) || Dml::Query::HasTenantInfo(options) ||
                 Dml::Query::HasEntryPoint(options));
    EXPECT_EQ(Dml::Query::GetMask(options), nullptr);
    EXPECT_FALSE(Dml::Query::IsFullObjectNotifications(options) ||
                 Dml::Query::IsReentrantNotifications(options) || Dml::Query::IsCacheReadDisabled(options) ||
                 Dml::Query::IsReverseReportOrder(options) || Dml::Query::IsAscendingByTimeStamp(options));
    EXPECT_TRUE(Dml::Query::GetSorting(options).empty());
    EXPECT_EQ(Dml::Query::GetCounterTemplate(options), nullptr);
    Dml::Query::TenantInfo tenant{u"kept", u"kept", u"kept"};
    EXPECT_FALSE(Dml::Query::GetTenantInfo(options, tenant));
    Core::EntryPoint entry{1, "kept", 2};
    EXPECT_FALSE(Dml::Query::GetEntryPoint(options, entry));
    EXPECT_EQ(entry, (Core::EntryPoint{1, "kept", 2}));
}

TEST(QueryReadersTest, PresentKeysReadAsWritten)
{
    Por::Unit options = Por::Unit::Composite();
    options["LimitOptions"] = 10u;
    options["OffsetOptions"] = 5u;
    options["Mask"]["Name"] = true;
    options["FullObjectNotifications"] = true;
    options["ReentrantNotifications"] = true;
    options["CacheReadDisabled"] = true;
    options["ReverseReportOrder"] = false;
    options["TenantInfo"]["ID"] = u"t";
    options["TenantInfo"]["ParentID"] = u"p";
    options["TenantInfo"]["Locator"] = u"/p/t";
    options["EntryPoint"]["ID"] = std::uint64_t{42};
    options["EntryPoint"]["File"] = u"x.cpp";
    options["EntryPoint"]["Line"] = 7u;
    const Por::View::Unit& read = options.Get();

    EXPECT_EQ(Dml::Query::GetLimit(read), 10u);
    EXPECT_EQ(Dml::Query::GetSpecLimit({nullptr, options.Result()}), 10u);
    EXPECT_EQ(Dml::Query::GetOffset(read), 5u);
    const Por::ConstUnitPtr mask = Dml::Query::GetMask(read);
    ASSERT_NE(mask, nullptr);
    EXPECT_NE(mask.get(), &options["Mask"].Get());
    EXPECT_TRUE(Por::UnitEqual(*mask, options["Mask"].Get()));
    EXPECT_TRUE(Dml::Query::IsFullObjectNotifications(read));
    EXPECT_TRUE(Dml::Query::IsReentrantNotifications(read));
    EXPECT_TRUE(Dml::Query::IsCacheReadDisabled(read));
    EXPECT_FALSE(Dml::Query::IsReverseReportOrder(read));

    Dml::Query::TenantInfo tenant;
    EXPECT_TRUE(Dml::Query::GetTenantInfo(read, tenant));
    EXPECT_EQ(tenant, (Dml::Query::TenantInfo{u"t", u"p", u"/p/t"}));
    Core::EntryPoint entry;
    EXPECT_TRUE(Dml::Query::GetEntryPoint(read, entry));
    EXPECT_EQ(entry, (Core::EntryPoint{42, "x.cpp", 7}));
}

TEST(QueryReadersTest, IncompleteTenantAndUnreadableEntryPointLeaveTheRecordAsItWas)
{
    Por::Unit options = Por::Unit::Composite();
    options["TenantInfo"]["ID"] = u"t";
    options["TenantInfo"]["ParentID"] = u"p";
    options["EntryPoint"]["ID"] = u"not a number";
    options["EntryPoint"]["Line"] = 9u;

    Dml::Query::TenantInfo tenant{u"a", u"b", u"c"};
    EXPECT_TRUE(Dml::Query::HasTenantInfo(options.Get()));
    EXPECT_FALSE(Dml::Query::GetTenantInfo(options.Get(), tenant));
    EXPECT_EQ(tenant, (Dml::Query::TenantInfo{u"a", u"b", u"c"}));

    Core::EntryPoint entry{1, "f", 2};
    const Common::Error error = ThrownError([&] { Dml::Query::GetEntryPoint(options.Get(), entry); });
    EXPECT_EQ(error.GetCode(), 0x00FA0018u);
    EXPECT_EQ(error.GetMessage(), u"Failed to convert unit at '.EntryPoint.ID'");
    EXPECT_EQ(error.GetSubError().GetCode(), 0x00FA000Au);
    EXPECT_EQ(entry, (Core::EntryPoint{1, "f", 2}));
}

TEST(QueryReadersTest, SortKeysParseInOrderWithTheExactDirectionLiterals)
{
    Por::Unit options = Por::Unit::Composite();
    Por::Unit first = Por::Unit::Composite();
    first["Period"]["FinishTime"] = Leaf({"Ascending "}, Por::Unit(std::int64_t{0}));
    Por::Unit second = Por::Unit::Composite(); // property order within one item: "A" before "B"
    second["B"] = Leaf({"Descending"});
    second["A"] = Leaf({"Descending", "Ascending "});
    Por::Unit third = Por::Unit::Composite();
    third["C"] = Leaf({"Ascending"});
    third["D"] = Leaf({"Ascending", "Descending"});
    third["E"] = Leaf({});
    options["SortingOptions"].PushBack(first.Get()).PushBack(second.Get()).PushBack(third.Get());

    const std::vector<SortingEntry> expected = {
        {u".Period.FinishTime", false, Por::ValueKind::SQWord},
        {u".A", false, Por::ValueKind::DWord}, // both traits: ascending
        {u".B", true, Por::ValueKind::DWord},
        {u".C", false, Por::ValueKind::DWord}, // "Ascending" without the blank is no direction
        {u".D", true, Por::ValueKind::DWord},
        {u".E", false, Por::ValueKind::DWord},
    };
    EXPECT_EQ(Dml::Query::GetSorting(options.Get()), expected);

    // The composite form that inspectors write directly.
    Por::Unit single = Por::Unit::Composite();
    single["SortingOptions"]["Period"]["FinishTime"] = Leaf({"Descending"});
    EXPECT_EQ(Dml::Query::GetSorting(single.Get()),
              (std::vector<SortingEntry>{{u".Period.FinishTime", true, Por::ValueKind::DWord}}));
}

TEST(QueryReadersTest, NonCompositeSortItemNamesTheArrayPath)
{
    struct Case
    {
        const char* Name;
        Por::Unit Options;
        const char16_t* Message;
    };
    Por::Unit top = Por::Unit::Composite();
    top["SortingOptions"].PushBack(5u);
    Por::Unit nested = Por::Unit::Composite();
    nested["SortingOptions"]["Period"].PushBack(Leaf({"Descending"}).Get());
    const Case cases[] = {
        {"top level", top, u"DML: In sorting spec within array '', composite items are expected."},
        {"nested", nested, u"DML: In sorting spec within array '.Period', composite items are expected."},
    };
    for (const Case& test : cases)
    {
        SCOPED_TRACE(test.Name);
        const Common::Error error = ThrownError([&] { Dml::Query::GetSorting(test.Options.Get()); });
        EXPECT_EQ(error.GetCode(), 0x00FC0023u);
        EXPECT_EQ(error.GetMessage(), test.Message);
    }
}

TEST(QueryReadersTest, TimeStampOrderIsReadOnlyFromTheTopLevelMark)
{
    Por::Unit sorted = Por::Unit::Composite();
    Por::Unit key = Por::Unit::Composite();
    key["DmlTimeStamp"] = Leaf({"Ascending "}, Por::Unit(std::int64_t{0}));
    sorted["SortingOptions"].PushBack(key.Get());
    EXPECT_FALSE(Dml::Query::IsAscendingByTimeStamp(sorted.Get()));

    Por::Unit marked = Por::Unit::Composite();
    marked["DmlTimeStamp"] = Leaf({"Ascending "}, Por::Unit(std::int64_t{0}));
    EXPECT_TRUE(Dml::Query::IsAscendingByTimeStamp(marked.Get()));

    Por::Unit withoutBlank = Por::Unit::Composite();
    withoutBlank["DmlTimeStamp"] = Leaf({"Ascending"}, Por::Unit(std::int64_t{0}));
    EXPECT_FALSE(Dml::Query::IsAscendingByTimeStamp(withoutBlank.Get()));
}

TEST(QueryReadersTest, CounterObjectsCarryTheCountOnACopyOfTheTemplate)
{
    Por::Unit counterTemplate = Por::Unit::Composite();
    counterTemplate["ID"] = Common::NullGuid;
    counterTemplate["ID"].AddTrait("PrimaryKey");
    const Por::UnitPtr object = Dml::Query::MakeCounterObject(3, counterTemplate.Get());
    EXPECT_EQ(Dml::Query::GetCounterValue(*object), 3u);
    EXPECT_EQ(Dml::Query::GetCounterValue(counterTemplate.Get()), 0u);
    EXPECT_TRUE(Por::UnitEqual(Por::Util::GetPropertyValue(*object, "ID"), counterTemplate["ID"].Get()));
}

} // namespace
