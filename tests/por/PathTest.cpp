#include "por/Path.h"

#include "TestUnits.h"
#include "por/Compare.h"
#include "por/PathWalkers.h"
#include "por/TraitPathEnumerator.h"
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

struct Recorder final : Util::PathWalker
{
    std::vector<std::string> Events;
    void OnProperty(std::string_view name) override { Events.emplace_back(name); }
    void OnArrayElement() override { Events.emplace_back("<end>"); }
    void OnEmptyPath() override { Events.emplace_back("<empty>"); }
};

TEST(WalkPathTest, StepsAndMalformedPaths)
{
    struct Case
    {
        std::u16string Path;
        std::vector<std::string> Events;
        std::u16string Error;
    };
    const Case cases[] = {
        {u"", {"<empty>"}, u""},
        {u".a", {"a", "<end>"}, u""},
        {u".a..b", {"a", "", "b", "<end>"}, u""},
        {u".x&d;y^z.&r;", {"x.y^z", "^", "<end>"}, u""}, // '^' is a plain character here
        {u".", {}, u"POR: Unit path '.' contains an empty token."},
        {u".a.b.", {}, u"POR: There is an invalid separator at the end of path '.a.b.'."},
        {u"a.b", {}, u"POR: Beginning of unit path 'a.b' contains an incorrect symbol."},
    };
    for (const Case& test : cases)
    {
        SCOPED_TRACE(testing::PrintToString(test.Path));
        Recorder recorder;
        const Common::Error error = Failure([&] { Util::WalkPath(test.Path, recorder); });
        EXPECT_EQ(recorder.Events, test.Events);
        EXPECT_EQ(error.GetCode(), test.Error.empty() ? 0u : 0xfa0001u);
        EXPECT_EQ(error.GetMessage(), test.Error);
    }
}

class ResolvePathTest : public testing::Test
{
protected:
    // clang-format off
    const UnitPtr Root = Util::Build().Composite().Trait("Is", u"Root")
        .Property("a..b", 1u).Property("x.y", 3u).Property("1", 4u)
        .Property("a").Composite().Trait("Is", u"X").Trait("Is", u"Y").Property("b", 2u).End()
        .Property("list").Array()
            .Element(10u)
            .Composite().Trait("T").Composite().Property("x", 12u).End().Property("x", 11u).End()
        .Done();
    // clang-format on
};

TEST_F(ResolvePathTest, FindsNodesOrNull)
{
    struct Case
    {
        std::u16string Path;
        int Expected; // the dword found, -1 for null
    };
    // clang-format off
    const Case cases[] = {
        {u".a..b", 1}, // one token, unlike the simple walk
        {u".a.b", 2}, {u"a.b", 2}, // a bare first token is a property
        {u".x&d;y", 3}, {u".1", 4}, {u".list.0", 10}, {u".list.1.x", 11},
        {u".list.1^T.x", 12}, // into a trait's value
        {u".a.b.", 2}, // an empty token ends the walk where it is
        {u".list.one", -1}, {u".list.-1", -1}, {u".list.99999999999999999999999", -1},
        {u".a.b.c", -1}, {u".missing", -1},
    };
    // clang-format on
    for (const Case& test : cases)
    {
        SCOPED_TRACE(testing::PrintToString(test.Path));
        const View::Unit* found = Util::ResolvePath(test.Path, *Root);
        if (test.Expected < 0)
        {
            EXPECT_EQ(found, nullptr);
        }
        else
        {
            ASSERT_NE(found, nullptr);
            EXPECT_EQ(Util::GetValue<std::uint32_t>(*found), static_cast<std::uint32_t>(test.Expected));
        }
    }
    EXPECT_EQ(Util::ResolvePath(u"", *Root), Root.get());
    EXPECT_TRUE(Util::PathExists(u"^Is", *Root));
    EXPECT_FALSE(Util::PathExists(u".a.c", *Root));
}

