#include "por/Compare.h"
#include "por/TraitDecorators.h"
#include "por/TraitUtil.h"
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
const Construction::UnitFactory& Factory = GetUnitFactory();

// "name=value" per trait as enumerated: strings as they are, other values by kind name.
std::string Describe(const View::Trait& trait)
{
    const View::Unit& value = trait.GetValue();
    const ValueKind kind = GetValueTypeIndex(value);
    std::string text = trait.GetName() + "=";
    if (kind == ValueKind::String)
    {
        for (char16_t c : Util::GetValue<String>(value))
        {
            text += static_cast<char>(c);
        }
        return text;
    }
    return text + GetValueTypeName(kind);
}

std::vector<std::string> Listed(const View::Traits& traits)
{
    std::vector<std::string> list;
    auto collect =
        MakeProcessor<const View::Trait>([&](const View::Trait& trait) { list.push_back(Describe(trait)); });
    traits.ForEach(collect);
    return list;
}

std::vector<std::string> ListedNamed(const View::Traits& traits, std::string_view name)
{
    std::vector<std::string> list;
    auto collect =
        MakeProcessor<const View::Trait>([&](const View::Trait& trait) { list.push_back(Describe(trait)); });
    traits.ForEachNamed(name, collect);
    return list;
}

// The decorated view, made real: what every consumer of the view would see.
::testing::AssertionResult Shows(const View::Unit& view, const UnitPtr& expected)
{
    const UnitPtr copy = Util::Copy(view, Factory);
    if (UnitEqual(*copy, *expected) && Compare(view, *expected) == 0)
    {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << Util::UnitToString(*copy);
}

UnitPtr Tagged()
{
    return Util::Build()
        .Composite()
        .Trait("Is", u"A")
        .Trait("Is", u"B")
        .Trait("Mark", nullptr)
        .Property("p", 1u)
        .Done();
}

TEST(TraitDecoratorTest, SievesShowWhatTheyLetThrough)
{
    const UnitPtr unit = Tagged();
    struct Case
    {
        const char* Name;
        std::vector<std::string> Excluded;
        std::vector<std::string> Enabled;
    };
    const Case cases[] = {
        {"Missing", {"Is=A", "Is=B", "Mark=nil"}, {}},
        {"Is", {"Mark=nil"}, {"Is=A", "Is=B"}},
        {"Mark", {"Is=A", "Is=B"}, {"Mark=nil"}},
    };
    for (const Case& test : cases)
    {
        const ExcludeTraitUnit excluded(*unit, test.Name);
        const EnableTraitUnit enabled(*unit, test.Name);
        EXPECT_EQ(Listed(excluded.GetTraits()), test.Excluded) << test.Name;
        EXPECT_EQ(Listed(enabled.GetTraits()), test.Enabled) << test.Name;
        EXPECT_TRUE(ListedNamed(excluded.GetTraits(), test.Name).empty()) << test.Name;
        EXPECT_EQ(ListedNamed(enabled.GetTraits(), test.Name), test.Enabled) << test.Name;
        EXPECT_TRUE(ListedNamed(enabled.GetTraits(), test.Name == std::string("Is") ? "Mark" : "Is").empty());
    }
    const ExcludeTraitUnit excluded(*unit, "Is");
    EXPECT_TRUE(Shows(excluded, Util::Build().Composite().Trait("Mark", nullptr).Property("p", 1u).Done()));
}

TEST(TraitDecoratorTest, AddedTraitTakesItsSortedPlace)
{
    const UnitPtr unit = Tagged();
    const UnitPtr value = Factory.CreateString(u"C");
    struct Case
    {
        const char* Name;
        std::vector<std::string> WithNil;
        std::vector<std::string> WithValue;
    };
    const Case cases[] = {
        {"A", {"A=nil", "Is=A", "Is=B", "Mark=nil"}, {"A=C", "Is=A", "Is=B", "Mark=nil"}},
        {"z", {"Is=A", "Is=B", "Mark=nil", "z=nil"}, {"Is=A", "Is=B", "Mark=nil", "z=C"}},
        // Among traits of one name the set orders by value: nil before strings, "C" after "A" and "B".
        {"Is", {"Is=nil", "Is=A", "Is=B", "Mark=nil"}, {"Is=A", "Is=B", "Is=C", "Mark=nil"}},
        // An equal pair is there already: it shows once.
        {"Mark", {"Is=A", "Is=B", "Mark=nil"}, {"Is=A", "Is=B", "Mark=nil", "Mark=C"}},
    };
    for (const Case& test : cases)
    {
        const AddNilTraitUnit withNil(*unit, test.Name);
        const UnitWithExtraTrait withValue(*unit, test.Name, *value);
        EXPECT_EQ(Listed(withNil.GetTraits()), test.WithNil) << test.Name;
        EXPECT_EQ(Listed(withValue.GetTraits()), test.WithValue) << test.Name;
        auto check = [&](const View::Unit& view, const std::vector<std::string>& all, const View::Unit& added)
        {
            std::vector<std::string> named;
            for (const std::string& trait : all)
            {
                if (trait.starts_with(std::string(test.Name) + "="))
                {
                    named.push_back(trait);
                }
            }
            EXPECT_EQ(ListedNamed(view.GetTraits(), test.Name), named) << test.Name;
            const UnitPtr expected = Util::Copy(*unit, Factory);
            Util::AddTrait(*expected, test.Name, added, Factory);
            EXPECT_TRUE(Shows(view, expected)) << test.Name;
        };
        check(withNil, test.WithNil, *Factory.CreateNil());
        check(withValue, test.WithValue, *value);
    }
}

TEST(TraitDecoratorTest, StoppingInsideAnExpandedEnumerationStops)
{
    const UnitPtr unit = Tagged();
    for (int stopAt = 1; stopAt <= 4; ++stopAt)
    {
        const AddNilTraitUnit view(*unit, "J");
        int seen = 0;
        auto count = MakeProcessor<const View::Trait>([&](const View::Trait&) { return ++seen == stopAt; });
        view.GetTraits().ForEach(count);
        EXPECT_EQ(seen, stopAt);
    }
}

TEST(TraitDecoratorTest, ReplacedTraitShowsOnceWithTheNewValue)
{
    const UnitPtr unit = Tagged();
    const UnitPtr value = Factory.CreateDWord(5);
    const ReplaceTraitUnit replaced(*unit, "Is", *value);
    EXPECT_EQ(Listed(replaced.GetTraits()), (std::vector<std::string>{"Is=dword", "Mark=nil"}));
    EXPECT_EQ(ListedNamed(replaced.GetTraits(), "Is"), (std::vector<std::string>{"Is=dword"}));
    const ReplaceTraitUnit added(*unit, "New", *value);
    EXPECT_EQ(Listed(added.GetTraits()), (std::vector<std::string>{"Is=A", "Is=B", "Mark=nil", "New=dword"}));
}

TEST(TraitDecoratorTest, HiddenTraitsAreGoneAtEveryLevel)
{
    // clang-format off
    const UnitPtr unit = Util::Build().Composite().Trait("Is", u"A")
        .Property("list").Array()
            .Value(1u).Trait("m", nullptr).End()
            .Composite().Trait("Is", u"E").Property("deep").Value(2u).Trait("d", 1u).End().End()
        .End()
        .Property("s").Value(u"x").Trait("Unit", u"u").End()
        .Done();
    const UnitPtr bare = Util::Build().Composite()
        .Property("list").Array().Element(1u).Composite().Property("deep", 2u).End().End()
        .Property("s", u"x")
        .Done();
    // clang-format on
    const HideTraitsUnit hidden(*unit);
    EXPECT_TRUE(Shows(hidden, bare));

    // Every way into the tree gives decorated units, and the references stay valid.
    const View::CompositeValue& composite = Util::GetComposite(hidden);
    const View::Unit& list = Util::GetPropertyValue(hidden, "list");
    const View::Unit& element = Util::GetArray(list).Get(1);
    EXPECT_FALSE(Util::HasTraits(element));
    EXPECT_FALSE(Util::HasTraits(Util::GetPropertyValue(element, "deep")));
    std::vector<std::string> names;
    for (auto it = composite.GetIterator(); it->IsValid(); it->Next())
    {
        names.push_back(it->Current().GetName());
        EXPECT_FALSE(Util::HasTraitAnywhere(it->Current().GetValue(), "Is"));
    }
    EXPECT_EQ(names, (std::vector<std::string>{"list", "s"}));
    EXPECT_EQ(&Util::GetArray(list).Get(1), &element);
    auto front = MakeProcessor<const View::Unit>([&](const View::Unit& first)
                                                 { EXPECT_FALSE(Util::HasTraits(first)); });
    Util::GetArray(list).Front(front);
}

} // namespace
