// The activity failing inspector while it runs: stories of activities started, changed and finished in
// the store, and the alerts that follow.
#include "ActivityFailingTesting.h"
#include "alerts/AlertErrors.h"
#include "alerts/MetaKeys.h"

#include <gtest/gtest.h>

namespace
{

using namespace ActivityFailingTesting;
namespace Codes = Alerts::ErrorCodes;

const Common::Guid PlanA = Id(0xA0);
const Common::Guid PlanB = Id(0xB0);

TEST_F(ActivityFailingTest, ACanceledBackupStaysUntilAnyBackupOfThePlanStarts)
{
    Launch();
    Write(MakeRun(Id(1), Alerts::BackupCommandID, PlanA));
    Finish(Id(1), Failure(Codes::BackupCanceled));
    // The window's code is found anywhere in the chain, and goes before the plain cancel.
    Write(MakeRun(Id(2), Alerts::BackupCommandID, PlanB));
    Finish(Id(2), Failure(0x00AB0001, Failure(Codes::BackupCanceledDueClosedBackupWindow)));
    // The other backup command shares the plan's alert: its start clears it.
    Write(MakeRun(Id(3), Alerts::BackupPlanCommandID, PlanA));
    EXPECT_EQ(SettleLines(),
              (Lines{Inactive(BackupAlert(PlanA)), Active("BackupCanceled", BackupAlert(PlanA)),
                     Inactive(BackupAlert(PlanB)),
                     Active("BackupCanceledDueClosedBackupWindow", BackupAlert(PlanB)),
                     Inactive(BackupAlert(PlanA))}));
}

TEST_F(ActivityFailingTest, OnlyAStartedActivityClearsAndUpdatesThatAreNoFinishChangeNothing)
{
    Launch();
    Write(MakeRun(Id(1), Alerts::BackupCommandID, PlanA));
    Write(MakeRun(Id(2), Alerts::BackupCommandID, PlanA));
    Finish(Id(1), Failure(0x00AB0001));
    EXPECT_EQ(SettleLines(), (Lines{Inactive(BackupAlert(PlanA)), Inactive(BackupAlert(PlanA)),
                                    Active("BackupFailed", BackupAlert(PlanA))}));

    Por::UpdateBuilder progress;
    progress.Add(u".State", Por::Unit(std::uint32_t{2}).Get());
    Change(Id(2), progress); // a running activity moves on
    Por::UpdateBuilder rename;
    rename.Add(u".Name", Por::Unit(u"renamed").Get());
    Change(Id(1), rename); // a finished one changes again
    Por::Unit done = MakeRun(Id(3), Alerts::BackupCommandID, PlanA);
    done["State"] = Finished; // created finished, without a problem
    Write(done);
    EXPECT_EQ(SettleLines(), Lines{});

    Write(MakeRun(Id(4), Alerts::BackupCommandID, PlanA));
    EXPECT_EQ(SettleLines(), Lines{Inactive(BackupAlert(PlanA))});
}

// A failing business child under a running backup: its own alert and, unless its command does not
// escalate, the backup's alert with the same meta. The backup's own failure then raises nothing more.
TEST_F(ActivityFailingTest, AFailedChildAlertsForItselfAndEscalatesToItsBackupOnce)
{
    Por::Unit instance = AlertTesting::MakeObject(u"InstanceManagement::Instance", Instance);
    instance["Type"] = std::int32_t{1};
    instance["FullPath"] = u"host-1";
    Write(instance);
    Launch();
    struct Case
    {
        Common::Guid Command;
        Common::Guid Plan;
        bool Escalates;
    };
    std::uint32_t next = 10;
    for (const Case& test : {Case{Verify, PlanA, true}, Case{Alerts::NonEscalatingCommandID, PlanB, false}})
    {
        const Common::Guid parent = Id(++next);
        const Common::Guid child = Id(++next);
        Write(MakeRun(parent, Alerts::BackupCommandID, test.Plan));
        Por::Unit run = MakeRun(child, test.Command, test.Plan);
        run[".Details.Specific"] = u"Business";
        run[".Environment.ParentProtectActivityID"] = parent;
        run[".Environment.ProtectionPlanName"] = u"Nightly";
        run["Name"] = u"Verify archive";
        Write(run);
        EXPECT_EQ(SettleLines(),
                  (Lines{Inactive(BackupAlert(test.Plan)), Inactive(CommandAlert(test.Plan, test.Command))}));

        Finish(child, Failure(0x00AB0007), 30);
        Finish(parent, Failure(0x00AB0008), 40);
        const std::vector<Call> calls = Settle();
        Lines expected{Active("ActivityFailed", CommandAlert(test.Plan, test.Command))};
        if (test.Escalates)
        {
            expected.push_back(Active("BackupFailed", BackupAlert(test.Plan)));
        }
        ASSERT_EQ(ToLines(calls), expected);
        for (const Call& call : calls)
        {
            EXPECT_EQ(MetaField(call, "Error").As<Common::Error>().GetCode(), 0x00AB0007u);
            EXPECT_EQ(MetaField(call, "ActivityName").As<Por::String>(), u"Verify archive");
            EXPECT_EQ(MetaField(call, "InstanceID").As<Common::Guid>(), Instance);
            EXPECT_EQ(MetaField(call, "MachineName").As<Por::String>(), u"host-1");
            // The plan can't be read: the activity's own plan fields stand in.
            EXPECT_EQ(MetaField(call, "PlanID").As<Common::Guid>(), test.Plan);
            EXPECT_EQ(MetaField(call, "PlanName").As<Por::String>(), u"Nightly");
            EXPECT_EQ(MetaField(call, "ActivityID").As<Common::Guid>(), child);
            EXPECT_EQ(MetaField(call, "StartTime").As<std::int64_t>(), 10);
            EXPECT_EQ(MetaField(call, "FinishTime").As<std::int64_t>(), 30);
            EXPECT_TRUE(MetaField(call, "Time").Exists());
        }
    }
}

// "WarningsCount" belongs to a backup alone; a canceled command that is no backup is a warning whose
// "Warning" is the cancel itself; an activity's name is kept unless it is the placeholder.
TEST_F(ActivityFailingTest, WarningsAndCancelsOfBackupsAndOtherCommands)
{
    const Common::Error first = Failure(0x00AB0011);
    const Common::Error second = Failure(0x00AB0012);
    const Common::Error cancel = Failure(Codes::BackupCanceled);
    struct Case
    {
        Common::Guid Command;
        const char16_t* Name;
        Common::Error Result;
        bool WithWarnings;
        const char* Type;
        std::uint32_t Warning;
        std::optional<std::uint32_t> Count;
    };
    const Case cases[] = {
        {Alerts::BackupPlanCommandID, u"Backup", {}, true, "BackupFinishedWithWarnings", 0x00AB0011, 2},
        {Verify, u"Validate", {}, true, "ActivityFinishedWithWarnings", 0x00AB0011, std::nullopt},
        {Verify, u"<unnamed-activity>", cancel, false, "ActivityFinishedWithWarnings", Codes::BackupCanceled,
         std::nullopt},
    };
    Launch();
    std::uint32_t number = 0;
    for (const Case& test : cases)
    {
        SCOPED_TRACE(test.Type);
        const Common::Guid plan = Id(0xD0 + ++number);
        Por::Unit run = MakeRun(Id(number), test.Command, plan);
        run["Name"] = test.Name;
        Write(run);
        Finish(Id(number), test.Result, 20, test.WithWarnings ? Issues({first, second}) : Por::Unit::Array());
        const std::vector<Call> calls = Settle();
        const Common::Guid id = test.Command == Verify ? CommandAlert(plan, Verify) : BackupAlert(plan);
        ASSERT_EQ(ToLines(calls), (Lines{Inactive(id), Active(test.Type, id)}));
        const Call& alert = calls.back();
        EXPECT_EQ(MetaField(alert, "Warning").As<Common::Error>().GetCode(), test.Warning);
        EXPECT_FALSE(MetaField(alert, "Error").Exists());
        EXPECT_EQ(MetaField(alert, "WarningsCount").Exists(), test.Count.has_value());
        if (test.Count)
        {
            EXPECT_EQ(MetaField(alert, "WarningsCount").As<std::uint32_t>(), *test.Count);
        }
        const bool named =
            test.Command == Verify && test.Name != Common::WideStringView(u"<unnamed-activity>");
        EXPECT_EQ(MetaField(alert, "ActivityName").Exists(), named);
    }
}

} // namespace
