#include "por/CompositeWalker.h"

#include "por/Compare.h"
#include "por/UnitAccess.h"
#include "por/UnitBuilder.h"
#include "por/UnitFactory.h"
#include "por/UnitPrinter.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using namespace Por;

// Writes "L:a R:b B:c " per event and stops at the event numbered StopAt (0: never).
class Recorder final : public Util::CompositeWalker
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
        Recorder recorder;
        recorder.StopAt = stopAt;
        const bool stopped = Util::WalkComposites(*Left, *Right, recorder);
        EXPECT_EQ(stopped, stopAt != 0);
        EXPECT_EQ(recorder.Text, prefixes[stopAt == 0 ? 4 : stopAt - 1]) << stopAt;
    }
    // One side empty: everything is on the other.
    Recorder recorder;
    Util::WalkComposites(*GetUnitFactory().CreateComposite(), *Right, recorder);
    EXPECT_EQ(recorder.Text, "R:b R:c R:e ");
}

TEST(CompositeWalkerTest, FilterDropsNamesAndTheWalkGoesOn)
{
    Recorder recorder;
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
