// The property names of an alert's meta object. MetaKeys are the names the inspectors write; the
// lower-case ConsumerMetaKeys are declared for the consumers of alerts and written by no inspector.
#pragma once

namespace Alerts::MetaKeys
{

inline constexpr const char* InstanceID = "InstanceID";
inline constexpr const char* PlanID = "PlanID";
inline constexpr const char* PlanName = "PlanName";
inline constexpr const char* PlanType = "PlanType";
inline constexpr const char* MachineName = "MachineName";
inline constexpr const char* MachineID = "MachineID";
inline constexpr const char* ActivityID = "ActivityID";
inline constexpr const char* ActivityName = "ActivityName";
inline constexpr const char* ParentProcess = "ParentProcess";
inline constexpr const char* StartTime = "StartTime";
inline constexpr const char* FinishTime = "FinishTime";
inline constexpr const char* Time = "Time";
inline constexpr const char* Error = "Error";
inline constexpr const char* Warning = "Warning";
inline constexpr const char* WarningsCount = "WarningsCount";
inline constexpr const char* BackupSources = "BackupSources";
inline constexpr const char* BackupSourcesType = "BackupSourcesType";
inline constexpr const char* BackupLocations = "BackupLocations";
// Inside each record of BackupLocations.
inline constexpr const char* DisplayName = "DisplayName";
inline constexpr const char* Type = "Type";

} // namespace Alerts::MetaKeys

namespace Alerts::ConsumerMetaKeys
{

inline constexpr const char* ActionBlock = "actionBlock";
inline constexpr const char* ActivityName = "activityName";
inline constexpr const char* ActionName = "actionName";
inline constexpr const char* ActionRecover = "actionRecover";
inline constexpr const char* ActivityId = "activityId";
inline constexpr const char* AgentId = "agentId";
inline constexpr const char* AgentName = "agentName";
inline constexpr const char* AppliedActions = "appliedActions";
inline constexpr const char* BackupFileName = "backupFileName";
inline constexpr const char* BackupLocations = "backupLocations";
inline constexpr const char* BackupSources = "backupSources";
inline constexpr const char* BackupSourcesType = "backupSourcesType";
inline constexpr const char* CommandId = "commandId";
inline constexpr const char* Context = "context";
inline constexpr const char* CreatedAt = "createdAt";
inline constexpr const char* DaysPassed = "daysPassed";
inline constexpr const char* DaysLeft = "daysLeft";
inline constexpr const char* Details = "details";
inline constexpr const char* Error = "error";
inline constexpr const char* ErrorMessage = "errorMessage";
inline constexpr const char* FeatureBundleID = "featureBundleID";
inline constexpr const char* FileName = "fileName";
inline constexpr const char* FileList = "fileList";
inline constexpr const char* FinishTime = "finishTime";
inline constexpr const char* ResourceId = "resourceId";
inline constexpr const char* IsInjection = "isInjection";
inline constexpr const char* Issue = "issue";
inline constexpr const char* MonitoredReason = "monitoredReason";
inline constexpr const char* PlanId = "planId";
inline constexpr const char* PlanName = "planName";
inline constexpr const char* ProcessPath = "processPath";
inline constexpr const char* ResourceName = "resourceName";
inline constexpr const char* ResourceType = "resourceType";
inline constexpr const char* RunbookName = "runbookName";
inline constexpr const char* StartTime = "startTime";
inline constexpr const char* StepName = "stepName";
inline constexpr const char* SuspectedReason = "suspectedReason";
inline constexpr const char* Warning = "warning";
inline constexpr const char* WarningMessage = "warningMessage";
inline constexpr const char* FailedValidations = "failedValidations";

} // namespace Alerts::ConsumerMetaKeys
