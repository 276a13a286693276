// The activity failing inspector across starts: the first start with no mark looks at the item
// protections instead of the history; later starts replay, oldest finish first, what finished after the
// mark; a failed alert keeps the mark before its activity.
#include "ActivityFailingTesting.h"
#include "alerts/AlertErrors.h"

#include <gtest/gtest.h>

namespace
{

using namespace ActivityFailingTesting;
namespace Codes = Alerts::ErrorCodes;

Por::Unit MakeItemProtection(std::uint32_t number, const Common::Guid& plan, const Common::Error& result,
                             const Por::Unit& warnings = Por::Unit::Array())
{
    Por::Unit item = AlertTesting::MakeObject(u"Gtob::Dto::ItemProtection", Id(0x1700 + number));
    item[".Local.PlanID"] = plan;
    item["InstanceID"] = Instance;
    item[".LastFinishInfo.CompletionResult"] = result;
    item[".LastFinishInfo.Warnings"] = warnings.Get();
    return item;
}

TEST_F(ActivityFailingTest, TheFirstStartRaisesTheItemProtectionsLastFinishesUnderThePlanIdAndNoHistory)
{
    const Common::Guid failed = Id(0x51);
    const Common::Guid canceled = Id(0x52);
    const Common::Guid warned = Id(0x53);
    Write(MakeItemProtection(1, failed, Failure(0x00AB0021)));
    Write(MakeItemProtection(2, canceled, Failure(Codes::BackupCanceled)));
    Write(MakeItemProtection(3, warned, {}, Issues({Failure(0x00AB0022), Failure(0x00AB0023)})));
    Write(MakeItemProtection(4, Id(0x54), {}));
    Por::Unit plan = AlertTesting::MakeObject(u"Gtob::Dto::ProtectionPlan", failed);
    plan["PlanID"] = failed;
    plan["Name"] = u"Daily";
    Write(plan);
    // History before the first start is not reported.
    Por::Unit history = MakeRun(Id(1), Alerts::BackupCommandID, Id(0x55));
    history["State"] = Finished;
    history["CompletionResult"] = Failure(0x00AB0024);
    Write(history);

    Launch();
    const std::vector<Call> calls = Settle();
    ASSERT_EQ(ToLines(calls), (Lines{Active("BackupFailed", failed), Active("BackupCanceled", canceled),
                                     Active("BackupFinishedWithWarnings", warned)}));
    EXPECT_EQ(MetaField(calls[0], "Error").As<Common::Error>().GetCode(), 0x00AB0021u);
    EXPECT_EQ(MetaField(calls[0], "PlanName").As<Por::String>(), u"Daily");
    EXPECT_EQ(MetaField(calls[0], "InstanceID").As<Common::Guid>(), Instance);
    EXPECT_EQ(MetaField(calls[2], "WarningsCount").As<std::uint32_t>(), 2u);
    EXPECT_EQ(MetaField(calls[2], "Warning").As<Common::Error>().GetCode(), 0x00AB0022u);
    EXPECT_FALSE(Mark().has_value());

    // The next run of the plan clears under instance ^ plan, which is not the first start's id.
    Write(MakeRun(Id(2), Alerts::BackupCommandID, failed));
    EXPECT_EQ(SettleLines(), Lines{Inactive(BackupAlert(failed))});
    EXPECT_NE(BackupAlert(failed), failed);
}

// Before the restart a child alerts for itself and its backup. While the inspector is down the backup
// fails and two more backups finish, written in the reverse of their finish order. After the restart they
// come oldest finish first, the backup alerts again (the walker's memory starts empty), and nothing that
// was handled before the mark comes again.
TEST_F(ActivityFailingTest, ARestartReplaysWhatFinishedAfterTheMarkOldestFirst)
{
    const Common::Guid backupPlan = Id(0xA0);
    Launch();
    Write(MakeRun(Id(1), Alerts::BackupCommandID, backupPlan));
    Por::Unit child = MakeRun(Id(2), Verify, backupPlan);
    child[".Details.Specific"] = u"Business";
    child[".Environment.ParentProtectActivityID"] = Id(1);
    Write(child);
    Finish(Id(2), Failure(0x00AB0031), 100);
    EXPECT_EQ(SettleLines(),
              (Lines{Inactive(BackupAlert(backupPlan)), Inactive(CommandAlert(backupPlan, Verify)),
                     Active("ActivityFailed", CommandAlert(backupPlan, Verify)),
                     Active("BackupFailed", BackupAlert(backupPlan))}));
    EXPECT_EQ(Mark(), StampOf(Id(2)));
    Shutdown();

    Finish(Id(1), Failure(0x00AB0032), 400);
    for (const auto& [number, finishTime] : {std::pair{3u, 300}, std::pair{4u, 200}})
    {
        Por::Unit run = MakeRun(Id(number), Alerts::BackupCommandID, Id(0xB0 + number));
        run["State"] = Finished;
        run["CompletionResult"] = Failure(0x00AB0033);
        run[".Period.FinishTime"] = std::int64_t{finishTime};
        Write(run);
    }
    Restart();
    EXPECT_EQ(SettleLines(), (Lines{Active("BackupFailed", BackupAlert(Id(0xB4))),
                                    Active("BackupFailed", BackupAlert(Id(0xB3))),
                                    Active("BackupFailed", BackupAlert(backupPlan))}));
    EXPECT_EQ(Mark(), StampOf(Id(1)));
}

TEST_F(ActivityFailingTest, AnAlertThatFailsKeepsTheMarkBeforeItsActivityWhichComesAgainAfterARestart)
{
    Launch();
    Write(MakeRun(Id(1), Alerts::BackupCommandID, Id(0xA1)));
    Write(MakeRun(Id(2), Alerts::BackupCommandID, Id(0xA2)));
    Finish(Id(1), Failure(0x00AB0041));
    EXPECT_EQ(SettleLines().size(), 3u);

    Listener->FailNext(1, Failure(0x00AB0042));
    Finish(Id(2), Failure(0x00AB0043));
    EXPECT_EQ(SettleLines(), Lines{Active("BackupFailed", BackupAlert(Id(0xA2)))});
    EXPECT_EQ(Mark(), StampOf(Id(1)));
    // Logged as the object's failure (the plan and instance reads that found nothing log theirs, too).
    std::size_t objectFailures = 0;
    for (const std::string& text : Log.Texts(4))
    {
        objectFailures += text.rfind("011A0010 Failed to handle DML object in Alerts inspector", 0) == 0;
    }
    EXPECT_EQ(objectFailures, 1u);

    Restart();
    EXPECT_EQ(SettleLines(), Lines{Active("BackupFailed", BackupAlert(Id(0xA2)))});
    EXPECT_EQ(Mark(), StampOf(Id(2)));
}

} // namespace
