#include "history/Schema.h"

#include "history/Activity.h"
#include "por/Errors.h"
#include "por/TraitUtil.h"

namespace Tol::History::Plain
{
namespace
{

struct SchemaClass
{
    const char* (*Name)();
    const Por::View::Unit& (*Schema)();
};

template <typename Class>
constexpr SchemaClass Entry()
{
    return {&Class::GetClassName, &Class::GetSchema};
}

constexpr SchemaClass Classes[] = {
    Entry<Activity>(),
    Entry<CumulativeActivity>(),
    Entry<ActivityBottleneck>(),
    Entry<Issue>(),
    Entry<ActivityEnvironment>(),
    Entry<InstanceEnvironment>(),
    Entry<TaskExecutionEnvironment>(),
    Entry<MachineDetails>(),
    Entry<EntityDetails>(),
    Entry<ActivityDetails>(),
    Entry<TaskDetails>(),
    Entry<BackupTaskDetails>(),
    Entry<CumulativeActivityDetails>(),
    Entry<BackupPlanDetails>(),
    Entry<ActivityProgress>(),
    Entry<CoreProgress>(),
    Entry<ExtendedActivityProgress>(),
    Entry<InfiniteProgress>(),
};

} // namespace

const Por::View::Unit* FindSchema(std::string_view className)
{
    for (const SchemaClass& entry : Classes)
    {
        if (className == entry.Name())
        {
            return &entry.Schema();
        }
    }
    return nullptr;
}

bool IsInstanceOf(const Por::View::Unit& unit, std::string_view className)
{
    return Por::Util::HasTraitWithValue(unit, "Is", Por::Widen(className));
}

} // namespace Tol::History::Plain
