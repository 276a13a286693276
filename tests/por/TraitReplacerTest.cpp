#include "por/TraitReplacer.h"

#include "por/Compare.h"
#include "por/UnitAccess.h"
#include "por/UnitBuilder.h"
#include "por/UnitFactory.h"
#include "por/UnitPrinter.h"

#include <gtest/gtest.h>

namespace
{

using namespace Por;
const Construction::UnitFactory& Factory = GetUnitFactory();

TEST(TraitReplacerTest, ReplacesTheTraitWhereverItIs)
{
    // "T" at the root (twice), on a property, on an array element and inside another trait's value; the
    // root's first "T" holds a tree of its own, which must vanish whole.
    // clang-format off
    const UnitPtr unit = Util::Build().Composite()
        .Trait("T").Composite().Trait("T", 9u).Property("deep").Array().Element(1u).End().End()
        .Trait("T", 2u).Trait("U", 1u)
        .Trait("Other").Composite().Property("x").Value(1u).Trait("T", 3u).End().End()
        .Property("p").Value(1u).Trait("T", nullptr).Trait("V", 1u).End()
        .Property("q").Array().Value(u"e").Trait("T", 4u).End().Element(5u).End()
        .Property("r", 6u)
        .Done();
    const UnitPtr expected = Util::Build().Composite()
        .Trait("T", u"new").Trait("U", 1u)
        .Trait("Other").Composite().Property("x").Value(1u).Trait("T", u"new").End().End()
        .Property("p").Value(1u).Trait("T", u"new").Trait("V", 1u).End()
        .Property("q").Array().Value(u"e").Trait("T", u"new").End().Element(5u).End()
        .Property("r", 6u)
        .Done();
    // clang-format on
    const UnitPtr replaced = Util::ReplaceTrait(*unit, "T", *Factory.CreateString(u"new"), Factory);
    EXPECT_TRUE(UnitEqual(*replaced, *expected)) << Util::UnitToString(*replaced);

    const UnitPtr untouched = Util::ReplaceTrait(*unit, "Missing", *Factory.CreateNil(), Factory);
    EXPECT_TRUE(UnitEqual(*untouched, *unit));
}

TEST(TraitReplacerTest, ExcludingCopyDropsOnePairOnly)
{
    // clang-format off
    const UnitPtr unit = Util::Build().Composite()
        .Trait("Is", u"A").Trait("Is", u"B").Trait("Mark", nullptr)
        .Property("p").Value(1u).Trait("Is", u"A").End()
        .Done();
    const UnitPtr expected = Util::Build().Composite()
        .Trait("Is", u"B").Trait("Mark", nullptr)
        .Property("p").Value(1u).Trait("Is", u"A").End()
        .Done();
    // clang-format on
    const UnitPtr copy = Util::CopyExcludingTrait(*unit, "Is", *Factory.CreateString(u"A"), Factory);
    EXPECT_TRUE(UnitEqual(*copy, *expected)) << Util::UnitToString(*copy);
    EXPECT_TRUE(
        UnitEqual(*Util::CopyExcludingTrait(*unit, "Is", *Factory.CreateString(u"C"), Factory), *unit));
}

} // namespace
