// The alert types each inspector stands for, as the host reads them: the activity failing list keeps
// its deliberate mismatch with what that inspector activates (no "BackupCanceledDueClosedBackupWindow").
#include "alerts/InspectorAlertTypes.h"

#include <gtest/gtest.h>

namespace
{

using Types = std::vector<std::string>;

TEST(InspectorAlertTypesTest, EachInspectorListsItsTypesInOrder)
{
    EXPECT_EQ(Alerts::Detail::GetActivityFailingAlertTypes(),
              (Types{"BackupFailed", "BackupFinishedWithWarnings", "BackupCanceled", "ActivityFailed",
                     "ActivityFinishedWithWarnings", "ValidationFailed", "ArchiveCorrupted"}));
    EXPECT_EQ(Alerts::Detail::GetActivityNotRespondingAlertTypes(),
              (Types{"ActivityNotResponding", "BackupNotResponding", "BackupQueued"}));
    EXPECT_EQ(Alerts::Detail::GetBackupDidNotStartAlertTypes(), Types{"BackupDidNotStart"});
    EXPECT_EQ(Alerts::Detail::GetEncryptionPasswordMissingAlertTypes(), Types{"EncryptionPasswordMissing"});
    EXPECT_EQ(Alerts::Detail::GetIncompleteMachineInfoAlertTypes(), Types{"IncompleteMachineInfo"});
}

} // namespace
