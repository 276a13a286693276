// What each inspector's GetAlertTypes answers: the alert types its add-on stands for, in this order.
// The activity failing list is deliberately not what that inspector activates: it activates
// "BackupCanceledDueClosedBackupWindow" without listing it, and lists "ValidationFailed" and
// "ArchiveCorrupted" without ever activating them.
#pragma once

#include <string>
#include <vector>

namespace Alerts::Detail
{

std::vector<std::string> GetActivityFailingAlertTypes();
std::vector<std::string> GetActivityNotRespondingAlertTypes();
std::vector<std::string> GetBackupDidNotStartAlertTypes();
std::vector<std::string> GetEncryptionPasswordMissingAlertTypes();
std::vector<std::string> GetIncompleteMachineInfoAlertTypes();

} // namespace Alerts::Detail
