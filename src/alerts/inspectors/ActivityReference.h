// What the not-responding and queued alerts take from an activity to point at it: its process, and the
// activity the alert names with that activity's period. Shared by the progress and pending readers.
#pragma once

#include "alerts/utils/LogHelpers.h"
#include "common/ErrorLocation.h"
#include "common/Guid.h"
#include "common/Log.h"
#include "dml/SynchronousDataStore.h"
#include "por/Forward.h"
#include "por/PorUnit.h"

#include <string_view>

namespace Alerts::Detail
{

// A line of the channel "alerts" whose "%s" are the guids' texts, in order (one at least).
template <typename... Guids>
void LogGuids(const Common::ErrorLocation& site, int level, const char* format, const Common::Guid& first,
              const Guids&... rest)
{
    Logging::Log(site, level, Util::GetAlertsChannel(), format, Common::GuidToString(first).c_str(),
                 Common::GuidToString(rest).c_str()...);
}

// The activity's "ID"; throws the Por error of a missing or mistyped key.
Common::Guid GetActivityID(const Por::View::Unit& activity);

// "Origin"."ParentProcess", or the activity's own id when it has none.
Common::Guid GetProcessID(const Por::View::Unit& activity, const Common::Guid& activityId,
                          std::string_view addon);

// "Environment"."ParentProtectActivityID", failing that "Environment"."BusinessParent" (reads not strict).
bool TryGetParentActivity(const Por::View::Unit& activity, Common::Guid& parent, std::string_view addon);

// Meta "ActivityID" and the period: of the parent when there is one (read from the store), else of the
// activity itself when it is a business activity; nothing for an infrastructural activity without
// parent. `isBusiness` is as the activity walker judges it.
enum class ActivityReference
{
    Parent,
    Itself,
    None,
};
ActivityReference FillActivityReference(Por::Unit& meta, const Por::View::Unit& activity,
                                        const Common::Guid& activityId, bool isBusiness,
                                        const Dml::SynchronousDataStore& store, std::string_view addon);

} // namespace Alerts::Detail
