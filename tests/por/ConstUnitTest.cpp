#include "por/ConstUnit.h"

#include "TestUnits.h"
#include "common/Error.h"
#include "common/Trace.h"
#include "por/Compare.h"
#include "por/DataAccessor.h"
#include "por/SafeUnitHolder.h"
#include "por/UnitBuilder.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace
{

using namespace Por;
using namespace Por::Testing;

// { "a.b": 1, a: { b: 2 } ^Is "T", Items: [10, 20], Text: "x" }
UnitPtr Sample()
{
    // clang-format off
    return Util::Build().Composite().Property("a.b", 1u)
        .Property("a").Composite().Trait("Is", u"T").Property("b", 2u).End()
        .Property("Items").Array().Element(10u).Element(20u).End()
        .Property("Text", u"x")
        .Done();
    // clang-format on
}

TEST(SafeUnitHolderTest, EmptyHolderThrowsACodeWithoutText)
{
    const View::SafeUnitHolder empty;
    const Common::Error error = Failure([&] { empty.Validate(); });
    EXPECT_EQ(error.GetCode(), 0xfa001fu);
    EXPECT_EQ(error.GetMessage(), u"");
    EXPECT_EQ(Failure([&] { empty.Get(); }).GetCode(), 0xfa001fu);
    const View::SafeUnitHolder held(Factory.CreateNil());
    EXPECT_EQ(Failure([&] { held.Validate(); }).GetCode(), 0u);
}

TEST(DataAccessorTest, IndexingBuildsPathsResolvedAtUseAndEqualityComparesUnits)
{
    const UnitPtr root = Sample();
    const Util::ConstDataAccessor accessor(root.get());
    EXPECT_EQ(accessor["a.b"].As<std::uint32_t>(), 1u); // one name, escaped
    EXPECT_EQ(accessor["a"]["b"].As<std::uint32_t>(), 2u);
    EXPECT_EQ(accessor["Items"][1].As<std::uint32_t>(), 20u);
    EXPECT_EQ(accessor["a"].Trait("Is").As<String>(), u"T");
    EXPECT_FALSE(accessor["Items"][2].IsValid());
    EXPECT_FALSE(accessor["Text"].Trait("Is").IsValid());

    // Equal when both are invalid, or both valid with equal units.
    const UnitPtr other = Sample();
    const Util::ConstDataAccessor same(other.get());
    EXPECT_TRUE(accessor["Items"] == same["Items"]);
    EXPECT_TRUE(accessor["missing"] == Util::ConstDataAccessor());
    EXPECT_FALSE(accessor["Items"] == same["missing"]);
    EXPECT_FALSE(accessor["a"]["b"] == same["a.b"]);
    EXPECT_FALSE(accessor["a"] == same["a"]["b"]);

    Util::DataAccessor writable(root.get());
    Util::SetValue(writable["a"]["b"].Get(), 5u);
    EXPECT_EQ(accessor["a"]["b"].As<std::uint32_t>(), 5u);
}

std::vector<std::u16string> Traced;
void CollectTrace(int, std::uint32_t, std::uint32_t, Common::WideStringView text)
{
    Traced.emplace_back(text);
}

TEST(DataAccessorTest, MissingElementsThrowAndTraceWhatWasThere)
{
    const UnitPtr root = Sample();
    const Common::TraceFunctions sink{&CollectTrace};
    Traced.clear();
    Common::RegisterTrace(sink);
    const Common::Error missing = Failure([&] { Util::ConstDataAccessor(root.get())["a"]["c"].Get(); });
    Common::UnregisterTrace(sink);
    EXPECT_EQ(missing.GetCode(), 0xfa0020u);
    EXPECT_EQ(missing.GetMessage(), u"POR: Element '.a.c' cannot be found.");
    ASSERT_EQ(Traced.size(), 1u);
    EXPECT_NE(Traced[0].find(u".a.c"), std::u16string::npos);
    EXPECT_NE(Traced[0].find(u"Unit: "), std::u16string::npos);
    EXPECT_NE(Traced[0].find(u"Items"), std::u16string::npos);

    const Common::Error writable = Failure([&] { Util::DataAccessor(root.get())["Items"][7].Get(); });
    EXPECT_EQ(writable.GetCode(), 0xfa0016u);
    EXPECT_EQ(writable.GetMessage(), u"POR: The array element cannot be found.");
}

TEST(ConstUnitTest, NamesArePropertiesDottedTextsArePathsAndMissingNodesPrintEmpty)
{
    const ConstUnit unit(Sample());
    EXPECT_EQ(unit["a.b"].As<std::uint32_t>(), 1u);
    EXPECT_EQ(unit[".a.b"].As<std::uint32_t>(), 2u);
    EXPECT_EQ(unit[u"a.b"].As<std::uint32_t>(), 1u);
    EXPECT_EQ(unit[u".a.b"].As<std::uint32_t>(), 2u);
    EXPECT_EQ(unit["a"]["^Is"].As<String>(), u"T");
    EXPECT_EQ(unit["a"].Trait("Is").As<String>(), u"T");
    EXPECT_EQ(unit["Items"][1].As<std::uint32_t>(), 20u);
    EXPECT_EQ(unit["Items"].Size(), 2u);
    EXPECT_EQ(unit["missing"].AsOr<std::uint32_t>(9), 9u);
    EXPECT_EQ(unit["a"]["b"].GetPath(), u".a.b");

    std::ostringstream missing;
    missing << unit["none"];
    EXPECT_EQ(missing.str(), "empty");
    std::ostringstream present;
    present << unit["Text"];
    EXPECT_NE(present.str().find("x"), std::string::npos);
}

TEST(ConstUnitTest, ErrorsNameThePath)
{
    const ConstUnit unit(Sample());
    struct Case
    {
        Common::Error Error;
        std::u16string Message;
    };
    const Case cases[] = {
        {Failure([&] { unit["a"]["c"].Get(); }), u"POR: There is no unit at '.a.c'."},
        {Failure([] { ConstUnit()["a"].Get(); }), u"POR: Cannot access unit at '.a'. Unit holder is empty."},
        {Failure([&] { unit["Text"][0]; }), u"POR: Expected that path '.Text' contains an array."},
        {Failure([&] { unit["Items"][2]; }), u"POR: Cannot access array unit at '.Items' by index '2'."},
        {Failure([&] { unit["Text"].Trait("Is"); }), u"POR: Trait 'Is' cannot be found at '.Text'."},
        {Failure([&] { unit["none"].Trait("Is"); }),
         u"POR: Cannot access trait 'Is' because of empty unit at path '.none'."},
        {Failure([&] { unit["Text"].begin(); }), u"Composite unit expected: .Text"},
        {Failure([&] { *unit.end(); }), u"Invalid iterator access attempt"},
    };
    for (const Case& item : cases)
    {
        EXPECT_EQ(item.Error.GetCode(), 0xfa0001u);
        EXPECT_EQ(item.Error.GetMessage(), item.Message);
    }
}

TEST(ConstUnitTest, IteratorsYieldEachPropertyInNameOrder)
{
    const ConstUnit unit(Sample());
    std::vector<std::u16string> paths;
    for (const ConstUnit& property : unit)
    {
        paths.push_back(property.GetPath());
    }
    EXPECT_EQ(paths, (std::vector<std::u16string>{u".Items", u".Text", u".a", u".a&d;b"})); // strcmp order
    EXPECT_EQ(unit["a"].begin().GetName(), "b");
    EXPECT_EQ((*unit["a"].begin()).As<std::uint32_t>(), 2u);
}

} // namespace
