#include "por/Match.h"

#include "TestUnits.h"
#include "por/Compare.h"
#include "por/MatchingPatternFinalizer.h"
#include "por/PatternOperators.h"
#include "por/UnitAccess.h"
#include "por/UnitFactory.h"
#include "por/UnitPrinter.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace
{

using namespace Por;
using namespace Por::Testing;

struct Case
{
    const char* Name;
    UnitPtr Source;
    UnitPtr Pattern;
    bool Expected;
};

void ExpectMatches(const std::vector<Case>& cases)
{
    for (const Case& test : cases)
    {
        EXPECT_EQ(Match(*test.Source, *test.Pattern), test.Expected) << test.Name;
    }
}

TEST(MatchTest, NodesWithoutOperators)
{
    ExpectMatches({
        {"nil pattern, dword", U(1u), Nil(), true},
        {"nil pattern, composite", Composite({{"a", U(1u)}}), Nil(), true},
        {"nil pattern, array", Array({}), Nil(), true},
        {"nil with nil", Nil(), Nil(), true},
        {"nil source, dword pattern", Nil(), U(1u), false},
        {"equal value", U(u"x"), U(u"x"), true},
        {"other value", U(u"x"), U(u"y"), false},
        {"word is not dword", U(std::uint16_t{1}), U(1u), false},
        {"source traits are ignored", Trait(U(1u), "Mark"), U(1u), true},
        {"arrays by value", Array({U(1u), U(2u)}), Array({U(1u), U(2u)}), true},
        {"array order counts", Array({U(2u), U(1u)}), Array({U(1u), U(2u)}), false},
        {"extra source property", Composite({{"a", U(1u)}, {"b", U(2u)}}), Composite({{"a", U(1u)}}), true},
        {"one more pattern property", Composite({{"a", U(1u)}}), Composite({{"a", U(1u)}, {"b", Nil()}}),
         false},
        {"empty composite, any composite", Trait(Composite({{"a", U(1u)}}), "Is", U(u"A")), Composite({}),
         true},
        {"composite pattern, string", U(u"a"), Composite({}), false},
        {"nested property differs", Composite({{"d", Composite({{"s", U(u"x")}, {"t", U(1u)}})}}),
         Composite({{"d", Composite({{"s", U(u"y")}})}}), false},
        {"nested property matches", Composite({{"d", Composite({{"s", U(u"x")}, {"t", U(1u)}})}}),
         Composite({{"d", Composite({{"s", U(u"x")}})}}), true},
    });
}

TEST(MatchTest, ValueOperators)
{
    const auto between = [](UnitPtr from, UnitPtr to) { return Composite({{"From", from}, {"To", to}}); };
    ExpectMatches({
        {"kind first: Like never sees a number", U(5u), Trait(U(u""), "Like", U(u"%")), false},
        {"AnyValue", U(7u), Trait(U(0u), "AnyValue"), true},
        {"AnyValue of another kind", U(7), Trait(U(0u), "AnyValue"), false},
        {"Greater", U(5u), Trait(U(0u), "Greater", U(3u)), true},
        {"Greater, equal", U(3u), Trait(U(0u), "Greater", U(3u)), false},
        {"Greater, operand of another kind", U(5u), Trait(U(0u), "Greater", U(3)), false},
        {"GreaterEqual, equal", U(3u), Trait(U(0u), "GreaterEqual", U(3u)), true},
        {"Less", U(2u), Trait(U(0u), "Less", U(3u)), true},
        {"LessEqual, greater", U(4u), Trait(U(0u), "LessEqual", U(3u)), false},
        // Compare looks at traits: an equal value without the operand's trait orders below it.
        {"Less by the operand's trait", U(3u), Trait(U(0u), "Less", Trait(U(3u), "Mark")), true},
        {"EqualValue ignores traits", Trait(U(3u), "Mark"), Trait(U(0u), "EqualValue", U(3u)), true},
        {"EqualValue of another kind", U(std::uint64_t{3}), Trait(U(std::uint64_t{0}), "EqualValue", U(3u)),
         false},
        {"all operators must hold", U(5u), Trait(Trait(U(0u), "Greater", U(3u)), "Less", U(5u)), false},
        {"Between, lower end", U(1u), Trait(U(0u), "Between", between(U(1u), U(3u))), true},
        {"Between, upper end", U(3u), Trait(U(0u), "Between", between(U(1u), U(3u))), true},
        {"Between, below", U(0u), Trait(U(0u), "Between", between(U(1u), U(3u))), false},
        {"Between, above", U(4u), Trait(U(0u), "Between", between(U(1u), U(3u))), false},
        {"Between, To with a trait", Trait(U(3u), "Mark"), Trait(U(0u), "Between", between(U(1u), U(3u))),
         false},
        {"Between, third kind", U(std::int64_t{2}),
         Trait(U(std::int64_t{0}), "Between", between(U(1u), U(3u))), false},
        {"Not", U(1u), Trait(U(0u), "Not", U(2u)), true},
        {"Not, matching", U(2u), Trait(U(0u), "Not", U(2u)), false},
        {"Or, empty", U(1u), Trait(U(0u), "Or", Array({})), true},
        {"Or, second", U(3u), Trait(U(0u), "Or", Array({U(2u), U(3u)})), true},
        {"Or, none", U(4u), Trait(U(0u), "Or", Array({U(2u), U(3u)})), false},
        {"Or of operator nodes", U(9u), Trait(U(0u), "Or", Array({Trait(U(0u), "Greater", U(8u))})), true},
    });
}

TEST(MatchTest, MembershipOperators)
{
    const UnitPtr marked = Trait(U(2u), "Mark");
    ExpectMatches({
        {"In", U(2u), Trait(U(0u), "In", Array({U(1u), U(2u)})), true},
        {"In, absent", U(3u), Trait(U(0u), "In", Array({U(1u), U(2u)})), false},
        {"In, traits differ", marked, Trait(U(0u), "In", Array({U(1u), U(2u)})), false},
        {"ValueIn, traits differ", marked, Trait(U(0u), "ValueIn", Array({U(1u), U(2u)})), true},
        {"ValueIn, element traits", U(2u), Trait(U(0u), "ValueIn", Array({marked})), true},
        {"ValueIn, other kind", U(2u), Trait(U(0u), "ValueIn", Array({U(std::uint16_t{2})})), false},
        {"IncludedInArray", Array({U(1u), U(2u)}), Trait(Array({}), "IncludedInArray", U(2u)), true},
        {"IncludedInArray, traits differ", Array({U(1u), marked}), Trait(Array({}), "IncludedInArray", U(2u)),
         false},
        {"ValueIncludedInArray, traits differ", Array({U(1u), marked}),
         Trait(Array({}), "ValueIncludedInArray", U(2u)), true},
        {"HasIntersection", Array({U(1u), U(2u)}),
         Trait(Array({}), "HasIntersection", Array({U(3u), marked})), true},
        {"HasIntersection, disjoint", Array({U(1u)}), Trait(Array({}), "HasIntersection", Array({U(3u)})),
         false},
        {"HasIntersection, empty", Array({}), Trait(Array({}), "HasIntersection", Array({U(3u)})), false},
    });
    EXPECT_FALSE(GetPatternByName("IncludedInArray")(*U(2u), *U(2u)));
    const Common::Error error = Failure([] { GetPatternByName("HasIntersection")(*Array({}), *U(1u)); });
    EXPECT_EQ(error.GetCode(), 0xfa000eu);
    EXPECT_EQ(error.GetMessage(), u"POR: Object internal structure mismatch.");
}

TEST(MatchTest, LikeTextMatch)
{
    struct LikeCase
    {
        const char16_t* Pattern;
        const char16_t* Text;
        bool Expected;
    };
    const LikeCase cases[] = {
        {u"", u"abc", true},
        {u"", u"", true},
        {u"%", u"", true},
        {u"%", u"abc", true},
        {u"a%", u"A", false},
        {u"a%", u"abc", true},
        {u"a_c", u"abc", true},
        {u"a_c", u"ac", false},
        {u"%b%", u"abc", true},
        {u"%b%", u"b", true},
        {u"%b%", u"ac", false},
        {u"%c", u"abc", true},
        {u"%a", u"ba", true},
        // No backtracking once the pattern is used up.
        {u"%a", u"aba", false},
        {u"a%c", u"abcbc", false},
        {u"_", u"", false},
        {u"ab", u"abc", false},
        {u"abc", u"ab", false},
        {u"ABC", u"abc", false},
        {u"%.%", u"a.b", true},
        // '_' is one UTF-16 unit, so a character outside the basic plane takes two.
        {u"_", u"\U0001F600", false},
        {u"__", u"\U0001F600", true},
    };
    for (const LikeCase& test : cases)
    {
        EXPECT_EQ(Util::LikeMatch(test.Text, test.Pattern), test.Expected)
            << Util::UnitToString(*U(test.Pattern)) << " on " << Util::UnitToString(*U(test.Text));
    }
}

TEST(MatchTest, LikeOnStringsAndSearchableArrays)
{
    const auto like = [](UnitPtr node, const char16_t* text) { return Trait(node, "Like", U(text)); };
    ExpectMatches({
        {"string", U(u"abc"), like(U(u""), u"a%"), true},
        {"searchable array, one element matches", Trait(Array({U(5u), U(u"xyz"), U(u"abc")}), "Searchable"),
         like(Array({}), u"a%"), true},
        {"searchable array, none matches", Trait(Array({U(u"xyz")}), "Searchable"), like(Array({}), u"a%"),
         false},
        {"searchable array, no strings", Trait(Array({U(5u)}), "Searchable"), like(Array({}), u"%"), false},
        {"array without Searchable", Array({U(u"abc")}), like(Array({}), u"a%"), false},
        {"composite", Composite({}), like(Composite({}), u"%"), false},
    });
    const Common::Error error = Failure([] { Match(*U(u"a"), *Trait(U(u""), "Like", U(1u))); });
    EXPECT_EQ(error.GetCode(), 0xfa000eu);
    EXPECT_EQ(error.GetMessage(), u"POR: Object internal structure mismatch.");
}

TEST(MatchTest, TraitOperators)
{
    const auto typed = [] { return Trait(Trait(Composite({}), "Is", U(u"Base")), "Is", U(u"Derived")); };
    ExpectMatches({
        {"Is", typed(), Trait(Composite({}), "Is", U(u"Derived")), true},
        {"Is, both", typed(), Trait(Trait(Composite({}), "Is", U(u"Base")), "Is", U(u"Derived")), true},
        {"Is, one missing", typed(), Trait(Trait(Composite({}), "Is", U(u"Base")), "Is", U(u"Other")), false},
        {"Is, value with a trait", typed(), Trait(Composite({}), "Is", Trait(U(u"Base"), "Mark")), false},
        {"PrimaryKey", Trait(U(7u), "PrimaryKey"), Trait(U(0u), "PrimaryKey"), true},
        {"PrimaryKey, other value", Trait(U(7u), "PrimaryKey"), Trait(U(0u), "PrimaryKey", U(u"k")), false},
        {"ForeignKey", Trait(U(7u), "ForeignKey", U(u"k")), Trait(U(0u), "ForeignKey", U(u"k")), true},
        {"ForeignKey, absent", U(7u), Trait(U(0u), "ForeignKey", U(u"k")), false},
        {"Source", Trait(U(7u), "Source", U(u"agent")), Trait(U(0u), "Source", U(u"agent")), true},
        {"Source, other value", Trait(U(7u), "Source", U(u"agent")), Trait(U(0u), "Source", U(u"host")),
         false},
        {"Source, any value", Trait(U(7u), "Source", U(u"agent")),
         Trait(U(0u), "Source", Trait(Nil(), "AnyValue")), true},
        {"Source, any value, none", U(7u), Trait(U(0u), "Source", Trait(Nil(), "AnyValue")), false},
        {"DirectRelative", U(u"/a/b"), Trait(U(u""), "DirectRelative", U(u"/a")), true},
        {"DirectRelative, case", U(u"/a/b"), Trait(U(u""), "DirectRelative", U(u"/A")), false},
        {"DirectRelative, empty", U(u"/a/b"), Trait(U(u""), "DirectRelative", U(u"")), true},
        {"DirectRelative, shorter source", U(u"/a"), Trait(U(u""), "DirectRelative", U(u"/a/b")), false},
    });
    EXPECT_FALSE(GetPatternByName("DirectRelative")(*U(1u), *U(u"")));
    EXPECT_EQ(Failure([] { GetPatternByName("DirectRelative")(*U(u"a"), *U(1u)); }).GetCode(), 0xfa000eu);
}

TEST(MatchTest, MalformedPatternsThrowOnlyWhenReached)
{
    const UnitPtr unknown = Composite({{"a", U(2u)}, {"b", Trait(U(1u), "Bogus")}});
    const Common::Error error = Failure([&] { Match(*Composite({{"a", U(2u)}, {"b", U(1u)}}), *unknown); });
    EXPECT_EQ(error.GetCode(), 0xfa000eu);
    EXPECT_EQ(error.GetMessage(), u"POR: Name 'Bogus' of the trait is not registered for pattern.");
    // An earlier property, an earlier operator (in name order) or the kind decides first.
    EXPECT_FALSE(Match(*Composite({{"a", U(3u)}, {"b", U(1u)}}), *unknown));
    EXPECT_FALSE(Match(*U(1u), *Trait(Trait(U(0u), "EqualValue", U(2u)), "Zeta")));
    EXPECT_FALSE(Match(*U(u"x"), *Trait(U(1u), "Bogus")));

    const auto range = [](UnitPtr operand)
    { return [operand] { Match(*U(1u), *Trait(U(0u), "Between", operand)); }; };
    const Common::Error kinds = Failure(range(Composite({{"From", U(1u)}, {"To", U(3)}})));
    EXPECT_EQ(kinds.GetCode(), 0xfa000eu);
    EXPECT_EQ(kinds.GetMessage(), u"POR: Failed to check range inclusion.");
    const Common::Error missing = Failure(range(Composite({{"From", U(1u)}})));
    EXPECT_EQ(missing.GetCode(), 0xfa0020u);
    EXPECT_EQ(missing.GetMessage(), u"POR: Element '.To' cannot be found.");

    EXPECT_EQ(FindPatternByName("Bogus"), nullptr);
    EXPECT_EQ(Detail::GetPatternTable().size(), 20u);
}

TEST(MatchTest, SharedViews)
{
    const ConstUnitPtr one = U(1u);
    EXPECT_TRUE(Match(ConstUnitPtr(), ConstUnitPtr()));
    EXPECT_FALSE(Match(one, ConstUnitPtr()));
    EXPECT_FALSE(Match(ConstUnitPtr(), one));
    EXPECT_TRUE(Match(one, ConstUnitPtr(Nil())));
    EXPECT_FALSE(Match(one, ConstUnitPtr(U(2u))));
    EXPECT_TRUE(Match(View::SafeUnitHolder(), View::SafeUnitHolder()));
    EXPECT_FALSE(Match(View::SafeUnitHolder(), View::SafeUnitHolder(one)));
    EXPECT_TRUE(Match(View::SafeUnitHolder(one), View::SafeUnitHolder(ConstUnitPtr(U(1u)))));
}

// An activity-like plain object: class tags, a key, unset ("Nil") properties, measures, nested classes
// and arrays of them.
UnitPtr MakeRecord()
{
    const Common::Guid id{0x1234, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}};
    UnitPtr record = Composite({
        {"ID", Trait(U(id), "PrimaryKey")},
        {"State", U(5u)},
        {"Description", Trait(U(u""), "Nil")},
        {"Bytes", Trait(U(std::uint64_t{4096}), "Measure", U(u"byte"))},
        {"Details", Trait(Composite({{"Specific", U(u"Business")},
                                     {"ProcessID", Trait(U(0u), "Nil")},
                                     {"InstanceID", Trait(Trait(U(id), "ForeignKey"), "Instance")}}),
                          "Is", U(u"Details"))},
        {"Warnings", Array({Trait(Composite({{"Time", Trait(U(std::int64_t{60}), "Measure", U(u"seconds"))}}),
                                  "Is", U(u"Issue"))})},
        {"Tags", Trait(Array({U(u"a"), U(u"b")}), "Searchable")},
        {"Limit", Trait(U(10u), "Greater", U(3u))},
    });
    return Trait(Trait(record, "Is", U(u"Activity")), "Is", U(u"Base"));
}

