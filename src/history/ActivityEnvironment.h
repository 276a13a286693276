// Tol::History::Plain::ActivityEnvironment and the classes derived from it: where an activity runs
// (an instance, a task execution, a machine, a managed entity). Store objects hold further properties
// here that no class declares ("ProtectionPlanID", "BusinessParent", ...); read them by name. Schema
// classes (see SchemaObject.h for the members every one has).
#pragma once

#include "history/SchemaObject.h"

namespace Tol::History::Plain
{

class ActivityEnvironment : public Por::BaseObject
{
    TOL_HISTORY_CLASS(ActivityEnvironment)
};

class InstanceEnvironment : public ActivityEnvironment
{
    TOL_HISTORY_CLASS(InstanceEnvironment)

    // A reference to the instance ("ForeignKey", "Instance").
    Common::Guid GetInstanceID() const;
    void SetInstanceID(const Common::Guid& value);
    Por::String GetInstanceName() const;
    void SetInstanceName(const Por::String& value);
};

class TaskExecutionEnvironment : public ActivityEnvironment
{
    TOL_HISTORY_CLASS(TaskExecutionEnvironment)

    // A reference to the task ("ForeignKey").
    Common::Guid GetTaskId() const;
    void SetTaskId(const Common::Guid& value);
    Por::String GetTaskName() const;
    void SetTaskName(const Por::String& value);
};

class MachineDetails : public ActivityEnvironment
{
    TOL_HISTORY_CLASS(MachineDetails)

    Por::String GetMachineName() const;
    void SetMachineName(const Por::String& value);
    std::uint32_t GetMachineAvailability() const;
    void SetMachineAvailability(const std::uint32_t& value);
};

class EntityDetails : public MachineDetails
{
    TOL_HISTORY_CLASS(EntityDetails)

    Por::String GetManagedEntity() const;
    void SetManagedEntity(const Por::String& value);
    std::uint32_t GetManagedEntityType() const;
    void SetManagedEntityType(const std::uint32_t& value);
};

} // namespace Tol::History::Plain