TEST_F(ResolvePathTest, FailuresOfTraitsIndexesAndBranches)
{
    const Common::Error notUnique = Failure([&] { Util::ResolvePath(u".a^Is", *Root); });
    EXPECT_EQ(notUnique.GetCode(), 0xfa001cu);
    EXPECT_EQ(notUnique.GetMessage(), u"POR: Trait 'Is' is not unique.");
    EXPECT_EQ(Failure([&] { Util::ResolvePath(u"^Missing", *Root); }).GetCode(), 0xfa001du);
    EXPECT_EQ(Failure([&] { Util::ResolvePath(u".list.2", *Root); }).GetCode(), 0xfa000fu);
    const Common::Error branch = Failure([&] { Util::ResolveBranch(u".a.c", *Root); });
    EXPECT_EQ(branch.GetCode(), 0xfa001bu);
    EXPECT_EQ(branch.GetMessage(), u"POR: Branch '.a.c' cannot be found.");
    // Trait values are views on the changing faces.
    EXPECT_EQ(Failure([&] { Util::ResolveBranch(u".list.1^T", *Root); }).GetCode(), 0xfa001bu);
}

TEST_F(ResolvePathTest, ChangingFacesReachTheSameNodes)
{
    Util::SetValue<std::uint32_t>(Util::ResolveBranch(u".list.1.x", *Root), 21);
    Util::SetValue<std::uint32_t>(Util::ResolveBranch(u".a.b", static_cast<Modification::Unit&>(*Root)), 22);
    EXPECT_EQ(Util::GetValue<std::uint32_t>(Util::ResolveBranch(u".list.1.x", std::as_const(*Root))), 21u);
    EXPECT_EQ(Util::GetValue<std::uint32_t>(*Util::ResolvePath(u".a.b", *Root)), 22u);
}

TEST(PathTokenTest, EscapesAndMakesPaths)
{
    EXPECT_EQ(Util::EscapeToken(u"x.y^z&"), u"x&d;y&r;z&");
    EXPECT_EQ(Util::UnescapeToken(Util::EscapeToken(u"x.y^z&")), u"x.y^z&");
    // A name holding an escape literally does not come back.
    EXPECT_EQ(Util::UnescapeToken(Util::EscapeToken(u"&d;")), u".");
    EXPECT_EQ(Util::MakePropertyPath(u".a", "x.y"), u".a.x&d;y");
    EXPECT_EQ(Util::MakeTraitPath(u"", "I^s"), u"^I&r;s");
    EXPECT_EQ(Util::MakeElementPath(u".a", 12), u".a.12");
}

TEST(PutUnitInLocationTest, BuildsTheWayAndCarriesAWholeTree)
{
    // clang-format off
    const UnitPtr source = Util::Build().Composite().Trait("Is", u"S")
        .Property("list").Array()
            .Value(1u).Trait("Mark", nullptr).End()
            .Composite().Property("e", Common::Guid{1, 2, 3, {4}}).End()
            .Array().End()
        .End()
        .Property("t").Value(u"v").Trait("Inner").Array().Element(std::int8_t{-1})
        .Done();
    // clang-format on
    const UnitPtr placed = Util::PutUnitInLocation(u".a..b", *source, Factory);
    const View::Unit& inner = Util::GetPropertyValue(Util::GetPropertyValue(*placed, "a"), "");
    EXPECT_TRUE(UnitEqual(Util::GetPropertyValue(inner, "b"), *source)) << Util::UnitToString(*placed);
    EXPECT_EQ(Util::GetComposite(*placed).Size(), 1u);

    const UnitPtr copy = Util::PutUnitInLocation(u"", *source, Factory);
    EXPECT_NE(copy, source);
    EXPECT_TRUE(UnitEqual(*copy, *source));
}

