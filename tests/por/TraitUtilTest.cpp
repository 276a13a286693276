#include "por/TraitUtil.h"

#include "TestUnits.h"
#include "por/Compare.h"
#include "por/TraitReplacer.h"
#include "por/UnitAccess.h"
#include "por/UnitBuilder.h"
#include "por/UnitFactory.h"
#include "por/UnitPrinter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using namespace Por;
using namespace Por::Testing;

TEST(TraitLookupTest, UniqueByNameCountsDistinctValues)
{
    const UnitPtr two = Util::Build().Composite().Trait("Is", u"A").Trait("Is", u"B").Done();
    const Common::Error notUnique = Failure([&] { Util::GetUniqueTraitByName(*two, "Is"); });
    EXPECT_EQ(notUnique.GetCode(), 0xfa001cu);
    EXPECT_EQ(notUnique.GetMessage(), u"POR: Trait 'Is' is not unique.");
    EXPECT_EQ(Failure([&] { Util::FindUniqueTraitByName(*two, "Is"); }).GetCode(), 0xfa001cu);

    const UnitPtr same = Util::Build().Composite().Trait("Is", u"A").Trait("Is", u"A").Done();
    EXPECT_EQ(Util::GetValue<String>(Util::GetUniqueTraitByName(*same, "Is")), u"A");

    const Common::Error missing = Failure([&] { Util::GetUniqueTraitByName(*same, "Type"); });
    EXPECT_EQ(missing.GetCode(), 0xfa001du);
    EXPECT_EQ(missing.GetMessage(), u"POR: Trait 'Type' cannot be found.");
    EXPECT_EQ(Util::FindUniqueTraitByName(*same, "Type"), nullptr);
}

TEST(TraitLookupTest, HasTraitWithValueComparesKindAndTraitsOfTheValue)
{
    // clang-format off
    const UnitPtr unit = Util::Build().Nil().Trait("Is").Value(u"x").Trait("Extra", nullptr).End()
        .Trait("N", std::uint16_t{1}).Done();
    // clang-format on
    EXPECT_TRUE(Util::HasTraits(*unit));
    EXPECT_FALSE(Util::HasTraits(*Factory.CreateNil()));
    EXPECT_TRUE(Util::HasTrait(*unit, "Is"));
    EXPECT_FALSE(Util::HasTrait(*unit, "I"));
    EXPECT_FALSE(Util::HasTraitWithValue(*unit, "Is", u"x")); // the stored value has a trait of its own
    EXPECT_TRUE(Util::HasTraitWithValue(*unit, "N", std::uint16_t{1}));
    EXPECT_FALSE(Util::HasTraitWithValue(*unit, "N", 1u));
    EXPECT_FALSE(Util::HasTraitWithValue(*unit, "Is", std::uint16_t{1}));
}

TEST(TraitEditTest, AddFormsAndFailures)
{
    const UnitPtr unit = Util::Build().Composite().Property("p", 1u).Property("s").Composite().End().Done();
    const UnitPtr value = Factory.CreateString(u"v");
    Util::AddTrait(*unit, "Copy", *value, Factory);
    Util::SetValue<String>(*value, u"changed"); // the copy does not follow
    Util::AddTrait(*unit, "Owned", Factory.CreateDWord(2), Factory);
    Util::AddTrait(
        *unit, "Made", [] { return Factory.CreateBoolean(true); }, Factory);
    Util::AddTrait(*unit, "Mark", Factory);
    EXPECT_EQ(TraitList(unit->GetTraits()),
              (std::vector<std::string>{"Copy=v", "Made=boolean", "Mark=nil", "Owned=dword"}));
    EXPECT_EQ(Failure([&] { Util::AddTrait(*unit, "x", UnitPtr(), Factory); }).GetCode(), 0xfa000bu);

    Util::AddTraitToProperty(*unit, "p", "Unit", *value, Factory);
    EXPECT_TRUE(Util::HasTraitWithValue(Util::GetPropertyValue(*unit, "p"), "Unit", u"changed"));
    const Common::Error missing =
        Failure([&] { Util::AddTraitToProperty(*unit, "q", "T", *value, Factory); });
    EXPECT_EQ(missing.GetMessage(), u"POR: Property 'q' cannot be found.");
    EXPECT_EQ(Failure([&] { Util::AddTraitToProperty(*value, "p", "T", *value, Factory); }).GetCode(),
              0xfa000au);
}

