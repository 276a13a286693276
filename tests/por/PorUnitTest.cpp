#include "por/PorUnit.h"

#include "TestUnits.h"
#include "common/Error.h"
#include "por/Compare.h"
#include "por/Constraints.h"
#include "por/Match.h"
#include "por/TraitUtil.h"
#include "por/UnitBuilder.h"
#include "por/UnitPrinter.h"

#include <gtest/gtest.h>

namespace
{

using namespace Por;
using namespace Por::Testing;

TEST(PorUnitTest, AssignmentCreatesTheMissingWay)
{
    Por::Unit unit;
    EXPECT_EQ(GetValueTypeIndex(*unit.Result()), ValueKind::Nil);
    unit["Details"]["Specific"] = 5u;
    unit["Name"] = Common::WideString(u"x");
    unit[".Details.Other"] = std::int64_t(-1);
    // clang-format off
    const UnitPtr expected = Util::Build().Composite()
        .Property("Details").Composite().Property("Other", std::int64_t(-1)).Property("Specific", 5u).End()
        .Property("Name", u"x")
        .Done();
    // clang-format on
    EXPECT_TRUE(UnitEqual(*unit.Result(), *expected)) << Util::UnitToString(*unit.Result());
}

TEST(PorUnitTest, HandlesShareTheTreeAndCopyAssignmentWritesACopy)
{
    Por::Unit unit;
    Por::Unit handle = unit["a"];
    handle = 1;
    EXPECT_EQ(unit["a"].As<std::int32_t>(), 1);
    unit["b"] = unit["a"];
    handle = 2;
    EXPECT_EQ(unit["b"].As<std::int32_t>(), 1);
    EXPECT_EQ(handle.As<std::int32_t>(), 2);

    Por::Unit value(7u); // a root of the value's kind, replaced whole by a root assignment
    EXPECT_EQ(value.As<std::uint32_t>(), 7u);
    const Por::Unit child = value["x"];
    value = u"text";
    EXPECT_EQ(value.AsConst().As<String>(), u"text");
    EXPECT_FALSE(child.Exists());
}

TEST(PorUnitTest, ArraysAreFilledByIndexAndPushBack)
{
    Por::Unit unit;
    unit["List"].PushBack(1u).PushBack(2u);
    unit["List"][1] = 7u;
    unit["List"][2] = 9u;
    const UnitPtr expected = Util::Build().Array().Element(1u).Element(7u).Element(9u).Done();
    EXPECT_TRUE(UnitEqual(unit["List"].Get(), *expected));
    const Common::Error past = Failure([&] { unit["List"][5] = 1u; });
    EXPECT_EQ(past.GetMessage(), u"POR: Cannot access array unit at '.List' by index '5'.");
    const Common::Error throughScalar = Failure([&] { unit["List"][0]["x"] = 1u; });
    EXPECT_EQ(throughScalar.GetMessage(), u"Composite unit expected: .List.0");
}

TEST(PorUnitTest, ConstraintBuildingKeepsWhatIsThere)
{
    Por::Unit pattern;
    pattern["State"].SetDefault<std::int64_t>().SetTrait("Greater", std::int64_t(3));
    pattern["State"].SetDefault<std::int64_t>(9).SetTrait("Greater", std::int64_t(4));
    pattern["Kind"]
        .AddTrait("Is", *Factory.CreateString(u"A"))
        .EnsureComposite()
        .AddTrait("Is", *Factory.CreateString(u"B"));
    pattern["Kind"].EnsureComposite();
    pattern["Kind"]["^Type"] = u"t";
    // clang-format off
    const UnitPtr expected = Util::Build().Composite()
        .Property("Kind").Composite().Trait("Is", u"A").Trait("Is", u"B").Trait("Type", u"t").End()
        .Property("State").Value(std::int64_t(0)).Trait("Greater", std::int64_t(4)).End()
        .Done();
    // clang-format on
    EXPECT_TRUE(UnitEqual(*pattern.Result(), *expected)) << Util::UnitToString(*pattern.Result());
}

TEST(ConstraintsTest, ListBuildsAPatternThatSelectsBySeveralOperators)
{
    Detail::ConstraintList onRoot;
    onRoot.push_back(std::make_unique<Detail::IsConstraint>(u"Activity"));
    Por::Unit pattern;
    Detail::Apply(onRoot, pattern);
    Por::Unit state = pattern["State"];
    Detail::ValueInConstraint<std::set<std::uint32_t>>({5, 3}).Apply(state);
    Por::Unit stamp = pattern["DmlTimeStamp"];
    Detail::UnaryConstraint<std::int64_t>("Greater", 100).Apply(stamp);
    Por::Unit kind = pattern["Kind"];
    Detail::ValueInConstraint<std::set<std::string>>({"b", "a"}).Apply(kind);

    // clang-format off
    const UnitPtr expected = Util::Build().Composite().Trait("Is", u"Activity")
        .Property("DmlTimeStamp").Value(std::int64_t{0}).Trait("Greater", std::int64_t{100}).End()
        .Property("Kind").Value(String())
            .Trait("ValueIn").Array().Element(String(u"a")).Element(String(u"b")).End()
        .End()
        .Property("State").Value(0u).Trait("ValueIn").Array().Element(3u).Element(5u).End().End()
        .Done();
    EXPECT_TRUE(UnitEqual(*pattern.GetRoot(), *expected)) << Util::UnitToString(*pattern.GetRoot());

    const UnitPtr activity = Util::Build().Composite().Trait("Is", u"Activity")
        .Property("DmlTimeStamp", std::int64_t{101}).Property("Kind", u"a").Property("State", 5u).Done();
    // clang-format on
    EXPECT_TRUE(Match(*activity, *pattern.GetRoot()));
    Util::SetValue<std::uint32_t>(Util::GetPropertyValue(*activity, "State"), 4u);
    EXPECT_FALSE(Match(*activity, *pattern.GetRoot()));
}

TEST(ConstraintsTest, ExistingValuesAreKeptAndKeysCarryTheirType)
{
    Por::Unit node(std::int64_t{7});
    Detail::UnaryConstraint<std::int64_t>("Less", 9).Apply(node);
    EXPECT_EQ(node.As<std::int64_t>(), 7);

    Por::Unit key;
    const Common::Guid id{1, 2, 3, {4}};
    Detail::PKMaker<Common::Guid>(id, u"Gtob::Dto::ProtectionPlan").Apply(key);
    const UnitPtr expected = Util::Build().Value(id).Trait("Type", u"Gtob::Dto::ProtectionPlan").Done();
    EXPECT_TRUE(UnitEqual(*key.GetRoot(), *expected)) << Util::UnitToString(*key.GetRoot());
}

} // namespace
