#include "alerts/InspectorAlertTypes.h"

namespace Alerts::Detail
{

std::vector<std::string> GetActivityFailingAlertTypes()
{
    return {"BackupFailed",    "BackupFinishedWithWarnings",   "BackupCanceled",
            "ActivityFailed",  "ActivityFinishedWithWarnings", "ValidationFailed",
            "ArchiveCorrupted"};
}

std::vector<std::string> GetActivityNotRespondingAlertTypes()
{
    return {"ActivityNotResponding", "BackupNotResponding", "BackupQueued"};
}

std::vector<std::string> GetBackupDidNotStartAlertTypes()
{
    return {"BackupDidNotStart"};
}

std::vector<std::string> GetEncryptionPasswordMissingAlertTypes()
{
    return {"EncryptionPasswordMissing"};
}

std::vector<std::string> GetIncompleteMachineInfoAlertTypes()
{
    return {"IncompleteMachineInfo"};
}

} // namespace Alerts::Detail
