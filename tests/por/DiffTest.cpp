#include "por/Diff.h"

#include "TestUnits.h"
#include "por/Compare.h"
#include "por/DiffMarks.h"
#include "por/Merge.h"
#include "por/UnitPrinter.h"

#include <gtest/gtest.h>

namespace
{

using namespace Por;
using namespace Por::Testing;
namespace Marks = DiffMarks;

// The value of a trait diff; null stands for the side without the pair.
UnitPtr TraitDiff(UnitPtr previous, UnitPtr next)
{
    return Mark(Composite({{"PreviousValue", previous != nullptr ? previous : Mark(Nil(), {Marks::Added})},
                           {"NewValue", next != nullptr ? next : Mark(Nil(), {Marks::Removed})}}),
                {Marks::FullDiff});
}

TEST(DiffTest, ShapesOfTheDiff)
{
    const struct
    {
        const char* Name;
        UnitPtr Left;
        UnitPtr Right;
        UnitPtr Expected;
    } cases[] = {
        {"composite: changed, removed and added properties",
         Composite({{"a", U(1u)}, {"b", U(2u)}, {"c", U(3u)}}),
         Composite({{"a", U(1u)}, {"b", U(5u)}, {"d", U(4u)}}),
         Mark(Composite(
                  {{"b", U(5u)}, {"c", Mark(Nil(), {Marks::Removed})}, {"d", Mark(U(4u), {Marks::Added})}}),
              {Marks::PackedDiff})},
        {"a changed trait value is one pair removed and one added",
         Trait(Trait(Nil(), "Tag", U(1u)), "Is", U(u"x")), Trait(Trait(Nil(), "Tag", U(2u)), "Is", U(u"x")),
         Trait(Trait(Mark(Composite({}), {Marks::TraitsOnlyDiff, Marks::PackedDiff}), "Tag",
                     TraitDiff(U(1u), nullptr)),
               "Tag", TraitDiff(nullptr, U(2u)))},
        {"a changed array is copied whole with the right unit's traits", Trait(Array({U(1u)}), "Is", U(u"x")),
         Trait(Array({U(1u), U(2u)}), "Is", U(u"y")),
         Mark(Trait(Array({U(1u), U(2u)}), "Is", U(u"y")),
              {Marks::FullElementCopy, Marks::FixedTraitedFullCopy, Marks::PackedDiff})},
        {"a change of kind is the right value; equal traits stay out", Trait(U(1u), "Is", U(u"x")),
         Trait(U(u"1"), "Is", U(u"x")), Mark(U(u"1"), {Marks::PackedDiff})},
        {"a changed value with a trait gone", Trait(U(1.5), "Tag", Nil()), U(2.5),
         Trait(Mark(U(2.5), {Marks::PackedDiff}), "Tag", TraitDiff(Nil(), nullptr))},
        {"equal units", Trait(Composite({{"a", U(u"s")}}), "Is", U(u"x")),
         Trait(Composite({{"a", U(u"s")}}), "Is", U(u"x")),
         Mark(Nil(), {Marks::EmptyDiff, Marks::PackedDiff})},
    };
    for (const auto& test : cases)
    {
        const UnitPtr diff = Util::Diff(*test.Left, *test.Right, Factory);
        EXPECT_TRUE(UnitEqual(*diff, *test.Expected)) << test.Name << "\n" << Util::UnitToString(*diff);
        EXPECT_TRUE(UnitEqual(*Util::Merge(*test.Left, *diff, Factory), *test.Right)) << test.Name;
    }
}

TEST(DiffTest, AFullCopyDiffReplacesTheValueAndKeepsTheTargetsTraits)
{
    const UnitPtr diff = Util::MakeFullCopyDiff(*Trait(Array({U(7u)}), "Is", U(u"y")), Factory);
    const UnitPtr merged = Util::Merge(*Trait(Composite({{"a", U(1u)}}), "Is", U(u"x")), *diff, Factory);
    EXPECT_TRUE(UnitEqual(*merged, *Trait(Trait(Array({U(7u)}), "Is", U(u"x")), "Is", U(u"y"))));
}

} // namespace
