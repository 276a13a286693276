#include "alerts/inspectors/ActivityFailingQuery.h"

#include "dml/QueryOptionNames.h"
#include "dml/QueryWriters.h"
#include "por/Constraints.h"

#include <string_view>

namespace Alerts::Detail
{
namespace
{

// The activity as the alerts see it; "Details"."Specific" is asked for twice, as the readers always did.
constexpr std::string_view MaskPaths[] = {
    ".CompletionResult",
    ".Details.CommandID",
    ".Details.Specific",
    ".Details.Persistent.Target",
    ".Environment.BusinessParent",
    ".Environment.InstanceID",
    ".Environment.ParentProtectActivityID",
    ".Environment.ProtectionPlanID",
    ".Environment.ProtectionPlanName",
    ".Environment.ProcessRoot",
    ".Environment.TaskUUID",
    ".Environment.PlanType",
    ".Name",
    ".State",
    ".Warnings",
    ".Period.StartTime",
    ".Period.FinishTime",
    ".DmlTimeStamp",
    ".Origin.ParentActivity",
    ".Details.Specific",
    ".Details.IsProcessRoot",
};

} // namespace

Por::Unit MakeActivityPattern(const Por::Construction::UnitFactory& factory)
{
    Por::Unit pattern = Por::Unit::Composite(factory);
    Por::Detail::IsConstraint(u"Tol::History::Plain::Activity").Apply(pattern);
    return pattern;
}

Por::Unit MakeActivityOptions(const Por::Construction::UnitFactory& factory)
{
    namespace Names = Dml::Query::Names;
    Por::Unit options = Por::Unit::Composite(factory);
    const Por::Unit mask = options[Names::Mask];
    for (std::string_view path : MaskPaths)
    {
        mask[path] = true;
    }
    options[Names::FullObjectNotifications] = true;
    // The leaf's value is only the kind of the sort key; the direction is the trait.
    Por::Unit finishTime = options[Names::SortingOptions][".Period.FinishTime"];
    finishTime = std::int64_t{0};
    finishTime.AddTrait(Names::Ascending);
    return options;
}

void ResumeAfter(Por::Unit& pattern, std::int64_t mark)
{
    // The node takes the stamp's kind, or the match would refuse every stamp before asking the operator.
    Por::Unit stamp = pattern[Dml::Query::Names::DmlTimeStamp];
    Por::Detail::UnaryConstraint<std::int64_t>("Greater", mark).Apply(stamp);
}

void SkipExistingActivities(Por::Unit& options)
{
    Dml::Query::SetLimit(options, 0);
}

} // namespace Alerts::Detail
