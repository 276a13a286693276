#include "por/Merge.h"

#include "TestUnits.h"
#include "por/BaseObject.h"
#include "por/Compare.h"
#include "por/ConstUnit.h"
#include "por/Diff.h"
#include "por/DiffMarks.h"
#include "por/StateArithmetic.h"
#include "por/UnitPrinter.h"
#include "por/UpdateBuilder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>

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

// A "Tag" trait diff on `unit`; no value stands for the side without the pair.
UnitPtr TagDiff(UnitPtr unit, std::optional<std::uint32_t> previous, std::optional<std::uint32_t> next)
{
    return Trait(unit, "Tag", TraitDiff(previous ? U(*previous) : nullptr, next ? U(*next) : nullptr));
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

TEST(MergeTest, ArrayDiffRemovesByValueAndPutsAddedElementsFirst)
{
    const UnitPtr target = Array({U(1u), Trait(U(2u), "m", Nil()), U(3u), U(2u)});
    const UnitPtr diff = Array({Mark(U(2u), {Marks::Removed}), Mark(U(9u), {Marks::Added}),
                                Mark(U(8u), {Marks::Added}), U(3u) /* unmarked: says nothing */});
    const UnitPtr merged = Util::MergeImpl(*target, *diff, Factory, false);
    EXPECT_TRUE(UnitEqual(*merged, *Array({U(9u), U(8u), U(1u), U(3u)}))) << Util::UnitToString(*merged);
}

TEST(MergeTest, TraitDiffsMatchTheTargetsPairs)
{
    const struct
    {
        const char* Name;
        std::optional<std::uint32_t> Previous;
        std::optional<std::uint32_t> Next;
        UnitPtr Expected;
    } cases[] = {
        {"matching: replaced", 1u, 5u, Trait(Nil(), "Tag", U(5u))},
        {"previous value differs: left alone", 2u, 5u, Trait(Nil(), "Tag", U(1u))},
        {"matching, next removed: gone", 1u, std::nullopt, Nil()},
        {"previous added: a new pair", std::nullopt, 7u, Trait(Trait(Nil(), "Tag", U(1u)), "Tag", U(7u))},
    };
    const UnitPtr target = Trait(Nil(), "Tag", U(1u));
    for (const auto& test : cases)
    {
        const UnitPtr merged =
            Util::InternalMerge(*target, *TagDiff(Nil(), test.Previous, test.Next), Factory, false, false);
        EXPECT_TRUE(UnitEqual(*merged, *test.Expected)) << test.Name << "\n" << Util::UnitToString(*merged);
    }
    const UnitPtr twice = TagDiff(TagDiff(Nil(), 1u, 5u), 1u, 6u);
    EXPECT_EQ(Failure([&] { Util::InternalMerge(*target, *twice, Factory, false, false); }).GetCode(),
              0xfa000cu);
}

TEST(MergeTest, PropertyEntriesByTheirMarks)
{
    const UnitPtr target = Composite({{"keep", U(1u)},
                                      {"gone", U(2u)},
                                      {"over", Trait(U(3u), "Tag", Nil())},
                                      {"counter", U(std::uint8_t{255})}});
    const UnitPtr diff =
        Mark(Composite({{"gone", Mark(Nil(), {Marks::Removed})},
                        {"ghost", Mark(Nil(), {Marks::Removed})},
                        {"over", Mark(U(4u), {Marks::Added})},
                        {"fresh", Mark(U(5u), {Marks::Added})},
                        {"counter", Trait(U(std::uint8_t{0}), Marks::IncrementState, U(std::uint8_t{1}))},
                        {"missing", Trait(U(100u), Marks::IncrementState, U(7u))}}),
             {Marks::PackedDiff});
    const UnitPtr expected = Composite({{"keep", U(1u)},
                                        {"over", U(4u)}, // added over an existing property: replaced whole
                                        {"fresh", U(5u)},
                                        {"counter", U(std::uint8_t{0})},
                                        {"missing", U(100u)}}); // the entry's own value, not the operand
    const UnitPtr merged = Util::Merge(*target, *diff, Factory);
    EXPECT_TRUE(UnitEqual(*merged, *expected)) << Util::UnitToString(*merged);

    const UnitPtr twice =
        Composite({{"counter", Trait(Trait(U(std::uint8_t{0}), Marks::IncrementState, U(std::uint8_t{1})),
                                     Marks::IncrementState, U(std::uint8_t{2}))}});
    EXPECT_EQ(Failure([&] { Util::InternalMerge(*target, *twice, Factory, false, false); }).GetCode(),
              0xfa001cu);
}

TEST(MergeTest, FailuresAndTheirReports)
{
    const UnitPtr target = Composite({{"a", U(1u)}});
    const UnitPtr plain = Composite({{"a", U(2u)}});

    EXPECT_EQ(Failure([&] { Util::ApplyDiff(*target, *plain, Factory); }).GetCode(), 0xfa000cu);
    EXPECT_TRUE(UnitEqual(*target, *Composite({{"a", U(1u)}})));

    const Common::Error wrapped = Failure([&] { Util::Merge(*target, *plain, Factory); });
    EXPECT_EQ(wrapped.GetCode(), 0xfa000cu);
    EXPECT_EQ(wrapped.GetMessage(), u"POR: Failed to merge object update.\nObject is '" +
                                        Util::UnitToWideString(target.get()) + u"'.\nDiff is '" +
                                        Util::UnitToWideString(plain.get()) + u"'.");
    EXPECT_EQ(wrapped.GetSubError().GetMessage(), u"POR: Failed to merge object update.");

    const Common::Error empty = Failure([&] { Util::Merge(ConstUnit(), *plain); });
    EXPECT_EQ(empty.GetCode(), 0xfa0001u);
    EXPECT_EQ(empty.GetMessage(), u"POR: Trying to apply diff to empty unit.");
}

TEST(MergeTest, UpdateBuilderWritesOperationsAdditionsAndRemovals)
{
    const UnitPtr target = Composite({{"count", U(5u)},
                                      {"flags", U(std::uint16_t{0x0f})},
                                      {"name", U(u"x")},
                                      {"old", U(true)},
                                      {"list", Array({U(1u), U(2u), U(3u)})}});
    UpdateBuilder update;
    update.Increment(u".count", 2u)
        .BitwiseAnd(u".flags", std::uint16_t{0x3c})
        .Declare(u".name", *U(u"y"))
        .Decrement(u".missing", 7.5)
        .Add(u".extra", *U(false))
        .Remove(u".old")
        .AddFront(u".list", *U(0u))
        .AddFront(u".list", *U(9u))
        .RemoveElement(u".list", *U(2u));
    const UnitPtr expected = Composite({{"count", U(7u)},
                                        {"flags", U(std::uint16_t{0x0c})},
                                        {"name", U(u"y")},
                                        {"missing", U(7.5)},
                                        {"extra", U(false)},
                                        {"list", Array({U(9u), U(0u), U(1u), U(3u)})}});
    const UnitPtr merged = Util::Merge(*target, *update.Result(), Factory);
    EXPECT_TRUE(UnitEqual(*merged, *expected)) << Util::UnitToString(*merged);
    EXPECT_TRUE(UnitEqual(*update.Result(), *Mark(Nil(), {Marks::EmptyDiff, Marks::PackedDiff})));

    // In place, through a plain object: values change, the shape does not.
    BaseObject object(Util::Copy(*target, Factory));
    object.Merge(*UpdateBuilder().Increment(u".count", 1u).Remove(u".old").Result());
    const UnitPtr counted = Util::Copy(*target, Factory);
    Util::SetValue<std::uint32_t>(Util::GetPropertyValue(*counted, "count"), 6u);
    EXPECT_TRUE(UnitEqual(object.Branch(), *counted)) << Util::UnitToString(object.Branch());
}

TEST(StateArithmeticTest, MachineArithmeticOnTheKindsOwnWidth)
{
    using Util::StateOperation;
    struct Case
    {
        const char* Name;
        StateOperation Operation;
        UnitPtr Target;
        UnitPtr Operand;
        UnitPtr Expected; // null: the pair is refused
    };
    const Case cases[] = {
        {"byte wraps up", StateOperation::Increment, Factory.CreateByte(255), Factory.CreateByte(1),
         Factory.CreateByte(0)},
        {"qword wraps down", StateOperation::Decrement, Factory.CreateQWord(0), Factory.CreateQWord(1),
         Factory.CreateQWord(std::numeric_limits<std::uint64_t>::max())},
        {"sbyte wraps to its minimum", StateOperation::Increment, Factory.CreateSByte(127),
         Factory.CreateSByte(1), Factory.CreateSByte(-128)},
        {"sqword wraps below its minimum", StateOperation::Decrement,
         Factory.CreateSQWord(std::numeric_limits<std::int64_t>::min()), Factory.CreateSQWord(1),
         Factory.CreateSQWord(std::numeric_limits<std::int64_t>::max())},
        {"sword adds a negative operand", StateOperation::Increment, Factory.CreateSWord(5),
         Factory.CreateSWord(-7), Factory.CreateSWord(-2)},
        {"word and", StateOperation::BitwiseAnd, Factory.CreateWord(0xf0f0), Factory.CreateWord(0x0ff0),
         Factory.CreateWord(0x00f0)},
        {"sdword or", StateOperation::BitwiseOr, Factory.CreateSDWord(-16), Factory.CreateSDWord(3),
         Factory.CreateSDWord(-13)},
        {"double subtracts", StateOperation::Decrement, Factory.CreateDouble(1.5), Factory.CreateDouble(2.25),
         Factory.CreateDouble(-0.75)},
        {"dword with an sdword operand", StateOperation::Increment, Factory.CreateDWord(1),
         Factory.CreateSDWord(1), nullptr},
        {"word with a dword operand", StateOperation::BitwiseOr, Factory.CreateWord(1),
         Factory.CreateDWord(1), nullptr},
        {"or on double", StateOperation::BitwiseOr, Factory.CreateDouble(1), Factory.CreateDouble(2),
         nullptr},
        {"increment on boolean", StateOperation::Increment, Factory.CreateBoolean(false),
         Factory.CreateBoolean(true), nullptr},
        {"increment on string", StateOperation::Increment, Factory.CreateString(u"a"),
         Factory.CreateString(u"b"), nullptr},
        {"and on nil", StateOperation::BitwiseAnd, Factory.CreateNil(), Factory.CreateNil(), nullptr},
    };
    for (const Case& test : cases)
    {
        const UnitPtr before = Util::Copy(*test.Target, Factory);
        try
        {
            Util::ApplyStateOperation(test.Operation, *test.Target, *test.Operand);
            ASSERT_NE(test.Expected, nullptr) << test.Name << " was not refused";
            EXPECT_TRUE(UnitEqual(*test.Target, *test.Expected))
                << test.Name << ": " << Util::UnitToString(*test.Target);
        }
        catch (const Common::Error& error)
        {
            EXPECT_EQ(test.Expected, nullptr) << test.Name;
            EXPECT_EQ(error.GetCode(), 0xfa000cu) << test.Name;
            EXPECT_EQ(error.GetMessage(), u"POR: Failed to merge object update.") << test.Name;
            EXPECT_TRUE(UnitEqual(*test.Target, *before)) << test.Name;
        }
    }
}

} // namespace
