#include "history/ActivityEnvironment.h"

namespace Tol::History::Plain
{

TOL_HISTORY_DEFINE_CLASS(ActivityEnvironment, Por::BaseObject, "Tol::History::Plain::ActivityEnvironment")

void ActivityEnvironment::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    Detail::SchemaWriter(serializer).Is(GetClassName());
}

TOL_HISTORY_DEFINE_CLASS(InstanceEnvironment, ActivityEnvironment, "Tol::History::Plain::InstanceEnvironment")
TOL_HISTORY_VALUE(InstanceEnvironment, InstanceID, Common::Guid)
TOL_HISTORY_VALUE(InstanceEnvironment, InstanceName, Por::String)

void InstanceEnvironment::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    ActivityEnvironment::WriteSchema(serializer);
    Detail::SchemaWriter schema(serializer);
    schema.Is(GetClassName());
    schema.Property("InstanceID", Common::Guid{}, {{u"ForeignKey"}, {u"Instance"}});
    schema.Property("InstanceName", Por::String());
}

TOL_HISTORY_DEFINE_CLASS(TaskExecutionEnvironment, ActivityEnvironment,
                         "Tol::History::Plain::TaskExecutionEnvironment")
TOL_HISTORY_VALUE(TaskExecutionEnvironment, TaskId, Common::Guid)
TOL_HISTORY_VALUE(TaskExecutionEnvironment, TaskName, Por::String)

void TaskExecutionEnvironment::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    ActivityEnvironment::WriteSchema(serializer);
    Detail::SchemaWriter schema(serializer);
    schema.Is(GetClassName());
    schema.Property("TaskId", Common::Guid{}, {{u"ForeignKey"}});
    schema.Property("TaskName", Por::String());
}

TOL_HISTORY_DEFINE_CLASS(MachineDetails, ActivityEnvironment, "Tol::History::Plain::MachineDetails")
TOL_HISTORY_VALUE(MachineDetails, MachineName, Por::String)
TOL_HISTORY_VALUE(MachineDetails, MachineAvailability, std::uint32_t)

void MachineDetails::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    ActivityEnvironment::WriteSchema(serializer);
    Detail::SchemaWriter schema(serializer);
    schema.Is(GetClassName());
    schema.Property("MachineName", Por::String());
    schema.Property("MachineAvailability", std::uint32_t{0});
}

TOL_HISTORY_DEFINE_CLASS(EntityDetails, MachineDetails, "Tol::History::Plain::EntityDetails")
TOL_HISTORY_VALUE(EntityDetails, ManagedEntity, Por::String)
TOL_HISTORY_VALUE(EntityDetails, ManagedEntityType, std::uint32_t)

void EntityDetails::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    MachineDetails::WriteSchema(serializer);
    Detail::SchemaWriter schema(serializer);
    schema.Is(GetClassName());
    schema.Property("ManagedEntity", Por::String());
    schema.Property("ManagedEntityType", std::uint32_t{0});
}

} // namespace Tol::History::Plain
