#include "alerts/AlertIdentity.h"

#include "AlertTesting.h"
#include "alerts/AlertErrors.h"
#include "alerts/AlertGuids.h"
#include "alerts/AlertTypes.h"
#include "alerts/MetaKeys.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{

using AlertTesting::Id;
using AlertTesting::LogCapture;
using AlertTesting::MakeRun;

constexpr const char* Addon = "Inspector of activity failing";

const Common::Guid Instance{0x01234567, 0x89AB, 0xCDEF, {1, 2, 3, 4, 5, 6, 7, 8}};
const Common::Guid Plan{0xFEDCBA98, 0x7654, 0x3210, {0x80, 0x70, 0x60, 0x50, 0x40, 0x30, 0x20, 0x10}};

TEST(AlertGuidsTest, ConstantsHaveTheirTextForms)
{
    EXPECT_EQ(Common::GuidToString(Alerts::BackupCommandID), "8F01AC13-F59E-4851-9204-DE1FD77E36B4");
    EXPECT_EQ(Common::GuidToString(Alerts::BackupPlanCommandID), "D332948D-A7A9-4E07-B76C-253DCF6E17FB");
    EXPECT_EQ(Common::GuidToString(Alerts::NonEscalatingCommandID), "4B40E257-1B18-47F2-AA94-72A4B1D6E4DF");
    EXPECT_EQ(Common::GuidToString(Alerts::QueuedBackupCommandID), "9832838C-D1F6-484C-83B0-3C87D4CDEEAA");
    EXPECT_EQ(Common::GuidToString(Alerts::EncryptionPasswordAlertSeed),
              "F7E29F33-9D5C-48D7-85E2-241FE93D61F2");
    EXPECT_EQ(Common::GuidToString(Alerts::IncompleteMachineInfoAlertSeed),
              "14C1EACC-F9EC-404A-9969-0633888FEAFF");
    EXPECT_EQ(Common::GuidToString(Alerts::ProgressAlertKey), "E63B3DE2-5D7E-11E5-8D41-8B181E5D46B0");
    EXPECT_EQ(Common::GuidToString(Alerts::NotRespondingTimerKey), "7F33F815-ABF0-4239-816F-E74041788C4B");
    // Spot checks of the vocabularies whose spelling is easy to get wrong.
    EXPECT_STREQ(Alerts::AlertTypes::LiveDefenseSuspendSuspiciousMBRActivity,
                 "LiveDefenseSuspendSuspiciousMBRActivity");
    EXPECT_STREQ(Alerts::AlertTypes::BackupCanceledDueClosedBackupWindow,
                 "BackupCanceledDueClosedBackupWindow");
    EXPECT_STREQ(Alerts::ConsumerMetaKeys::FeatureBundleID, "featureBundleID");
}

TEST(XorGuidsTest, CombinesFieldByFieldCommutesAndUndoes)
{
    const Common::Guid mixed = Alerts::XorGuids(Instance, Plan);
    EXPECT_EQ(Common::GuidToString(mixed), "FFFFFFFF-FFFF-FFFF-8172-635445362718");
    EXPECT_EQ(mixed, Alerts::XorGuids(Plan, Instance));
    EXPECT_EQ(Alerts::XorGuids(mixed, Plan), Instance);
    EXPECT_EQ(Alerts::XorGuids(Alerts::XorGuids(Id(7), Alerts::ProgressAlertKey), Alerts::ProgressAlertKey),
              Id(7));
    EXPECT_EQ(Alerts::XorGuids(Plan, Plan), Common::NullGuid);
    EXPECT_EQ(Alerts::XorGuids(Plan, Common::NullGuid), Plan);
}

TEST(GenerateAlertIdTest, BothBackupCommandsShareTheIdOfPlanAndInstance)
{
    const auto first = Alerts::GenerateAlertId(MakeRun(Alerts::BackupCommandID, Instance, Plan).Get(), Addon);
    const auto second =
        Alerts::GenerateAlertId(MakeRun(Alerts::BackupPlanCommandID, Instance, Plan).Get(), Addon);
    EXPECT_TRUE(first.IsComplete);
    EXPECT_TRUE(second.IsComplete);
    EXPECT_EQ(first.Id, Alerts::XorGuids(Instance, Plan));
    EXPECT_EQ(second.Id, first.Id);

    const auto other = Alerts::GenerateAlertId(MakeRun(Id(3), Instance, Plan).Get(), Addon);
    EXPECT_TRUE(other.IsComplete);
    EXPECT_EQ(other.Id, Alerts::XorGuids(Alerts::XorGuids(Instance, Plan), Id(3)));
    EXPECT_NE(other.Id, first.Id);

    // Nothing guards a plan id equal to the instance id.
    EXPECT_EQ(Alerts::GenerateAlertId(MakeRun(Alerts::BackupCommandID, Plan, Plan).Get(), Addon).Id,
              Common::NullGuid);
}

