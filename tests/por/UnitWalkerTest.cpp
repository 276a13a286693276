#include "por/UnitWalker.h"

#include "por/Compare.h"
#include "por/CompositeWalker.h"
#include "por/UnitAccess.h"
#include "por/UnitBuilder.h"
#include "por/UnitFactory.h"
#include "por/UnitPrinter.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using namespace Por;

// Writes events as a compact trace.
class Trace final : public Util::UnitWalker
{
public:
    void OnUnitBegin() override { Text += "U"; }
    void OnEnd() override { Text += "E"; }
    void OnProperty(std::string_view name) override { Text += "P" + std::string(name); }
    void OnTrait(std::string_view name) override { Text += "T" + std::string(name); }
    void OnNil() override { Text += "0"; }
    void OnError(const Common::Error&) override { Text += "e"; }
    void OnString(Common::WideStringView) override { Text += "s"; }
    void OnGuid(const Common::Guid&) override { Text += "g"; }
    void OnBlob(std::span<const std::uint8_t>) override { Text += "b"; }
    void OnDouble(double) override { Text += "f"; }
    void OnSQWord(std::int64_t) override { Text += "q"; }
    void OnQWord(std::uint64_t) override { Text += "Q"; }
    void OnSDWord(std::int32_t) override { Text += "d"; }
    void OnDWord(std::uint32_t) override { Text += "D"; }
    void OnSWord(std::int16_t) override { Text += "w"; }
    void OnWord(std::uint16_t) override { Text += "W"; }
    void OnSByte(std::int8_t) override { Text += "y"; }
    void OnByte(std::uint8_t) override { Text += "Y"; }
    void OnBoolean(bool) override { Text += "?"; }
    void OnArray() override { Text += "A"; }
    void OnComposite() override { Text += "C"; }
    std::string Text;
};

UnitPtr Sample()
{
    // clang-format off
    return Util::Build().Composite().Trait("Is", u"X")
        .Property("a").Array().Element(1u).Value(true).Trait("m", nullptr).End().End()
        .Property("b", Blob{1})
        .Done();
    // clang-format on
}

TEST(UnitWalkerTest, GuidesOrderValueAndTraitsAndEitherWalkRebuildsTheUnit)
{
    const UnitPtr unit = Sample();
    Trace valueFirst;
    Util::HierarchyRoute(*unit).Follow(valueFirst);
    EXPECT_EQ(valueFirst.Text, "UCPaUAUDEU?TmU0EEEPbUbETIsUsEE");
    Trace traitsFirst;
    Util::HierarchyRoute(*unit).Follow(traitsFirst, Util::WalkTraitsFirstGuide());
    EXPECT_EQ(traitsFirst.Text, "UTIsUsECPaUAUDEUTmU0E?EEPbUbEE");
    Trace shallow;
    const Util::WalkValueFirstGuide next;
    Util::HierarchyRoute(*unit).Follow(shallow, Util::WalkNotRecursiveWithTraitsGuide(next));
    EXPECT_EQ(shallow.Text, "UTIsUsECE");

    Util::UnitBuildingWalker valueFirstBuilder(GetUnitFactory());
    Util::HierarchyRoute(*unit).Follow(valueFirstBuilder);
    Util::UnitBuildingWalker traitsFirstBuilder(GetUnitFactory());
    Util::HierarchyRoute(*unit).Follow(traitsFirstBuilder, Util::WalkTraitsFirstGuide());
    for (Util::UnitBuildingWalker* builder : {&valueFirstBuilder, &traitsFirstBuilder})
    {
        ASSERT_NE(builder->Result(), nullptr);
        EXPECT_TRUE(UnitEqual(*builder->Result(), *unit)) << Util::UnitToString(*builder->Result());
    }
}

// Writes "L:a R:b B:c " per event and stops at the event numbered StopAt (0: never).
class CompositeRecorder final : public Util::CompositeWalker
{
public:
    bool OnBoth(const View::Property& left, const View::Property& right) override
    {
        return Record("B:" + left.GetName() + (left.GetName() == right.GetName() ? "" : "!"));
    }
    bool OnLeftOnly(const View::Property& left) override { return Record("L:" + left.GetName()); }
    bool OnRightOnly(const View::Property& right) override { return Record("R:" + right.GetName()); }

    std::string Text;
    int StopAt = 0;

private:
    bool Record(const std::string& event)
    {
        Text += event + " ";
        return ++Seen == StopAt;
    }
    int Seen = 0;
};

const UnitPtr Left = Util::Build().Composite().Property("a", 1u).Property("c", 1u).Property("d", 1u).Done();
const UnitPtr Right = Util::Build().Composite().Property("b", 2u).Property("c", 2u).Property("e", 2u).Done();

TEST(CompositeWalkerTest, WalksBothSidesInNameOrderAndStopsWhenAsked)
{
    const char* const prefixes[] = {"L:a ", "L:a R:b ", "L:a R:b B:c ", "L:a R:b B:c L:d ",
                                    "L:a R:b B:c L:d R:e "};
    for (int stopAt = 0; stopAt <= 5; ++stopAt)
    {
        CompositeRecorder recorder;
        recorder.StopAt = stopAt;
        const bool stopped = Util::WalkComposites(*Left, *Right, recorder);
        EXPECT_EQ(stopped, stopAt != 0);
        EXPECT_EQ(recorder.Text, prefixes[stopAt == 0 ? 4 : stopAt - 1]) << stopAt;
    }
    // One side empty: everything is on the other.
    CompositeRecorder recorder;
    Util::WalkComposites(*GetUnitFactory().CreateComposite(), *Right, recorder);
    EXPECT_EQ(recorder.Text, "R:b R:c R:e ");
}

TEST(CompositeWalkerTest, FilterDropsNamesAndTheWalkGoesOn)
{
    CompositeRecorder recorder;
    Util::FilteringCompositeWalker filter(recorder,
                                          [](std::string_view name) { return name != "c" && name != "a"; });
    EXPECT_FALSE(Util::WalkComposites(*Left, *Right, filter));
    EXPECT_EQ(recorder.Text, "R:b L:d R:e ");
}

TEST(CompositeWalkerTest, UnitWalkerEventsBuildTheUnionWithTheRightSideWinning)
{
    Util::UnitBuildingWalker builder(GetUnitFactory());
    Util::CompositeWalker2UnitWalker events(builder);
    builder.OnUnitBegin();
    builder.OnComposite();
    Util::WalkComposites(*Left, *Right, events);
    builder.OnEnd();
    // clang-format off
    const UnitPtr expected = Util::Build().Composite()
        .Property("a", 1u).Property("b", 2u).Property("c", 2u).Property("d", 1u).Property("e", 2u).Done();
    // clang-format on
    EXPECT_TRUE(UnitEqual(*builder.Result(), *expected)) << Util::UnitToString(*builder.Result());
}

} // namespace
