#include "alerts/AlertErrors.h"

#include "async/Errors.h"
#include "common/CatalogIds.h"
#include "common/TextCatalog.h"

namespace Alerts
{

Common::Error MakeEncryptionPasswordMissingError()
{
    return Common::Error(COMMON_LOCATION("Alerts::MakeEncryptionPasswordMissingError"),
                         ErrorCodes::EncryptionPasswordMissing,
                         Common::GetText(Common::Texts::AlertsEncryptionPasswordMissing));
}

Common::Error MakeIncompleteMachineInfoError()
{
    return Common::Error(COMMON_LOCATION("Alerts::MakeIncompleteMachineInfoError"),
                         ErrorCodes::IncompleteMachineInfo,
                         Common::GetText(Common::Texts::AlertsIncompleteMachineInfo));
}

bool IsCanceledDueClosedBackupWindow(const Common::Error& completion)
{
    return Async::Errors::HasCode(completion, ErrorCodes::BackupCanceledDueClosedBackupWindow);
}

bool IsBackupCanceled(const Common::Error& completion)
{
    return Async::Errors::HasCode(completion, ErrorCodes::BackupCanceled);
}

} // namespace Alerts