TEST(GenerateAlertIdTest, MissingGuidsBecomeRandomAndMakeTheIdIncomplete)
{
    LogCapture log;
    Por::Unit noCommand = MakeRun(Alerts::BackupCommandID, Instance, Plan);
    noCommand["Details"] = Por::Unit::Composite().Get();
    const auto first = Alerts::GenerateAlertId(noCommand.Get(), Addon);
    const auto second = Alerts::GenerateAlertId(noCommand.Get(), Addon);
    // The random stand-in is no backup command, so it goes into the id: each call gives another one.
    EXPECT_FALSE(first.IsComplete);
    EXPECT_NE(first.Id, Alerts::XorGuids(Instance, Plan));
    EXPECT_NE(first.Id, second.Id);
    const auto misses = log.Texts(3);
    ASSERT_EQ(misses.size(), 2u);
    EXPECT_EQ(misses[0].rfind(std::string(Addon) + ": .Details.CommandID not found in Root (Composite)\n", 0),
              0u);

    // For a backup command only instance and plan count.
    Por::Unit noPlan = MakeRun(Alerts::BackupPlanCommandID, Instance, Plan);
    noPlan["Environment"] = Por::Unit::Composite().Get();
    noPlan[".Environment.InstanceID"] = Instance;
    EXPECT_FALSE(Alerts::GenerateAlertId(noPlan.Get(), Addon).IsComplete);
    Por::Unit nilPlan = MakeRun(Id(4), Instance, Plan);
    nilPlan[".Environment.ProtectionPlanID"] = Por::Unit().Get();
    EXPECT_FALSE(Alerts::GenerateAlertId(nilPlan.Get(), Addon).IsComplete);
}

TEST(GenerateAlertIdTest, IncompleteIdRecordsAreLoggedAtLevelFour)
{
    LogCapture log;
    const Por::Unit activity = AlertTesting::With("Name", u"Backup");
    Alerts::LogIncompleteIdOnActivate(Plan, activity.Get());
    Alerts::LogIncompleteIdOnDeactivate(activity.Get());
    const auto lines = log.Lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].Level, 4);
    EXPECT_EQ(lines[0].Channel, "alerts");
    EXPECT_EQ(lines[0].Text,
              "msg: Activity has not enough info to generate alert ID. Alert will be activated with "
              "random ID, but it will not be automatically cleared,\nalertID: "
              "FEDCBA98-7654-3210-8070-605040302010,\nactivity: Root (Composite)\n  Name "
              "(Common::String) = Backup");
    EXPECT_EQ(lines[1].Level, 4);
    EXPECT_EQ(lines[1].Text,
              "msg: Failed to deactivate alert as activity has not enough info to generate alert "
              "ID, activity: Root (Composite)\n  Name (Common::String) = Backup");
}

TEST(AlertErrorsTest, CompletionCodesAreFoundAnywhereInTheChain)
{
    const auto at = COMMON_LOCATION("AlertErrorsTest");
    Common::Error closed(at, Alerts::ErrorCodes::BackupCanceledDueClosedBackupWindow);
    Common::Error outer(at, 0x00F90004);
    outer.SetSubError(closed);
    EXPECT_TRUE(Alerts::IsCanceledDueClosedBackupWindow(outer));
    EXPECT_FALSE(Alerts::IsBackupCanceled(outer));
    EXPECT_TRUE(Alerts::IsBackupCanceled(Common::Error(at, 0x01350046)));
    EXPECT_FALSE(Alerts::IsBackupCanceled(Common::Success));
    EXPECT_FALSE(Alerts::IsCanceledDueClosedBackupWindow(Common::Error(at, 0x01350052)));
}

} // namespace
