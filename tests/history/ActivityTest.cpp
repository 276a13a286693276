#include "history/Activity.h"

#include "common/ThrownError.h"
#include "history/Schema.h"
#include "por/Compare.h"
#include "por/TraitUtil.h"
#include "por/UnitBuilder.h"
#include "por/UnitPrinter.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace
{

using namespace Tol::History::Plain;
using Por::Util::Build;

TEST(ActivityTest, AbsentOrNilPropertiesReadAsTheSchemaDefaults)
{
    struct Case
    {
        const char* Name;
        std::function<Build(Build)> Properties;
        std::uint32_t State;
        const char16_t* Specific;
    };
    const Case cases[] = {
        {"nothing", [](Build b) { return b; }, 0, u"Infrastructural"},
        {"nil state, empty specific",
         [](Build b)
         {
             return std::move(b.Property("State")
                                  .Nil()
                                  .End()
                                  .Property("Details")
                                  .Composite()
                                  .Property("Specific", u"")
                                  .End());
         },
         0, u"Infrastructural"},
        {"set",
         [](Build b)
         {
             return std::move(b.Property("State", 5u)
                                  .Property("Details")
                                  .Composite()
                                  .Property("Specific", u"Business")
                                  .End());
         },
         5, u"Business"},
    };
    for (const Case& test : cases)
    {
        const Activity activity(test.Properties(std::move(Build().Composite())).Done());
        EXPECT_EQ(activity.GetState(), test.State) << test.Name;
        EXPECT_EQ(activity.GetDetails().GetSpecific(), test.Specific) << test.Name;
        EXPECT_EQ(activity.GetDetails().IsBusiness(), test.Specific == Por::String(u"Business")) << test.Name;
        EXPECT_EQ(activity.GetProgress().GetClassName(),
                  std::string("Tol::History::Plain::ActivityProgress"));
    }

    // A value of another kind is the handler's to judge; the default one throws.
    const Activity wrong(Build().Composite().Property("State", u"five").Done());
    const Common::Error error = Testing::ThrownError([&] { wrong.GetState(); });
    EXPECT_EQ(error.GetCode(), 0xfa0001u);
    EXPECT_EQ(error.GetMessage(), u"POR: Property 'State' processing error has occurred.");
}

TEST(ActivityTest, SettersClearNilOnTheWayFromTheRoot)
{
    Activity activity;
    EXPECT_FALSE(activity.IsSet("State"));
    activity.SetState(5);
    ActivityDetails details = activity.GetDetails();
    details.SetSpecific(u"Business");
    EXPECT_TRUE(activity.IsSet("State"));
    EXPECT_TRUE(activity.IsSet("Details"));

    const Por::UnitPtr expected = Build()
                                      .Composite()
                                      .Trait("Is", u"Tol::History::Plain::Activity")
                                      .Property("State", 5u)
                                      .Property("Details")
                                      .Composite()
                                      .Trait("Is", u"Tol::History::Plain::ActivityDetails")
                                      .Property("Specific", u"Business")
                                      .End()
                                      .Done();
    const Por::UnitPtr unit = activity.ToUnit();
    EXPECT_TRUE(Por::UnitEqual(*unit, *expected)) << Por::Util::UnitToString(*unit);
}

TEST(ActivityTest, UndeclaredPropertiesSurviveReadingAndWriting)
{
    const Por::UnitPtr stored = Build()
                                    .Composite()
                                    .Property("DmlTimeStamp", std::uint64_t{42})
                                    .Property("Environment")
                                    .Composite()
                                    .Property("ProtectionPlanID", u"plan")
                                    .End()
                                    .Property("Owner")
                                    .Composite()
                                    .Property("Name", u"old")
                                    .Property("Domain", u"kept")
                                    .End()
                                    .Done();
    Activity activity(stored);
    Core::User owner = activity.GetOwner();
    EXPECT_EQ(owner.Name, u"old");
    owner.Name = u"new";
    activity.SetOwner(owner);
    activity.SetState(1);

    const Activity reread(activity.ToUnit());
    const Por::View::Unit& unit = reread.Branch();
    EXPECT_EQ(Por::Util::GetPropertyValue<std::uint64_t>(unit, "DmlTimeStamp"), 42u);
    EXPECT_EQ(Por::Util::GetPropertyValue<Por::String>(Por::Util::GetPropertyValue(unit, "Environment"),
                                                       "ProtectionPlanID"),
              u"plan");
    const Por::View::Unit& storedOwner = Por::Util::GetPropertyValue(unit, "Owner");
    EXPECT_EQ(Por::Util::GetPropertyValue<Por::String>(storedOwner, "Domain"), u"kept");
    EXPECT_EQ(reread.GetOwner(), owner);
}

TEST(ActivityTest, RecordsAreFlatCompositesOfTheirFields)
{
    Activity activity;
    Tol::ActivityOrigin origin;
    origin.ParentActivity.Data1 = 7;
    activity.SetOrigin(origin);
    activity.SetPeriod({1, 2, 3});

    EXPECT_EQ(activity.GetOrigin(), origin);
    EXPECT_EQ(activity.GetPeriod(), (Tol::ActivityTimePeriod{1, 2, 3}));
    // Readers of the store ask for "Origin"."ParentActivity" by name.
    const Por::View::Unit& stored = Por::Util::GetPropertyValue(activity.Branch(), "Origin");
    EXPECT_EQ(Por::Util::GetPropertyValue<Common::Guid>(stored, "ParentActivity"), origin.ParentActivity);
    EXPECT_TRUE(IsInstanceOf(stored, "Tol::ActivityOrigin"));
    EXPECT_EQ(Por::Util::GetPropertyValue<std::int64_t>(
                  Por::Util::GetPropertyValue(activity.Branch(), "Period"), "FinishTime"),
              3);
}

TEST(ActivityTest, WarningsIterateAsIssuesOverTheActivitysTree)
{
    Issue first;
    first.SetTime(10);
    Issue second;
    second.SetError(Common::Error(COMMON_LOCATION("ActivityTest"), 0xfa0001, std::string_view("disk full")));
    Activity activity;
    activity.SetWarnings({first, second});

    Serialization::ValueIterator<Issue> warnings = activity.GetWarnings();
    ASSERT_EQ(warnings.Size(), 2u);
    warnings.Next();
    EXPECT_EQ(warnings.Current()->GetTime(), 10);
    warnings.Next();
    EXPECT_EQ(warnings.Current()->GetError().GetMessage(), u"disk full");
    EXPECT_EQ(warnings.Current()->GetTime(), 0); // Nil, read as the default
    EXPECT_FALSE(warnings.HasNext());

    Issue shared = *warnings.Current();
    shared.SetTime(20); // the issues are views of the activity's elements
    Serialization::ValueIterator<Issue> again = activity.GetWarnings();
    again.Next();
    again.Next();
    EXPECT_EQ(again.Current()->GetTime(), 20);
    EXPECT_EQ(activity.GetErrors().Size(), 0u);
}

TEST(ActivityTest, DerivedClassesReadTheirOwnPropertiesOverABaseBranch)
{
    CumulativeActivity cumulative;
    cumulative.SetAccumulatedMachinesCount(3);
    cumulative.SetState(5);
    EXPECT_EQ(cumulative.GetAccumulatedMachinesCount(), 3u);
    EXPECT_EQ(cumulative.GetState(), 5u);

    Activity activity(Build()
                          .Composite()
                          .Property("Progress")
                          .Composite()
                          .Trait("Is", u"Core::Progress")
                          .Property("Timestamp", std::int64_t{99})
                          .End()
                          .Done());
    const ActivityProgress progress = activity.GetProgress();
    ASSERT_TRUE(IsInstanceOf(progress.Branch(), "Core::Progress"));
    const CoreProgress core(activity, progress.Branch());
    EXPECT_EQ(core.GetTimestamp(), 99);
    EXPECT_EQ(core.GetTotal(), 0u);
}

} // namespace
