// The names of alert types, as the host stores them in the "Type" of its alert objects. Narrow texts,
// compared with strcmp. The inspectors of this module activate only some of them; the others are
// declared for the host and its consumers.
#pragma once

namespace Alerts::AlertTypes
{

inline constexpr const char* BackupFailed = "BackupFailed";
inline constexpr const char* BackupFinishedWithWarnings = "BackupFinishedWithWarnings";
inline constexpr const char* BackupCanceled = "BackupCanceled";
inline constexpr const char* BackupCanceledDueClosedBackupWindow = "BackupCanceledDueClosedBackupWindow";
inline constexpr const char* BackupQueued = "BackupQueued";
inline constexpr const char* BackupNotResponding = "BackupNotResponding";
inline constexpr const char* BackupDidNotStart = "BackupDidNotStart";
inline constexpr const char* BackupStatusUnknown = "BackupStatusUnknown";
inline constexpr const char* NoBackupForXDays = "NoBackupForXDays";
inline constexpr const char* ScheduleSidConversionFailed = "ScheduleSidConversionFailed";
inline constexpr const char* PlanDeploymentFailed = "PlanDeploymentFailed";
inline constexpr const char* ActivityFailed = "ActivityFailed";
inline constexpr const char* ActivityFinishedWithWarnings = "ActivityFinishedWithWarnings";
inline constexpr const char* ActivityNotResponding = "ActivityNotResponding";
inline constexpr const char* ValidationFailed = "ValidationFailed";
inline constexpr const char* ArchiveCorrupted = "ArchiveCorrupted";
inline constexpr const char* StorageQuotaAt80 = "StorageQuotaAt80";
inline constexpr const char* StorageQuotaExceeded = "StorageQuotaExceeded";
inline constexpr const char* ResourceQuotaExceeded = "ResourceQuotaExceeded";
inline constexpr const char* MachineOffline20 = "MachineOffline20";
inline constexpr const char* MachineOffline30 = "MachineOffline30";
inline constexpr const char* SocialTokenExpired = "SocialTokenExpired";
inline constexpr const char* SocialTokenWillExpireSoon = "SocialTokenWillExpireSoon";
inline constexpr const char* AgentVersionOutdated = "AgentVersionOutdated";
inline constexpr const char* LiveDefenseServiceNotRunning = "LiveDefenseServiceNotRunning";
inline constexpr const char* LiveDefenseBlocksSuspiciousActivity = "LiveDefenseBlocksSuspiciousActivity";
inline constexpr const char* LiveDefenseDetectedSuspectedCryptominingActivity =
    "LiveDefenseDetectedSuspectedCryptominingActivity";
inline constexpr const char* LiveDefenseSuspendSuspiciousMBRActivity =
    "LiveDefenseSuspendSuspiciousMBRActivity";
inline constexpr const char* LiveDefenseRecoverFailedActivity = "LiveDefenseRecoverFailedActivity";
inline constexpr const char* LiveDefenseInvalidNetworkRecoveryPath = "LiveDefenseInvalidNetworkRecoveryPath";
inline constexpr const char* LiveDefenseServiceFailToStop = "LiveDefenseServiceFailToStop";
inline constexpr const char* LiveDefenseUnsupportedItemInBlackListDetected =
    "LiveDefenseUnsupportedItemInBlackListDetected";
inline constexpr const char* RunVMConnectionLost = "RunVMConnectionLost";
inline constexpr const char* CdpFailed = "CdpFailed";
inline constexpr const char* EncryptionPasswordMissing = "EncryptionPasswordMissing";
inline constexpr const char* IncompleteMachineInfo = "IncompleteMachineInfo";

} // namespace Alerts::AlertTypes
