#include "history/Activity.h"

namespace Tol::History::Plain
{

TOL_HISTORY_DEFINE_CLASS(Activity, Por::BaseObject, "Tol::History::Plain::Activity")
TOL_HISTORY_VALUE(Activity, ID, Common::Guid)
TOL_HISTORY_RECORD(Activity, Owner, Core::User)
TOL_HISTORY_OBJECT(Activity, Progress, ActivityProgress)
TOL_HISTORY_RECORD(Activity, Origin, Tol::ActivityOrigin)
TOL_HISTORY_RECORD(Activity, Period, Tol::ActivityTimePeriod)
TOL_HISTORY_VALUE(Activity, Status, std::uint32_t)
TOL_HISTORY_VALUE(Activity, State, std::uint32_t)
TOL_HISTORY_OBJECT(Activity, Environment, ActivityEnvironment)
TOL_HISTORY_OBJECT(Activity, Details, ActivityDetails)
TOL_HISTORY_VALUE(Activity, Name, Por::String)
TOL_HISTORY_VALUE(Activity, Description, Por::String)
TOL_HISTORY_UNIT(Activity, Result)
TOL_HISTORY_UNIT(Activity, EscalatedIssue)
TOL_HISTORY_UNIT(Activity, EscalationSolution)
TOL_HISTORY_VALUE(Activity, CompletionResult, Common::Error)
TOL_HISTORY_VALUE(Activity, Importance, std::int64_t)
TOL_HISTORY_OBJECTS(Activity, Warnings, Issue)
TOL_HISTORY_OBJECTS(Activity, Errors, Issue)
TOL_HISTORY_OBJECT(Activity, Bottleneck, ActivityBottleneck)

void Activity::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    const Por::Construction::UnitFactory& factory = serializer.GetFactory();
    Detail::SchemaWriter schema(serializer);
    schema.Is(GetClassName());
    schema.Property("ID", Common::Guid{}, {{u"PrimaryKey"}});
    schema.Property("Owner", Core::User{});
    schema.Object("Progress", &ActivityProgress::WriteSchema);
    schema.Property("Origin", Tol::ActivityOrigin{});
    schema.Property("Period", Tol::ActivityTimePeriod{});
    schema.Property("Status", std::uint32_t{0});
    schema.Property("State", std::uint32_t{0});
    schema.Object("Environment", &ActivityEnvironment::WriteSchema);
    schema.Object("Details", &ActivityDetails::WriteSchema);
    schema.Property("Name", Por::String());
    schema.Property("Description", Por::String());
    schema.Unit("Result", *factory.CreateNil());
    schema.Unit("EscalatedIssue", *factory.CreateNil());
    schema.Unit("EscalationSolution", *factory.CreateNil());
    schema.Property("CompletionResult", Common::Error());
    schema.Property("Importance", std::int64_t{0});
    schema.Unit("Warnings", *factory.CreateArray());
    schema.Unit("Errors", *factory.CreateArray());
    schema.Object("Bottleneck", &ActivityBottleneck::WriteSchema);
}

TOL_HISTORY_DEFINE_CLASS(CumulativeActivity, Activity, "Tol::History::Plain::CumulativeActivity")
TOL_HISTORY_VALUE(CumulativeActivity, AccumulatedMachinesCount, std::uint32_t)

void CumulativeActivity::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    Activity::WriteSchema(serializer);
    Detail::SchemaWriter schema(serializer);
    schema.Is(GetClassName());
    schema.Property("AccumulatedMachinesCount", std::uint32_t{0});
}

} // namespace Tol::History::Plain
