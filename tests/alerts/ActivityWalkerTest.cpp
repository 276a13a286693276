#include "alerts/utils/ActivityWalker.h"

#include "AlertTesting.h"

#include <gtest/gtest.h>

namespace
{

using AlertTesting::Id;

bool Failed(const Por::View::Unit& activity)
{
    const Por::View::Unit* state = Por::Util::FindPropertyValue(activity, "Failed");
    return state != nullptr && Por::Util::GetValue<bool>(*state);
}

// A failed activity with the parents given as (path, number) pairs.
Por::Unit Activity(std::uint32_t number, const char16_t* specific,
                   std::initializer_list<std::pair<const char*, std::uint32_t>> parents = {},
                   bool failed = true)
{
    Por::Unit activity = AlertTesting::MakeActivity(Id(number));
    activity["Failed"] = failed;
    if (specific != nullptr)
    {
        activity[".Details.Specific"] = specific;
    }
    for (const auto& [path, parent] : parents)
    {
        activity[path] = Id(parent);
    }
    return activity;
}

TEST(ActivityWalkerTest, TheMarkPassesUpTheChainWithoutASecondAlert)
{
    Alerts::Util::ActivityWalker walker(Failed);
    EXPECT_TRUE(walker.Process(Activity(1, u"Business", {{".Environment.BusinessParent", 2}}).Get()));
    // Each remembered parent answers no, whatever it is, and hands the mark to its own parents.
    EXPECT_FALSE(walker.Process(
        Activity(2, u"Business",
                 {{".Environment.ParentProtectActivityID", 3}, {".Environment.ProcessRoot", 4}})
            .Get()));
    EXPECT_FALSE(walker.IsRemembered(Id(2)));
    EXPECT_FALSE(walker.Process(Activity(3, u"Business").Get()));
    EXPECT_FALSE(walker.Process(Activity(4, u"Business").Get()));
    EXPECT_EQ(walker.GetRememberedCount(), 0u);
    // Once erased, the activity is judged by itself again.
    EXPECT_TRUE(walker.Process(Activity(4, u"Business").Get()));
}

// A non-business child leaves the alert to its business parent, which alerts and is not marked by it.
TEST(ActivityWalkerTest, TwoFailingChildrenRememberTheirParentOnce)
{
    Alerts::Util::ActivityWalker walker(Failed);
    EXPECT_FALSE(walker.Process(Activity(1, nullptr, {{".Origin.ParentActivity", 2}}).Get()));
    EXPECT_EQ(walker.GetRememberedCount(), 0u);
    EXPECT_TRUE(walker.Process(Activity(2, u"Business", {{".Origin.ParentActivity", 9}}).Get()));
    EXPECT_TRUE(walker.Process(Activity(3, u"Business", {{".Origin.ParentActivity", 9}}).Get()));
    EXPECT_EQ(walker.GetRememberedCount(), 1u);
    EXPECT_TRUE(walker.IsRemembered(Id(9)));
    EXPECT_FALSE(walker.Process(Activity(9, u"Business").Get()));
    EXPECT_EQ(walker.GetRememberedCount(), 0u);
}

TEST(ActivityWalkerTest, PredicateBusinessAndProcessRootDecideTheRest)
{
    Alerts::Util::ActivityWalker walker(Failed);
    EXPECT_FALSE(walker.Process(Activity(1, u"Business", {{".Origin.ParentActivity", 5}}, false).Get()));
    EXPECT_FALSE(walker.Process(Activity(2, u"System", {{".Origin.ParentActivity", 5}}).Get()));
    EXPECT_EQ(walker.GetRememberedCount(), 0u);
    // Without parents an activity is a process root; the flag, when present, overrides that.
    EXPECT_TRUE(walker.Process(Activity(3, u"Infrastructural").Get()));
    Por::Unit flagged = Activity(4, nullptr, {{".Origin.ParentActivity", 5}});
    flagged[".Details.IsProcessRoot"] = true;
    EXPECT_TRUE(walker.Process(flagged.Get()));
    Por::Unit denied = Activity(6, nullptr);
    denied[".Details.IsProcessRoot"] = false;
    EXPECT_FALSE(walker.Process(denied.Get()));
    EXPECT_TRUE(walker.IsRemembered(Id(5)));
}

} // namespace
