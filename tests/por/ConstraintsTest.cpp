#include "por/Constraints.h"

#include "por/Compare.h"
#include "por/Match.h"
#include "por/UnitBuilder.h"
#include "por/UnitPrinter.h"

#include <gtest/gtest.h>

namespace
{

using namespace Por;

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
