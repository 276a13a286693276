#include "por/Match.h"

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
const Construction::UnitFactory& Factory = GetUnitFactory();

template <typename T>
UnitPtr U(T value)
{
    return Factory.Create(value);
}
UnitPtr U(const char16_t* text)
{
    return Factory.CreateString(text);
}
UnitPtr Nil()
{
    return Factory.CreateNil();
}
UnitPtr Array(std::initializer_list<UnitPtr> items)
{
    UnitPtr array = Factory.CreateArray();
    for (const UnitPtr& item : items)
    {
        Util::GetArray(*array).PushBack(item);
    }
    return array;
}
UnitPtr Object(std::initializer_list<std::pair<const char*, UnitPtr>> properties)
{
    UnitPtr composite = Factory.CreateComposite();
    for (const auto& [name, value] : properties)
    {
        Util::AddProperty(*composite, name, value, Factory);
    }
    return composite;
}
// Adds the trait and hands the node back, so patterns read as one expression.
UnitPtr With(UnitPtr node, const char* name, UnitPtr value = Nil())
{
    node->GetTraits().Add(Factory.CreateTrait(name, std::move(value)));
    return node;
}

template <typename Call>
Common::Error Failure(Call call)
{
    try
    {
        call();
    }
    catch (const Common::Error& error)
    {
        return error;
    }
    return Common::Success;
}

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
        {"nil pattern, composite", Object({{"a", U(1u)}}), Nil(), true},
        {"nil pattern, array", Array({}), Nil(), true},
        {"nil with nil", Nil(), Nil(), true},
        {"nil source, dword pattern", Nil(), U(1u), false},
        {"equal value", U(u"x"), U(u"x"), true},
        {"other value", U(u"x"), U(u"y"), false},
        {"word is not dword", U(std::uint16_t{1}), U(1u), false},
        {"source traits are ignored", With(U(1u), "Mark"), U(1u), true},
        {"arrays by value", Array({U(1u), U(2u)}), Array({U(1u), U(2u)}), true},
        {"array order counts", Array({U(2u), U(1u)}), Array({U(1u), U(2u)}), false},
        {"extra source property", Object({{"a", U(1u)}, {"b", U(2u)}}), Object({{"a", U(1u)}}), true},
        {"one more pattern property", Object({{"a", U(1u)}}), Object({{"a", U(1u)}, {"b", Nil()}}), false},
        {"empty composite, any composite", With(Object({{"a", U(1u)}}), "Is", U(u"A")), Object({}), true},
        {"composite pattern, string", U(u"a"), Object({}), false},
        {"nested property differs", Object({{"d", Object({{"s", U(u"x")}, {"t", U(1u)}})}}),
         Object({{"d", Object({{"s", U(u"y")}})}}), false},
        {"nested property matches", Object({{"d", Object({{"s", U(u"x")}, {"t", U(1u)}})}}),
         Object({{"d", Object({{"s", U(u"x")}})}}), true},
    });
}

TEST(MatchTest, ValueOperators)
{
    const auto between = [](UnitPtr from, UnitPtr to) { return Object({{"From", from}, {"To", to}}); };
    ExpectMatches({
        {"kind first: Like never sees a number", U(5u), With(U(u""), "Like", U(u"%")), false},
        {"AnyValue", U(7u), With(U(0u), "AnyValue"), true},
        {"AnyValue of another kind", U(7), With(U(0u), "AnyValue"), false},
        {"Greater", U(5u), With(U(0u), "Greater", U(3u)), true},
        {"Greater, equal", U(3u), With(U(0u), "Greater", U(3u)), false},
        {"Greater, operand of another kind", U(5u), With(U(0u), "Greater", U(3)), false},
        {"GreaterEqual, equal", U(3u), With(U(0u), "GreaterEqual", U(3u)), true},
        {"Less", U(2u), With(U(0u), "Less", U(3u)), true},
        {"LessEqual, greater", U(4u), With(U(0u), "LessEqual", U(3u)), false},
        // Compare looks at traits: an equal value without the operand's trait orders below it.
        {"Less by the operand's trait", U(3u), With(U(0u), "Less", With(U(3u), "Mark")), true},
        {"EqualValue ignores traits", With(U(3u), "Mark"), With(U(0u), "EqualValue", U(3u)), true},
        {"EqualValue of another kind", U(std::uint64_t{3}), With(U(std::uint64_t{0}), "EqualValue", U(3u)),
         false},
        {"all operators must hold", U(5u), With(With(U(0u), "Greater", U(3u)), "Less", U(5u)), false},
        {"Between, lower end", U(1u), With(U(0u), "Between", between(U(1u), U(3u))), true},
        {"Between, upper end", U(3u), With(U(0u), "Between", between(U(1u), U(3u))), true},
        {"Between, below", U(0u), With(U(0u), "Between", between(U(1u), U(3u))), false},
        {"Between, above", U(4u), With(U(0u), "Between", between(U(1u), U(3u))), false},
        {"Between, To with a trait", With(U(3u), "Mark"), With(U(0u), "Between", between(U(1u), U(3u))),
         false},
        {"Between, third kind", U(std::int64_t{2}),
         With(U(std::int64_t{0}), "Between", between(U(1u), U(3u))), false},
        {"Not", U(1u), With(U(0u), "Not", U(2u)), true},
        {"Not, matching", U(2u), With(U(0u), "Not", U(2u)), false},
        {"Or, empty", U(1u), With(U(0u), "Or", Array({})), true},
        {"Or, second", U(3u), With(U(0u), "Or", Array({U(2u), U(3u)})), true},
        {"Or, none", U(4u), With(U(0u), "Or", Array({U(2u), U(3u)})), false},
        {"Or of operator nodes", U(9u), With(U(0u), "Or", Array({With(U(0u), "Greater", U(8u))})), true},
    });
}

