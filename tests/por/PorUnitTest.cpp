#include "por/PorUnit.h"

#include "TestUnits.h"
#include "common/Error.h"
#include "por/Compare.h"
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

} // namespace
