// The read of the activity failing inspector: which activities its feed asks for and how. The options
// mask the activities down to what the alerts need, ask for whole objects in notifications and sort the
// opening report by finish time, oldest first, which the activity walker relies on (children finish
// before their parents). Pure builders over fresh units; thread-safe.
#pragma once

#include "por/PorUnit.h"
#include "por/UnitFactory.h"

#include <cstdint>

namespace Alerts::Detail
{

// A composite pattern of class "Tol::History::Plain::Activity".
Por::Unit MakeActivityPattern(const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());

// "Mask", "FullObjectNotifications" and "SortingOptions" as the feed reads them.
Por::Unit MakeActivityOptions(const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());

// Narrows `pattern` to activities stored after `mark`: "DmlTimeStamp" becomes a "Greater" pattern.
void ResumeAfter(Por::Unit& pattern, std::int64_t mark);

// An opening report without objects ("LimitOptions" 0): only news reach the reader.
void SkipExistingActivities(Por::Unit& options);

} // namespace Alerts::Detail
