#include "history/ActivityDetails.h"

namespace Tol::History::Plain
{

TOL_HISTORY_DEFINE_CLASS(ActivityDetails, Por::BaseObject, "Tol::History::Plain::ActivityDetails")
TOL_HISTORY_VALUE(ActivityDetails, MessageID, Por::String)
TOL_HISTORY_VALUE(ActivityDetails, CommandID, Common::Guid)
TOL_HISTORY_VALUE(ActivityDetails, ProcessID, std::uint32_t)
TOL_HISTORY_VALUE(ActivityDetails, MachineName, Por::String)

Por::String ActivityDetails::GetSpecific() const
{
    Por::String specific = Detail::GetValue<Por::String>(*this, GetSchema(), "Specific");
    return specific.empty() ? Por::String(u"Infrastructural") : specific;
}

void ActivityDetails::SetSpecific(const Por::String& value)
{
    Set("Specific", value);
}

bool ActivityDetails::IsBusiness() const
{
    return GetSpecific() == u"Business";
}

void ActivityDetails::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    Detail::SchemaWriter schema(serializer);
    schema.Is(GetClassName());
    schema.Property("Specific", Por::String());
    schema.Property("MessageID", Por::String());
    schema.Property("CommandID", Common::Guid{});
    schema.Property("ProcessID", std::uint32_t{0});
    schema.Property("MachineName", Por::String());
}

TOL_HISTORY_DEFINE_CLASS(TaskDetails, ActivityDetails, "Tol::History::Plain::TaskDetails")
TOL_HISTORY_VALUE(TaskDetails, TaskId, Common::Guid)
TOL_HISTORY_VALUE(TaskDetails, Name, Por::String)
TOL_HISTORY_VALUE(TaskDetails, Comments, Por::String)
TOL_HISTORY_VALUE(TaskDetails, Result, std::uint32_t)
TOL_HISTORY_VALUE(TaskDetails, ExecutionState, std::uint32_t)
TOL_HISTORY_VALUE(TaskDetails, Type, Por::String)
TOL_HISTORY_VALUE(TaskDetails, Schedule, std::uint32_t)

void TaskDetails::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    ActivityDetails::WriteSchema(serializer);
    Detail::SchemaWriter schema(serializer);
    schema.Is(GetClassName());
    schema.Property("TaskId", Common::Guid{});
    schema.Property("Name", Por::String());
    schema.Property("Comments", Por::String());
    schema.Property("Result", std::uint32_t{0});
    schema.Property("ExecutionState", std::uint32_t{0});
    schema.Property("Type", Por::String());
    schema.Property("Schedule", std::uint32_t{0});
}

TOL_HISTORY_DEFINE_CLASS(BackupPlanDetails, Por::BaseObject, "Tol::History::Plain::BackupPlanDetails")
TOL_HISTORY_VALUE(BackupPlanDetails, BackupPlanId, Common::Guid)
TOL_HISTORY_VALUE(BackupPlanDetails, Name, Por::String)
TOL_HISTORY_VALUE(BackupPlanDetails, Origin, std::uint32_t)
TOL_HISTORY_VALUE(BackupPlanDetails, Status, std::uint32_t)

void BackupPlanDetails::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    Detail::SchemaWriter schema(serializer);
    schema.Is(GetClassName());
    schema.Property("BackupPlanId", Common::Guid{});
    schema.Property("Name", Por::String());
    schema.Property("Origin", std::uint32_t{0});
    schema.Property("Status", std::uint32_t{0});
}

TOL_HISTORY_DEFINE_CLASS(BackupTaskDetails, TaskDetails, "Tol::History::Plain::BackupTaskDetails")
TOL_HISTORY_OBJECT(BackupTaskDetails, BackupPlan, BackupPlanDetails)

void BackupTaskDetails::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    TaskDetails::WriteSchema(serializer);
    Detail::SchemaWriter schema(serializer);
    schema.Is(GetClassName());
    schema.Object("BackupPlan", &BackupPlanDetails::WriteSchema);
}

TOL_HISTORY_DEFINE_CLASS(CumulativeActivityDetails, ActivityDetails,
                         "Tol::History::Plain::CumulativeActivityDetails")
TOL_HISTORY_VALUE(CumulativeActivityDetails, FrameID, Por::String)
TOL_HISTORY_VALUE(CumulativeActivityDetails, PlanID, Common::Guid)

void CumulativeActivityDetails::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    ActivityDetails::WriteSchema(serializer);
    Detail::SchemaWriter schema(serializer);
    schema.Is(GetClassName());
    schema.Property("FrameID", Por::String());
    schema.Property("PlanID", Common::Guid{});
}

} // namespace Tol::History::Plain
