#include "alerts/inspectors/ActivityReference.h"

#include "alerts/MetaKeys.h"
#include "alerts/utils/MetaHelpers.h"
#include "alerts/utils/MetaReaders.h"
#include "por/UnitAccess.h"

namespace Alerts::Detail
{

Common::Guid GetActivityID(const Por::View::Unit& activity)
{
    return Por::Util::GetPropertyValue<Common::Guid>(activity, "ID");
}

Common::Guid GetProcessID(const Por::View::Unit& activity, const Common::Guid& activityId,
                          std::string_view addon)
{
    Common::Guid process = activityId;
    Util::TryReadGuid(activity, ".Origin.ParentProcess", process, addon, false);
    return process;
}

bool TryGetParentActivity(const Por::View::Unit& activity, Common::Guid& parent, std::string_view addon)
{
    return Util::TryReadGuid(activity, ".Environment.ParentProtectActivityID", parent, addon, false) ||
           Util::TryReadGuid(activity, ".Environment.BusinessParent", parent, addon, false);
}

ActivityReference FillActivityReference(Por::Unit& meta, const Por::View::Unit& activity,
                                        const Common::Guid& activityId, bool isBusiness,
                                        const Dml::SynchronousDataStore& store, std::string_view addon)
{
    Common::Guid parent;
    if (TryGetParentActivity(activity, parent, addon))
    {
        meta[MetaKeys::ActivityID] = parent;
        Util::FillMetaByActivityID(meta, parent, store, addon);
        return ActivityReference::Parent;
    }
    if (!isBusiness)
    {
        return ActivityReference::None;
    }
    meta[MetaKeys::ActivityID] = activityId;
    Util::FillTimePeriod(meta, activity, addon);
    return ActivityReference::Itself;
}

} // namespace Alerts::Detail