TEST(MatchTest, MembershipOperators)
{
    const UnitPtr marked = With(U(2u), "Mark");
    ExpectMatches({
        {"In", U(2u), With(U(0u), "In", Array({U(1u), U(2u)})), true},
        {"In, absent", U(3u), With(U(0u), "In", Array({U(1u), U(2u)})), false},
        {"In, traits differ", marked, With(U(0u), "In", Array({U(1u), U(2u)})), false},
        {"ValueIn, traits differ", marked, With(U(0u), "ValueIn", Array({U(1u), U(2u)})), true},
        {"ValueIn, element traits", U(2u), With(U(0u), "ValueIn", Array({marked})), true},
        {"ValueIn, other kind", U(2u), With(U(0u), "ValueIn", Array({U(std::uint16_t{2})})), false},
        {"IncludedInArray", Array({U(1u), U(2u)}), With(Array({}), "IncludedInArray", U(2u)), true},
        {"IncludedInArray, traits differ", Array({U(1u), marked}), With(Array({}), "IncludedInArray", U(2u)),
         false},
        {"ValueIncludedInArray, traits differ", Array({U(1u), marked}),
         With(Array({}), "ValueIncludedInArray", U(2u)), true},
        {"HasIntersection", Array({U(1u), U(2u)}), With(Array({}), "HasIntersection", Array({U(3u), marked})),
         true},
        {"HasIntersection, disjoint", Array({U(1u)}), With(Array({}), "HasIntersection", Array({U(3u)})),
         false},
        {"HasIntersection, empty", Array({}), With(Array({}), "HasIntersection", Array({U(3u)})), false},
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
    const auto like = [](UnitPtr node, const char16_t* text) { return With(node, "Like", U(text)); };
    ExpectMatches({
        {"string", U(u"abc"), like(U(u""), u"a%"), true},
        {"searchable array, one element matches", With(Array({U(5u), U(u"xyz"), U(u"abc")}), "Searchable"),
         like(Array({}), u"a%"), true},
        {"searchable array, none matches", With(Array({U(u"xyz")}), "Searchable"), like(Array({}), u"a%"),
         false},
        {"searchable array, no strings", With(Array({U(5u)}), "Searchable"), like(Array({}), u"%"), false},
        {"array without Searchable", Array({U(u"abc")}), like(Array({}), u"a%"), false},
        {"composite", Object({}), like(Object({}), u"%"), false},
    });
    const Common::Error error = Failure([] { Match(*U(u"a"), *With(U(u""), "Like", U(1u))); });
    EXPECT_EQ(error.GetCode(), 0xfa000eu);
    EXPECT_EQ(error.GetMessage(), u"POR: Object internal structure mismatch.");
}

TEST(MatchTest, TraitOperators)
{
    const auto typed = [] { return With(With(Object({}), "Is", U(u"Base")), "Is", U(u"Derived")); };
    ExpectMatches({
        {"Is", typed(), With(Object({}), "Is", U(u"Derived")), true},
        {"Is, both", typed(), With(With(Object({}), "Is", U(u"Base")), "Is", U(u"Derived")), true},
        {"Is, one missing", typed(), With(With(Object({}), "Is", U(u"Base")), "Is", U(u"Other")), false},
        {"Is, value with a trait", typed(), With(Object({}), "Is", With(U(u"Base"), "Mark")), false},
        {"PrimaryKey", With(U(7u), "PrimaryKey"), With(U(0u), "PrimaryKey"), true},
        {"PrimaryKey, other value", With(U(7u), "PrimaryKey"), With(U(0u), "PrimaryKey", U(u"k")), false},
        {"ForeignKey", With(U(7u), "ForeignKey", U(u"k")), With(U(0u), "ForeignKey", U(u"k")), true},
        {"ForeignKey, absent", U(7u), With(U(0u), "ForeignKey", U(u"k")), false},
        {"Source", With(U(7u), "Source", U(u"agent")), With(U(0u), "Source", U(u"agent")), true},
        {"Source, other value", With(U(7u), "Source", U(u"agent")), With(U(0u), "Source", U(u"host")), false},
        {"Source, any value", With(U(7u), "Source", U(u"agent")),
         With(U(0u), "Source", With(Nil(), "AnyValue")), true},
        {"Source, any value, none", U(7u), With(U(0u), "Source", With(Nil(), "AnyValue")), false},
        {"DirectRelative", U(u"/a/b"), With(U(u""), "DirectRelative", U(u"/a")), true},
        {"DirectRelative, case", U(u"/a/b"), With(U(u""), "DirectRelative", U(u"/A")), false},
        {"DirectRelative, empty", U(u"/a/b"), With(U(u""), "DirectRelative", U(u"")), true},
        {"DirectRelative, shorter source", U(u"/a"), With(U(u""), "DirectRelative", U(u"/a/b")), false},
    });
    EXPECT_FALSE(GetPatternByName("DirectRelative")(*U(1u), *U(u"")));
    EXPECT_EQ(Failure([] { GetPatternByName("DirectRelative")(*U(u"a"), *U(1u)); }).GetCode(), 0xfa000eu);
}

TEST(MatchTest, MalformedPatternsThrowOnlyWhenReached)
{
    const UnitPtr unknown = Object({{"a", U(2u)}, {"b", With(U(1u), "Bogus")}});
    const Common::Error error = Failure([&] { Match(*Object({{"a", U(2u)}, {"b", U(1u)}}), *unknown); });
    EXPECT_EQ(error.GetCode(), 0xfa000eu);
    EXPECT_EQ(error.GetMessage(), u"POR: Name 'Bogus' of the trait is not registered for pattern.");
    // An earlier property, an earlier operator (in name order) or the kind decides first.
    EXPECT_FALSE(Match(*Object({{"a", U(3u)}, {"b", U(1u)}}), *unknown));
    EXPECT_FALSE(Match(*U(1u), *With(With(U(0u), "EqualValue", U(2u)), "Zeta")));
    EXPECT_FALSE(Match(*U(u"x"), *With(U(1u), "Bogus")));

    const auto range = [](UnitPtr operand)
    { return [operand] { Match(*U(1u), *With(U(0u), "Between", operand)); }; };
    const Common::Error kinds = Failure(range(Object({{"From", U(1u)}, {"To", U(3)}})));
    EXPECT_EQ(kinds.GetCode(), 0xfa000eu);
    EXPECT_EQ(kinds.GetMessage(), u"POR: Failed to check range inclusion.");
    const Common::Error missing = Failure(range(Object({{"From", U(1u)}})));
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
    UnitPtr record = Object({
        {"ID", With(U(id), "PrimaryKey")},
        {"State", U(5u)},
        {"Description", With(U(u""), "Nil")},
        {"Bytes", With(U(std::uint64_t{4096}), "Measure", U(u"byte"))},
        {"Details", With(Object({{"Specific", U(u"Business")},
                                 {"ProcessID", With(U(0u), "Nil")},
                                 {"InstanceID", With(With(U(id), "ForeignKey"), "Instance")}}),
                         "Is", U(u"Details"))},
        {"Warnings", Array({With(Object({{"Time", With(U(std::int64_t{60}), "Measure", U(u"seconds"))}}),
                                 "Is", U(u"Issue"))})},
        {"Tags", With(Array({U(u"a"), U(u"b")}), "Searchable")},
        {"Limit", With(U(10u), "Greater", U(3u))},
    });
    return With(With(record, "Is", U(u"Activity")), "Is", U(u"Base"));
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
                          *With(U(std::uint64_t{4096}), "EqualValue", U(std::uint64_t{4096}))));
    EXPECT_TRUE(UnitEqual(Util::GetPropertyValue(*pattern, "ID"),
                          *With(With(U(Util::GetPropertyValue<Common::Guid>(*record, "ID")), "PrimaryKey"),
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
