#include "TestUnits.h"
#include "por/Compare.h"
#include "por/MaskingUnit.h"
#include "por/PropertyDecorators.h"
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
using namespace Por::Testing;

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

// Every reading form of a composite agrees with its enumeration: the iterator, both Finds and Size.
std::vector<std::string> Enumerated(const View::Unit& unit)
{
    const View::CompositeValue& composite = Util::GetComposite(unit);
    std::vector<std::string> names;
    auto collect = MakeProcessor<const View::Property>(
        [&](const View::Property& property)
        {
            names.push_back(property.GetName());
            const View::Property* found = composite.Find(property.GetName());
            EXPECT_TRUE(found != nullptr && found->GetName() == property.GetName()) << property.GetName();
            auto same = MakeProcessor<const View::Property>(
                [&](const View::Property& again) { EXPECT_EQ(&again, found) << property.GetName(); });
            EXPECT_TRUE(composite.Find(property.GetName(), same));
        });
    composite.ForEach(collect);
    std::vector<std::string> iterated;
    for (auto it = composite.GetIterator(); it->IsValid(); it->Next())
    {
        iterated.push_back(it->Current().GetName());
    }
    EXPECT_EQ(iterated, names);
    EXPECT_EQ(composite.Size(), names.size());
    return names;
}

// clang-format off
UnitPtr Tagged()
{
    return Util::Build().Composite().Trait("Is", u"A").Trait("Is", u"B").Trait("Mark", nullptr)
        .Property("p", 1u).Done();
}
// clang-format on

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
        EXPECT_EQ(TraitList(excluded.GetTraits()), test.Excluded) << test.Name;
        EXPECT_EQ(TraitList(enabled.GetTraits()), test.Enabled) << test.Name;
        EXPECT_TRUE(TraitList(excluded.GetTraits(), test.Name).empty()) << test.Name;
        EXPECT_EQ(TraitList(enabled.GetTraits(), test.Name), test.Enabled) << test.Name;
        EXPECT_TRUE(TraitList(enabled.GetTraits(), test.Name == std::string("Is") ? "Mark" : "Is").empty());
    }
    const ExcludeTraitUnit excluded(*unit, "Is");
    EXPECT_TRUE(Shows(excluded, Util::Build().Composite().Trait("Mark", nullptr).Property("p", 1u).Done()));
}

TEST(TraitDecoratorTest, AddedTraitTakesItsSortedPlaceAndStopsWhereAsked)
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
        EXPECT_EQ(TraitList(withNil.GetTraits()), test.WithNil) << test.Name;
        EXPECT_EQ(TraitList(withValue.GetTraits()), test.WithValue) << test.Name;
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
            EXPECT_EQ(TraitList(view.GetTraits(), test.Name), named) << test.Name;
            const UnitPtr expected = Util::Copy(*unit, Factory);
            Util::AddTrait(*expected, test.Name, added, Factory);
            EXPECT_TRUE(Shows(view, expected)) << test.Name;
        };
        check(withNil, test.WithNil, *Factory.CreateNil());
        check(withValue, test.WithValue, *value);
    }
    // Stopping inside an enumeration with the added trait stops there.
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
    EXPECT_EQ(TraitList(replaced.GetTraits()), (std::vector<std::string>{"Is=dword", "Mark=nil"}));
    EXPECT_EQ(TraitList(replaced.GetTraits(), "Is"), (std::vector<std::string>{"Is=dword"}));
    const ReplaceTraitUnit added(*unit, "New", *value);
    EXPECT_EQ(TraitList(added.GetTraits()),
              (std::vector<std::string>{"Is=A", "Is=B", "Mark=nil", "New=dword"}));
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

// clang-format off
UnitPtr Letters()
{
    return Util::Build().Composite().Trait("Is", u"L")
        .Property("b", 1u).Property("d", 2u).Property("f", 3u).Done();
}
// clang-format on

TEST(PropertyDecoratorTest, RemovedPropertiesAreGoneFromEveryReadingForm)
{
    const UnitPtr unit = Letters();
    struct Case
    {
        const char* Name;
        std::vector<std::string> Shown;
    };
    const Case cases[] = {{"b", {"d", "f"}}, {"d", {"b", "f"}}, {"f", {"b", "d"}}, {"x", {"b", "d", "f"}}};
    for (const Case& test : cases)
    {
        const PropertyRemovingUnitDecorator removed(*unit, test.Name);
        EXPECT_EQ(Enumerated(removed), test.Shown) << test.Name;
        EXPECT_EQ(Util::FindPropertyValue(removed, test.Name), nullptr);
        const UnitPtr expected = Util::Copy(*unit, Factory);
        Util::GetComposite(*expected).Remove(test.Name);
        EXPECT_TRUE(Shows(removed, expected)) << test.Name;
    }
    const UnitPtr four = Factory.CreateDWord(4);
    EXPECT_EQ(Util::GetValue<std::uint32_t>(PropertyRemovingUnitDecorator(*four, "b")), 4u);

    // Without any property only the traits are left.
    const PropertyLessUnit bare(*unit);
    EXPECT_TRUE(Enumerated(bare).empty());
    EXPECT_TRUE(Shows(bare, Util::Build().Composite().Trait("Is", u"L").Done()));
    EXPECT_FALSE(Util::GetComposite(bare).GetIterator()->IsValid());
}