TEST(PutUnitInLocationTest, ExCreatesMissingLevelsAndReplacesOnlyTheLast)
{
    // clang-format off
    const UnitPtr root = Util::Build().Composite()
        .Property("a").Composite().Property("keep", 1u).Property("b").Composite().Property("old", 1u).End()
        .End()
        .Property("s", 5u)
        .Done();
    const UnitPtr source = Factory.CreateString(u"new");
    EXPECT_EQ(Util::PutUnitInLocationEx(root, u".a.b", *source, Factory), root);
    Util::PutUnitInLocationEx(root, u".n.m.k", *source, Factory);
    const UnitPtr expected = Util::Build().Composite()
        .Property("a").Composite().Property("keep", 1u).Property("b", u"new").End()
        .Property("n").Composite().Property("m").Composite().Property("k", u"new").End().End()
        .Property("s", 5u)
        .Done();
    // clang-format on
    EXPECT_TRUE(UnitEqual(*root, *expected)) << Util::UnitToString(*root);

    const UnitPtr before = Util::Copy(*root, Factory);
    const Common::Error error =
        Failure([&] { Util::PutUnitInLocationEx(root, u".s.x.y", *source, Factory); });
    EXPECT_EQ(error.GetCode(), 0xfa0001u);
    EXPECT_EQ(error.GetMessage(), u"POR: An internal error has occurred.");
    EXPECT_EQ(error.GetSubError().GetMessage(), u"Path .s.x.y contains non composite unit 's'");
    EXPECT_TRUE(UnitEqual(*root, *before));

    const UnitPtr fresh = Util::PutUnitInLocationEx(nullptr, u".k", *source, Factory);
    EXPECT_TRUE(UnitEqual(*fresh, *Util::Build().Composite().Property("k", u"new").Done()));
    const UnitPtr replaced = Util::PutUnitInLocationEx(root, u"", *source, Factory);
    EXPECT_NE(replaced, source);
    EXPECT_TRUE(UnitEqual(*replaced, *source));
}

TEST(RemoveAtPathTest, RemovesPropertiesElementsAndTraitsAndToleratesMissingPaths)
{
    // clang-format off
    const UnitPtr root = Util::Build().Composite().Trait("Is", u"A").Trait("Is", u"B").Trait("Keep", nullptr)
        .Property("a").Composite().Property("b", 1u).Property("c", 1u).End()
        .Property("list").Array().Element(1u).Element(2u)
        .Done();
    // clang-format on
    struct Case
    {
        std::u16string Path;
        bool Removed;
    };
    const Case cases[] = {
        {u".a.b", true},     {u".a.b", false},    {u".list.0", true},     {u"^Is", true},     {u"^Is", false},
        {u".list.5", false}, {u".list.x", false}, {u".missing.x", false}, {u".a.c.d", false}, {u"", false},
    };
    for (const Case& test : cases)
    {
        EXPECT_EQ(Util::RemoveAtPath(*root, test.Path), test.Removed) << testing::PrintToString(test.Path);
    }
    // clang-format off
    const UnitPtr expected = Util::Build().Composite().Trait("Keep", nullptr)
        .Property("a").Composite().Property("c", 1u).End()
        .Property("list").Array().Element(2u)
        .Done();
    // clang-format on
    EXPECT_TRUE(UnitEqual(*root, *expected)) << Util::UnitToString(*root);
}

TEST(TraitPathEnumeratorTest, DepthFirstThroughElementsAndTraitValues)
{
    // clang-format off
    const UnitPtr root = Util::Build().Composite().Trait("M", 1u)
        .Trait("T").Composite().Property("x").Composite().Trait("M", 2u).End().End()
        .Property("b").Composite().Trait("M", 1u).End()
        .Property("a").Array()
            .Composite().Trait("M", 2u).End()
            .Element(1u)
            .Composite().Property("c.d").Composite().Trait("M", 1u)
        .Done();
    // clang-format on
    Util::PathCollector all;
    Util::EnumerateTraitPaths(*root, "M", all);
    EXPECT_EQ(all.Paths, (std::vector<std::u16string>{u"", u".a.0", u".a.2.c&d;d", u".b", u"^T.x"}));

    Util::PathCollector ones;
    Util::EnumerateTraitWithValuePaths(*root, "M", *Factory.CreateDWord(1), ones);
    EXPECT_EQ(ones.Paths, (std::vector<std::u16string>{u"", u".a.2.c&d;d", u".b"}));
    for (const std::u16string& path : all.Paths)
    {
        EXPECT_TRUE(Util::HasTrait(Util::ResolveBranch(path, std::as_const(*root)), "M"));
    }

    struct StopAtSecond final : Util::PathConsumer
    {
        std::size_t Count = 0;
        bool Process(const Common::WideString&) override { return ++Count == 2; }
    } stop;
    Util::EnumerateTraitPaths(*root, "M", stop);
    EXPECT_EQ(stop.Count, 2u);
}

TEST(PathWithUnitTest, EmptyUnitThrows)
{
    const Common::Error error = Failure([] { Por::PathWithUnit(u".a", nullptr).GetUnit(); });
    EXPECT_EQ(error.GetCode(), 0xfa001eu);
    EXPECT_EQ(error.GetMessage(), u"POR unit empty.");
}

} // namespace
