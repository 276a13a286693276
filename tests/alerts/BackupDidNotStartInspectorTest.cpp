// The backup did not start inspector end to end: item protections, instances, plans and the overdue
// table in the memory store, the host's components, the timers on the virtual clock.
#include "TimingTesting.h"
#include "alerts/AlertIdentity.h"
#include "alerts/inspectors/InspectorFactories.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using AlertTesting::Id;
using Lines = std::vector<std::string>;
using Testing::RecordingListener;

const Common::Guid Instance = Id(0x1A);
const Common::Guid Plan = Id(0x2B);

// The alert of the plan on the instance, raised or cleared.
std::string Raised(const Common::Guid& plan)
{
    return Testing::Active("BackupDidNotStart", Alerts::XorGuids(plan, Instance));
}
std::string Cleared(const Common::Guid& plan)
{
    return Testing::Inactive("", Alerts::XorGuids(plan, Instance));
}

class DidNotStartTest : public TimingTesting::InspectorTest
{
protected:
    DidNotStartTest()
    {
        Write.Create(AlertTesting::MakeInstance(Instance, 1));
        Write.Create(AlertTesting::MakePlan(Plan, Plan));
    }
    void Begin(const Por::Unit& settings = Por::Unit::Composite())
    {
        InspectorTest::Begin(&Alerts::Detail::CreateBackupDidNotStartInspector, settings);
    }
    // An item of the plan on the instance, next due `ahead` seconds from now.
    Por::Unit Item(const Common::Guid& id, std::int64_t ahead, std::int32_t state = 0,
                   const Common::Guid& instance = Instance)
    {
        Por::Unit item = AlertTesting::MakeObject(u"Gtob::Dto::ItemProtection", id);
        item[".Local.PlanID"] = Plan;
        item["InstanceID"] = instance;
        item[".NextBackupTime.Time"] = Time.Now() + ahead;
        item[".NextBackupTime.Trigger"] = std::int32_t{3};
        item["State"] = state;
        return item;
    }
};

TEST_F(DidNotStartTest, TenSecondsAheadWithAGraceOfTwentyIsAThirtySecondTimer)
{
    Begin();
    const std::int64_t next = Time.Now() + 10;
    Write.Create(Item(Id(1), 10));
    // Settings changes reach nothing here, and say nothing.
    const std::size_t logged = Log.Lines().size();
    Inspector->ChangeSettings("BackupDidNotStart",
                              AlertTesting::With("TimeoutToStart", std::int32_t{100}).Get(), u"");
    EXPECT_EQ(Log.Lines().size(), logged);
    Time.Clock.Advance(29999);
    EXPECT_TRUE(Host->Take().empty());
    Time.Clock.Advance(1);
    const std::vector<RecordingListener::Call> calls = Host->Take();
    ASSERT_EQ(RecordingListener::Lines(calls), Lines{Raised(Plan)});
    const Por::ConstUnit meta(calls[0].Meta);
    EXPECT_EQ(meta["Time"].As<std::int64_t>(), next);
    EXPECT_EQ(meta["MachineID"].As<Common::Guid>(), MachineId);
    EXPECT_EQ(meta["MachineName"].As<Common::WideString>(), u"machine-1");
    EXPECT_EQ(meta["PlanName"].As<Common::WideString>(), u"Daily"); // completed when it fired
}

TEST_F(DidNotStartTest, APassedTimeAlertsAtOnceButNotRightAfterARun)
{
    const Common::Guid otherPlan = Id(0x2C);
    Write.Create(Item(Id(1), -20));
    Por::Unit running = Item(Id(2), -100, 1);
    running[".Local.PlanID"] = otherPlan;
    Write.Create(running);
    Begin();
    EXPECT_EQ(Host->TakeLines(), (Lines{Raised(Plan), Cleared(otherPlan)}));
    // The run ends with its time long passed: no alert for that.
    Write.Set(Id(2), u".State", std::int32_t{0});
    Time.Seconds(1000);
    EXPECT_TRUE(Host->Take().empty());
    // A grace that the passed time does not exceed still waits.
    Write.Set(Id(1), u".NextBackupTime.Time", Time.Now() - 19);
    Time.Seconds(1);
    EXPECT_EQ(Host->TakeLines(), Lines{Raised(Plan)});
}

TEST_F(DidNotStartTest, AMovedScheduleReplacesTheTimerAndARunClearsIt)
{
    Begin(AlertTesting::With(".BackupDidNotStart.TimeoutToStart", std::int32_t{5}));
    Write.Create(Item(Id(1), 10));
    Write.Set(Id(1), u".NextBackupTime.Time", Time.Now() + 100);
    Time.Seconds(104);
    EXPECT_TRUE(Host->Take().empty());
    Time.Seconds(1);
    EXPECT_EQ(Host->TakeLines(), Lines{Raised(Plan)});
    Write.Set(Id(1), u".NextBackupTime.Time", Time.Now() + 100);
    Write.Set(Id(1), u".State", std::int32_t{1});
    EXPECT_EQ(Host->TakeLines(), Lines{Cleared(Plan)});
    Time.Seconds(1000);
    EXPECT_TRUE(Host->Take().empty());
}

// Items on an instance that cannot be read arm nothing, due or not.
TEST_F(DidNotStartTest, LeavingThePatternOrTheStoreClearsTheAlertAndAnUnreadableInstanceArmsNothing)
{
    Begin();
    Write.Create(Item(Id(3), -30, 0, Id(0x1B)));
    Write.Create(Item(Id(4), 10, 0, Id(0x1B)));
    EXPECT_TRUE(Log.HasReadFailure());
    Write.Create(Item(Id(1), -30));
    EXPECT_EQ(Host->TakeLines(), Lines{Raised(Plan)});
    Write.Set(Id(1), u".NextBackupTime.Trigger", std::int32_t{1});
    EXPECT_EQ(Host->TakeLines(), Lines{Cleared(Plan)});
    Write.Create(Item(Id(2), 10));
    Write.Delete(Id(2));
    EXPECT_EQ(Host->TakeLines(), Lines{Cleared(Plan)});
    Time.Seconds(100);
    EXPECT_TRUE(Host->Take().empty());
}

TEST_F(DidNotStartTest, TheOverdueTableAtStartRaisesItsAlerts)
{
    Por::Unit overdue = AlertTesting::MakeObject(u"Gtob::Dto::OverdueBackups", Id(0x0D));
    const auto record = [&](const Common::Guid& instance, std::int64_t start)
    {
        Por::Unit entry = Por::Unit::Composite();
        entry["InstanceID"] = instance;
        entry["PlanID"] = Plan;
        entry["StartTime"] = start;
        overdue["Table"].PushBack(entry.Get());
    };
    record(Id(0x1B), 500); // an instance that cannot be named: skipped
    record(Instance, 700);
    Write.Create(overdue);
    Begin();
    const std::vector<RecordingListener::Call> calls = Host->Take();
    ASSERT_EQ(RecordingListener::Lines(calls), Lines{Raised(Plan)});
    const Por::ConstUnit meta(calls[0].Meta);
    EXPECT_EQ(meta["Time"].As<std::int64_t>(), 700);
    EXPECT_EQ(meta["MachineName"].As<Common::WideString>(), u"machine-1");
    EXPECT_EQ(meta["PlanName"].As<Common::WideString>(), u"Daily");
}

} // namespace
