// The error codes of the alert inspectors (module 0x011A), the errors that the machine alerts carry in
// their meta, and the tests on an activity's completion result, which look at codes, never at texts.
#pragma once

#include "common/Error.h"

#include <cstdint>

namespace Alerts
{

namespace ErrorCodes
{
inline constexpr std::uint32_t InternalError = 0x011A000F;
inline constexpr std::uint32_t ObjectFailure = 0x011A0010;
inline constexpr std::uint32_t TimeoutCallbackFailure = 0x011A0011;
inline constexpr std::uint32_t DmlReadFailure = 0x011A0012;
inline constexpr std::uint32_t CleanupFailure = 0x011A003C;
inline constexpr std::uint32_t EncryptionPasswordMissing = 0x011A003D;
inline constexpr std::uint32_t IncompleteMachineInfo = 0x011A0041;

// Codes of the backup service found in the completion result of an activity.
inline constexpr std::uint32_t BackupCanceledDueClosedBackupWindow = 0x01350051;
inline constexpr std::uint32_t BackupCanceled = 0x01350046;
} // namespace ErrorCodes

// 0x011A003D "The device doesn't have an encryption password specified": the meta "Error" of
// "EncryptionPasswordMissing".
Common::Error MakeEncryptionPasswordMissingError();
// 0x011A0041 "Machine info is not complete. It could be caused by a failure of WMI service.": the meta
// "Error" of "IncompleteMachineInfo".
Common::Error MakeIncompleteMachineInfoError();

// Whether a record anywhere in the chain says the backup was canceled because its window closed
// (0x01350051), or that it was canceled (0x01350046). Success answers false.
bool IsCanceledDueClosedBackupWindow(const Common::Error& completion);
bool IsBackupCanceled(const Common::Error& completion);

} // namespace Alerts