TEST(PropertyDecoratorTest, ReplacementTakesItsSortedPlace)
{
    const UnitPtr unit = Letters();
    const UnitPtr value = Factory.CreateString(u"r");
    struct Case
    {
        const char* Name;
        std::vector<std::string> Shown;
    };
    const Case cases[] = {
        {"a", {"a", "b", "d", "f"}}, {"b", {"b", "d", "f"}}, {"c", {"b", "c", "d", "f"}},
        {"d", {"b", "d", "f"}},      {"f", {"b", "d", "f"}}, {"z", {"b", "d", "f", "z"}},
    };
    for (const Case& test : cases)
    {
        const PropertyReplacingUnitDecorator replaced(*unit, test.Name, *value);
        EXPECT_EQ(Enumerated(replaced), test.Shown) << test.Name;
        EXPECT_EQ(&Util::GetPropertyValue(replaced, test.Name), value.get());
        const UnitPtr expected = Util::Copy(*unit, Factory);
        Util::AddProperty(*expected, test.Name, *value, Factory);
        EXPECT_TRUE(Shows(replaced, expected)) << test.Name;
    }
    // Stopping at each position of a merged enumeration stops there.
    const PropertyReplacingUnitDecorator replaced(*unit, "c", *value);
    for (std::size_t stopAt = 1; stopAt <= 4; ++stopAt)
    {
        std::size_t seen = 0;
        auto count =
            MakeProcessor<const View::Property>([&](const View::Property&) { return ++seen == stopAt; });
        Util::GetComposite(replaced).ForEach(count);
        EXPECT_EQ(seen, stopAt);
    }
}

TEST(MaskingUnitTest, ShowsWhatTheMaskNames)
{
    // clang-format off
    const UnitPtr unit = Util::Build().Composite().Trait("Is", u"U")
        .Property("a", 1u)
        .Property("b").Composite().Trait("Is", u"B")
            .Property("x", 1u).Property("y").Composite().Property("p", 1u).Property("q", 2u).End()
            .Property("z").Array().Element(1u).End()
        .End()
        .Property("c", u"c")
        .Done();
    struct Case
    {
        const char* Name;
        UnitPtr Mask;
        UnitPtr Expected;
    };
    const Case cases[] = {
        {"flat, with names the unit lacks",
         Util::Build().Composite().Property("a").Nil().End().Property("missing").Nil().End()
             .Property("c", 0u).Done(),
         Util::Build().Composite().Trait("Is", u"U").Property("a", 1u).Property("c", u"c").Done()},
        {"nested masks",
         Util::Build().Composite().Property("b").Composite()
             .Property("y").Composite().Property("q").Nil().End().End()
             .Property("z").Nil().End().Property("w").Nil().End().End().Done(),
         Util::Build().Composite().Trait("Is", u"U").Property("b").Composite().Trait("Is", u"B")
             .Property("y").Composite().Property("q", 2u).End()
             .Property("z").Array().Element(1u).End().End().Done()},
        {"a composite mask over a scalar shows it whole",
         Util::Build().Composite().Property("a").Composite().Property("p").Nil().End().End().Done(),
         Util::Build().Composite().Trait("Is", u"U").Property("a", 1u).Done()},
        {"an empty mask shows nothing", Factory.CreateComposite(),
         Util::Build().Composite().Trait("Is", u"U").Done()},
        {"a mask that is no composite shows all", Factory.CreateNil(), Util::Copy(*unit, Factory)},
    };
    // clang-format on
    for (const Case& test : cases)
    {
        const MaskingUnit masked(*unit, *test.Mask);
        EXPECT_TRUE(Shows(masked, test.Expected)) << test.Name;
        Enumerated(masked);
        EXPECT_TRUE(UnitEqual(*Util::Mask(*unit, *test.Mask, Factory), *test.Expected)) << test.Name;
    }
    const MaskingUnit nested(*unit, *cases[1].Mask);
    EXPECT_EQ(Enumerated(Util::GetPropertyValue(nested, "b")), (std::vector<std::string>{"y", "z"}));
    const UnitPtr scalar = Factory.CreateDWord(3);
    EXPECT_TRUE(Shows(MaskingUnit(*scalar, *cases[0].Mask), scalar));
}

} // namespace
