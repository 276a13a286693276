// Tol::History::Plain::ActivityDetails and the classes derived from it (task, backup task, cumulative
// activity details), with BackupPlanDetails, the plan a backup task belongs to. Store objects hold
// further properties here ("IsProcessRoot", "Persistent"); read them by name. Schema classes (see
// SchemaObject.h for the members every one has).
#pragma once

#include "history/SchemaObject.h"

namespace Tol::History::Plain
{

class ActivityDetails : public Por::BaseObject
{
    TOL_HISTORY_CLASS(ActivityDetails)

    // The sort of the activity: "Business", "Infrastructural" or "System"; an empty or absent value
    // reads as "Infrastructural".
    Por::String GetSpecific() const;
    void SetSpecific(const Por::String& value);
    // Whether GetSpecific() is "Business": the activities whose alerts are about the user's work.
    bool IsBusiness() const;
    Por::String GetMessageID() const;
    void SetMessageID(const Por::String& value);
    // The command that started the activity.
    Common::Guid GetCommandID() const;
    void SetCommandID(const Common::Guid& value);
    std::uint32_t GetProcessID() const;
    void SetProcessID(const std::uint32_t& value);
    Por::String GetMachineName() const;
    void SetMachineName(const Por::String& value);
};

class TaskDetails : public ActivityDetails
{
    TOL_HISTORY_CLASS(TaskDetails)

    Common::Guid GetTaskId() const;
    void SetTaskId(const Common::Guid& value);
    Por::String GetName() const;
    void SetName(const Por::String& value);
    Por::String GetComments() const;
    void SetComments(const Por::String& value);
    std::uint32_t GetResult() const;
    void SetResult(const std::uint32_t& value);
    std::uint32_t GetExecutionState() const;
    void SetExecutionState(const std::uint32_t& value);
    Por::String GetType() const;
    void SetType(const Por::String& value);
    std::uint32_t GetSchedule() const;
    void SetSchedule(const std::uint32_t& value);
};

class BackupPlanDetails : public Por::BaseObject
{
    TOL_HISTORY_CLASS(BackupPlanDetails)

    Common::Guid GetBackupPlanId() const;
    void SetBackupPlanId(const Common::Guid& value);
    Por::String GetName() const;
    void SetName(const Por::String& value);
    std::uint32_t GetOrigin() const;
    void SetOrigin(const std::uint32_t& value);
    std::uint32_t GetStatus() const;
    void SetStatus(const std::uint32_t& value);
};

class BackupTaskDetails : public TaskDetails
{
    TOL_HISTORY_CLASS(BackupTaskDetails)

    BackupPlanDetails GetBackupPlan() const;
    void SetBackupPlan(const BackupPlanDetails& value);
};

class CumulativeActivityDetails : public ActivityDetails
{
    TOL_HISTORY_CLASS(CumulativeActivityDetails)

    Por::String GetFrameID() const;
    void SetFrameID(const Por::String& value);
    Common::Guid GetPlanID() const;
    void SetPlanID(const Common::Guid& value);
};

} // namespace Tol::History::Plain
