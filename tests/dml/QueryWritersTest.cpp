#include "dml/QueryWriters.h"

#include "common/ThrownError.h"
#include "dml/ObjectKey.h"
#include "dml/QueryReaders.h"
#include "dml/SpecWriters.h"
#include "por/Compare.h"
#include "por/TraitUtil.h"
#include "por/UnitAccess.h"

#include <gtest/gtest.h>

#include <functional>

namespace
{

using Dml::Query::SortingEntry;
using Testing::ThrownError;
const Por::Construction::UnitFactory& Factory = Por::GetUnitFactory();

// {Period: {FinishTime: sqword 0}}
Por::Unit FinishTimeTemplate()
{
    Por::Unit sortTemplate = Por::Unit::Composite();
    sortTemplate["Period"]["FinishTime"] = std::int64_t{0};
    return sortTemplate;
}

std::vector<std::string> Keys(const Por::View::Unit& options)
{
    std::vector<std::string> keys;
    auto each = Por::MakeProcessor<const Por::View::Property>([&](const Por::View::Property& property)
                                                              { keys.push_back(property.GetName()); });
    Por::Util::GetComposite(options).ForEach(each);
    return keys;
}

TEST(SpecWritersTest, WriterOnEmptyOptionsCreatesOnlyItsKeyAndLeavesTheSpecAlone)
{
    const Por::Unit sortTemplate = FinishTimeTemplate();
    const Por::Unit mask = Por::Unit::Composite();
    using Writer = std::function<Dml::ViewSpec(const Dml::ViewSpec&)>;
    const std::pair<std::string, Writer> writers[] = {
        {"LimitOptions", [](const Dml::ViewSpec& spec) { return Dml::Query::WithLimit(spec, 3); }},
        {"Mask", [&](const Dml::ViewSpec& spec) { return Dml::Query::WithMask(spec, mask.Get()); }},
        {"TenantInfo",
         [](const Dml::ViewSpec& spec) {
             return Dml::Query::WithTenantInfo(spec, {u"t", u"p", u"l"});
         }},
        {"EntryPoint",
         [](const Dml::ViewSpec& spec) {
             return Dml::Query::WithEntryPoint(spec, {1, "f", 2});
         }},
        {"SortingOptions",
         [&](const Dml::ViewSpec& spec) { return Dml::Query::WithAscendingOrder(spec, sortTemplate.Get()); }},
        {"SortingOptions", [&](const Dml::ViewSpec& spec)
         { return Dml::Query::WithDescendingOrder(spec, sortTemplate.Get()); }},
        {"SortingOptions",
         [](const Dml::ViewSpec& spec) { return Dml::Query::WithAscendingTimeStampOrder(spec); }},
        {"FullObjectNotifications",
         [](const Dml::ViewSpec& spec) { return Dml::Query::WithFullObjectNotifications(spec); }},
        {"ReentrantNotifications",
         [](const Dml::ViewSpec& spec) { return Dml::Query::WithReentrantNotifications(spec); }},
        {"CacheReadDisabled",
         [](const Dml::ViewSpec& spec) { return Dml::Query::WithCacheReadDisabled(spec); }},
        {"Counter", [](const Dml::ViewSpec& spec) { return Dml::Query::WithCounter(spec); }},
    };
    const Por::ConstUnitPtr pattern = Factory.CreateComposite();
    for (const auto& [key, write] : writers)
    {
        SCOPED_TRACE(key);
        const Dml::ViewSpec empty{pattern, nullptr};
        const Dml::ViewSpec written = write(empty);
        EXPECT_EQ(empty.Options, nullptr);
        EXPECT_EQ(written.Pattern, pattern);
        ASSERT_NE(written.Options, nullptr);
        EXPECT_EQ(Keys(*written.Options), std::vector<std::string>{key});

        // On present options: a clone gets the key, the shared options stay as they were.
        Por::Unit before = Por::Unit::Composite();
        before["Other"] = 1u;
        const Dml::ViewSpec full{pattern, before.Result()};
        const Dml::ViewSpec rewritten = write(full);
        EXPECT_EQ(full.Options, before.Result());
        EXPECT_EQ(Keys(*full.Options), std::vector<std::string>{"Other"});
        EXPECT_NE(rewritten.Options, full.Options);
        EXPECT_EQ(Keys(*rewritten.Options).size(), 2u);
    }

    const Dml::ViewSpec scalar{pattern, Factory.CreateDWord(1)};
    const Common::Error mismatch = ThrownError([&] { Dml::Query::WithLimit(scalar, 1); });
    EXPECT_EQ(mismatch.GetCode(), 0x00FA000Au);
    EXPECT_EQ(Por::Util::GetValue<std::uint32_t>(*scalar.Options), 1u);
}

TEST(SpecWritersTest, WithoutFullObjectNotificationsClonesOnlyWhenTheFlagIsSet)
{
    EXPECT_EQ(Dml::Query::WithoutFullObjectNotifications(nullptr), nullptr);
    Por::Unit unset = Por::Unit::Composite();
    unset["FullObjectNotifications"] = false;
    EXPECT_EQ(Dml::Query::WithoutFullObjectNotifications(unset.Result()), unset.Result());

    Por::Unit set = Por::Unit::Composite();
    set["FullObjectNotifications"] = true;
    set["LimitOptions"] = 2u;
    const Por::ConstUnitPtr cleared = Dml::Query::WithoutFullObjectNotifications(set.Result());
    EXPECT_EQ(Keys(*cleared), std::vector<std::string>{"LimitOptions"});
    EXPECT_TRUE(Dml::Query::IsFullObjectNotifications(set.Get()));
}

TEST(QueryWritersTest, SortKeysAccumulateWithExactLiteralsAndRoundTrip)
{
    Por::UnitPtr options = Factory.CreateComposite();
    Dml::Query::AddAscendingOrder(*options, FinishTimeTemplate().Get());
    Por::Unit state = Por::Unit::Composite();
    state["State"] = 0u;
    Dml::Query::AddDescendingOrder(*options, state.Get());
    const std::vector<SortingEntry> expected = {{u".Period.FinishTime", false, Por::ValueKind::SQWord},
                                                {u".State", true, Por::ValueKind::DWord}};
    EXPECT_EQ(Dml::Query::GetSorting(*options), expected);

    const Por::View::Unit& leaf = Por::Util::GetPropertyValue(
        Por::Util::GetPropertyValue(
            Por::Util::GetArray(Por::Util::GetPropertyValue(*options, "SortingOptions")).Get(0), "Period"),
        "FinishTime");
    EXPECT_TRUE(Por::Util::HasTrait(leaf, "Ascending "));
    EXPECT_FALSE(Por::Util::HasTrait(leaf, "Ascending"));
    EXPECT_TRUE(Por::Util::IsNil(Por::Util::GetUniqueTraitByName(leaf, "Ascending ")));

    // SetSorting replaces what was there, and its keys read back as given, names with separators too.
    const std::vector<SortingEntry> entries = {{u".a&d;b.When", true, Por::ValueKind::SQWord},
                                               {u".Name", false, Por::ValueKind::String},
                                               {u".Id", true, Por::ValueKind::Guid}};
    Dml::Query::SetSorting(*options, entries);
    EXPECT_EQ(Dml::Query::GetSorting(*options), entries);
}

TEST(QueryWritersTest, TemplateEndingInACompositeOrArrayChangesNothing)
{
    Por::Unit composite = Por::Unit::Composite();
    composite["Period"].EnsureComposite();
    Por::Unit array = Por::Unit::Composite();
    array["Items"].PushBack(1u);
    for (const Por::Unit* sortTemplate : {&composite, &array})
    {
        const Por::UnitPtr options = Factory.CreateComposite();
        Dml::Query::AddAscendingOrder(*options, sortTemplate->Get());
        Dml::Query::AddDescendingOrder(*options, sortTemplate->Get());
        EXPECT_TRUE(Keys(*options).empty());
        const Dml::ViewSpec spec = Dml::Query::WithAscendingOrder({}, sortTemplate->Get());
        EXPECT_TRUE(Keys(*spec.Options).empty());
    }
}

TEST(QueryWritersTest, TimeStampReadsKeepTheirOrderAndAsymmetry)
{
    const Por::UnitPtr latest = Factory.CreateComposite();
    Dml::Query::SetLastByTimeStamp(*latest, 4);
    EXPECT_EQ(Dml::Query::GetSorting(*latest),
              (std::vector<SortingEntry>{{u".DmlTimeStamp", true, Por::ValueKind::SQWord}}));
    EXPECT_EQ(Dml::Query::GetLimit(*latest), 4u);
    EXPECT_TRUE(Dml::Query::IsReverseReportOrder(*latest));

    // Ascending by time stamp as a sort key is not the mark the store re-sorts pages by.
    const Dml::ViewSpec ascending = Dml::Query::WithAscendingTimeStampOrder({});
    EXPECT_EQ(Dml::Query::GetSorting(*ascending.Options),
              (std::vector<SortingEntry>{{u".DmlTimeStamp", false, Por::ValueKind::SQWord}}));
    EXPECT_FALSE(Dml::Query::IsAscendingByTimeStamp(*ascending.Options));
}

TEST(QueryWritersTest, SectionsRoundTripThroughTheReaders)
{
    const Por::UnitPtr options = Factory.CreateComposite();
    Dml::Query::SetLimitAndOffset(*options, 20, 40);
    Dml::Query::SetTenantInfo(*options, {u"t", u"p", u"/p/t"});
    Dml::Query::SetEntryPoint(*options, {0x1122334455667788ull, "src/x.cpp", 12});
    Dml::Query::SetEntryPoint(*options, {5, "y.cpp", 6}); // present sections are written in place
    Por::Unit mask = Por::Unit::Composite();
    mask["Name"] = true;
    Dml::Query::SetMask(*options, mask.Get());
    Dml::Query::SetCounter(*options);
    Dml::Query::SetCounter(*options);

    EXPECT_EQ(Dml::Query::GetLimit(*options), 20u);
    EXPECT_EQ(Dml::Query::GetOffset(*options), 40u);
    Dml::Query::TenantInfo tenant;
    EXPECT_TRUE(Dml::Query::GetTenantInfo(*options, tenant));
    EXPECT_EQ(tenant, (Dml::Query::TenantInfo{u"t", u"p", u"/p/t"}));
    Core::EntryPoint entry;
    EXPECT_TRUE(Dml::Query::GetEntryPoint(*options, entry));
    EXPECT_EQ(entry, (Core::EntryPoint{5, "y.cpp", 6}));
    EXPECT_TRUE(Por::UnitEqual(*Dml::Query::GetMask(*options), mask.Get()));

    const Por::View::Unit* counterTemplate = Dml::Query::GetCounterTemplate(*options);
    ASSERT_NE(counterTemplate, nullptr);
    EXPECT_EQ(Keys(*counterTemplate), std::vector<std::string>{"ID"});
    const Por::View::Unit& key = Dml::GetObjectKey(*counterTemplate);
    EXPECT_EQ(Por::Util::GetValue<Common::Guid>(key), Common::NullGuid);
    EXPECT_EQ(Keys(Por::Util::GetPropertyValue(*options, "Counter")),
              std::vector<std::string>{"CounterObjectTemplate"});

    const Por::UnitPtr wrongKind = Factory.CreateComposite();
    Por::Util::AddProperty(*wrongKind, "LimitOptions", Factory.CreateString(u"ten"), Factory);
    EXPECT_EQ(ThrownError([&] { Dml::Query::SetLimit(*wrongKind, 1); }).GetCode(), 0x00FA000Au);
}

TEST(QueryWritersTest, HandleTwinsWriteTheSameKeys)
{
    const Por::Unit sortTemplate = FinishTimeTemplate();
    const Core::EntryPoint entry{9, "z.cpp", 3};
    const Dml::Query::TenantInfo tenant{u"t", u"p", u"l"};

    Por::Unit request = Por::Unit::Composite();
    Por::Unit options = request["Options"]; // made by the first write
    Dml::Query::SetLimit(options, 7);
    Dml::Query::SetReverseReportOrder(options);
    Dml::Query::SetFullObjectNotifications(options);
    Dml::Query::SetEntryPoint(options, entry);
    Dml::Query::SetTenantInfo(options, tenant);
    Dml::Query::AddAscendingOrder(options, sortTemplate.Get());
    Dml::Query::AddDescendingOrder(options, sortTemplate.Get());

    const Por::UnitPtr expected = Factory.CreateComposite();
    Dml::Query::SetLimit(*expected, 7);
    Dml::Query::SetReverseReportOrder(*expected);
    Dml::Query::SetFullObjectNotifications(*expected);
    Dml::Query::SetEntryPoint(*expected, entry);
    Dml::Query::SetTenantInfo(*expected, tenant);
    Dml::Query::AddAscendingOrder(*expected, sortTemplate.Get());
    Dml::Query::AddDescendingOrder(*expected, sortTemplate.Get());
    EXPECT_TRUE(Por::UnitEqual(request["Options"].Get(), *expected));
}

} // namespace
