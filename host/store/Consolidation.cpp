#include "Consolidation.h"

#include "por/Diff.h"
#include "por/Merge.h"
#include "por/TraitUtil.h"
#include "por/Unit.h"
#include "por/UnitAccess.h"
#include "por/Values.h"

#include <string>
#include <vector>

namespace Host::Store::Detail
{
namespace
{

// Drops the removals from a composite diff, so that merging it keeps what the update doesn't name.
// Added and copied nodes are values of the update and stay whole.
void DropRemovals(Por::Construction::Unit& diff)
{
    Por::Construction::CompositeValue* composite = Por::Util::FindComposite(diff);
    if (composite == nullptr || Por::Util::HasTrait(diff, "FullElementCopy") ||
        Por::Util::HasTrait(diff, "Added"))
    {
        return;
    }
    std::vector<std::string> removed;
    auto visit = Por::MakeProcessor<Por::Construction::Property>(
        [&removed](Por::Construction::Property& property)
        {
            if (Por::Util::HasTrait(property.GetValue(), "Removed"))
            {
                removed.push_back(property.GetName());
            }
            else
            {
                DropRemovals(property.GetValue());
            }
        });
    composite->ForEach(visit);
    for (const std::string& name : removed)
    {
        composite->Remove(name);
    }
}

} // namespace

Por::UnitPtr Consolidate(const Por::View::Unit& stored, const Por::View::Unit& update,
                         const Por::Construction::UnitFactory& factory)
{
    Por::UnitPtr diff = Por::Util::Diff(stored, update, factory);
    DropRemovals(*diff);
    return Por::Util::InternalMerge(stored, *diff, factory, true, false);
}

} // namespace Host::Store::Detail