TEST(MatchingPatternFinalizerTest, PatternMatchesItsObjectAndNotChangedCopies)
{
    const UnitPtr record = MakeRecord();
    const UnitPtr pattern = Util::Copy(*record, Factory);
    MatchingPatternFinalizer(Factory).Finalize(*pattern);

    EXPECT_TRUE(Match(*record, *pattern));
    EXPECT_EQ(Util::FindPropertyValue(*pattern, "Description"), nullptr);
    // Array elements are data compared whole, not pattern nodes.
    EXPECT_TRUE(UnitValueEqual(Util::GetPropertyValue(*pattern, "Warnings"),
                               Util::GetPropertyValue(*record, "Warnings")));
    EXPECT_TRUE(UnitEqual(Util::GetPropertyValue(*pattern, "Bytes"),
                          *Trait(U(std::uint64_t{4096}), "EqualValue", U(std::uint64_t{4096}))));
    EXPECT_TRUE(UnitEqual(Util::GetPropertyValue(*pattern, "ID"),
                          *Trait(Trait(U(Util::GetPropertyValue<Common::Guid>(*record, "ID")), "PrimaryKey"),
                                 "EqualValue", U(Util::GetPropertyValue<Common::Guid>(*record, "ID")))));

    struct Change
    {
        const char* Name;
        void (*Apply)(Construction::Unit& record);
        bool Expected;
    };
    const Change changes[] = {
        {"unset property given a value",
         [](Construction::Unit& r) { Util::AddProperty(r, "Description", U(u"set"), Factory); }, true},
        {"extra property", [](Construction::Unit& r) { Util::AddProperty(r, "Extra", U(1u), Factory); },
         true},
        {"own operator kept, no equality added",
         [](Construction::Unit& r) { Util::AddProperty(r, "Limit", U(99u), Factory); }, true},
        {"state", [](Construction::Unit& r) { Util::AddProperty(r, "State", U(6u), Factory); }, false},
        {"nested value",
         [](Construction::Unit& r)
         { Util::AddProperty(Util::GetPropertyValue(r, "Details"), "Specific", U(u"System"), Factory); },
         false},
        {"key without its trait",
         [](Construction::Unit& r)
         { Util::AddProperty(r, "ID", U(Util::GetPropertyValue<Common::Guid>(r, "ID")), Factory); },
         false},
        {"class tag", [](Construction::Unit& r) { r.GetTraits().Remove("Is"); }, false},
        {"array element",
         [](Construction::Unit& r) { Util::GetArray(Util::GetPropertyValue(r, "Tags")).PopBack(); }, false},
        {"measure dropped from the value",
         [](Construction::Unit& r) { Util::GetPropertyValue(r, "Bytes").GetTraits().Remove("Measure"); },
         true},
    };
    for (const Change& change : changes)
    {
        const UnitPtr changed = Util::Copy(*record, Factory);
        change.Apply(*changed);
        EXPECT_EQ(Match(*changed, *pattern), change.Expected) << change.Name;
    }
}

} // namespace