TEST(TraitEditTest, RemoveCountsOnOneUnitAndOverTheTree)
{
    // clang-format off
    const UnitPtr unit = Util::Build().Composite().Trait("M", 1u).Trait("M", 2u)
        .Trait("Keep").Composite().Trait("M", nullptr).End() // a trait value: out of reach on this face
        .Property("a").Array().Value(1u).Trait("M", nullptr).End().End()
        .Property("b").Composite().Trait("M", nullptr)
        .Done();
    // clang-format on
    EXPECT_EQ(Util::RemoveTrait(*unit, "Other"), 0u);
    EXPECT_EQ(Util::RemoveTraitEverywhere(*unit, "M"), 4u);
    EXPECT_FALSE(Util::HasTrait(*unit, "M"));
    EXPECT_TRUE(Util::HasTraitAnywhere(*unit, "M"));
    EXPECT_EQ(Util::RemoveTraitEverywhere(*unit, "M"), 0u);
}

TEST(TraitSearchTest, AnywhereLooksIntoTraitValues)
{
    // clang-format off
    const UnitPtr unit = Util::Build().Composite()
        .Property("a").Array().Composite().Trait("T").Array().Value(1u).Trait("Deep", u"d")
        .Done();
    // clang-format on
    EXPECT_TRUE(Util::HasTraitAnywhere(*unit, "Deep"));
    EXPECT_FALSE(Util::HasTraitAnywhere(*unit, "Other"));
    EXPECT_TRUE(Util::HasTraitWithValueAnywhere(*unit, "Deep", *Factory.CreateString(u"d")));
    EXPECT_FALSE(Util::HasTraitWithValueAnywhere(*unit, "Deep", *Factory.CreateString(u"e")));
}

TEST(IdentityTraitsTest, ShortAndLongLists)
{
    // clang-format off
    const UnitPtr source = Util::Build().Composite().Trait("Is", u"A").Trait("Is", u"B").Trait("Type", 3u)
        .Trait("PrimaryKey").Composite().Property("Id", Common::Guid{1, 2, 3, {4}}).End()
        .Trait("ObjectID", u"o").Trait("Searchable", nullptr)
        .Done();
    // clang-format on
    const UnitPtr shortList = Factory.CreateComposite();
    Util::CopyIdentityTraits(*source, *shortList, Factory, false);
    EXPECT_EQ(TraitList(shortList->GetTraits()), (std::vector<std::string>{"Is=A", "Is=B"}));
    const UnitPtr longList = Factory.CreateComposite();
    Util::CopyIdentityTraits(*source, *longList, Factory, true);
    EXPECT_EQ(TraitList(longList->GetTraits()),
              (std::vector<std::string>{"Is=A", "Is=B", "ObjectID=o", "PrimaryKey=composite", "Type=dword"}));
    EXPECT_TRUE(UnitEqual(Util::GetUniqueTraitByName(*longList, "PrimaryKey"),
                          Util::GetUniqueTraitByName(*source, "PrimaryKey")));

    const UnitPtr plain = Factory.CreateComposite();
    Util::CopyIdentityTraits(*Factory.CreateDWord(1), *plain, Factory, true);
    EXPECT_FALSE(Util::HasTraits(*plain));
}

TEST(TraitProcessorTest, FilterCompositionAndApplier)
{
    // clang-format off
    const UnitPtr source = Util::Build().Nil().Trait("Is", u"A").Trait("Is", u"B").Trait("Is", 5u)
        .Trait("Mark", nullptr).Trait("Other", u"A").Done();
    // clang-format on

    std::vector<String> tags;
    auto collect = MakeProcessor<const String>([&](const String& tag) { tags.push_back(tag); });
    Util::TraitsComposition composition(collect);
    Util::IsTraitFilter filter(composition, u"A");
    source->GetTraits().ForEach(filter);
    EXPECT_EQ(tags, (std::vector<String>{u"Is", u"B", u"Mark", u"A"}));

    const UnitPtr target = Util::Build().Nil().Trait("Is", u"A").Trait("Own", 1u).Done();
    Util::SourceTraitsApplier applier(*target, Factory, true);
    applier.Apply(*source);
    EXPECT_EQ(TraitList(target->GetTraits()),
              (std::vector<std::string>{"Is=dword", "Is=A", "Is=B", "Mark=nil", "Other=A", "Own=dword"}));
}

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
