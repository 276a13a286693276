#include "alerts/utils/ActivityWalker.h"

#include "por/Errors.h"
#include "por/Path.h"
#include "por/Unit.h"
#include "por/UnitAccess.h"

#include <optional>

namespace Alerts::Util
{
namespace
{

constexpr const char16_t* ParentPaths[] = {
    u".Environment.BusinessParent",
    u".Environment.ParentProtectActivityID",
    u".Environment.ProcessRoot",
    u".Origin.ParentActivity",
};

// The value at `path` when it is there and not nil; another kind than T throws the mismatch.
template <typename T>
std::optional<T> Find(const Por::View::Unit& activity, const char16_t* path)
{
    const Por::View::Unit* found = Por::Util::ResolvePath(path, activity);
    if (found == nullptr || Por::Util::IsNil(*found))
    {
        return std::nullopt;
    }
    return Por::Util::GetValue<T>(*found);
}

} // namespace

bool ActivityWalker::Process(const Por::View::Unit& activity)
{
    const std::optional<Common::Guid> id = Find<Common::Guid>(activity, u".ID");
    if (id && Parents.erase(*id) != 0)
    {
        RememberParents(activity);
        return false;
    }
    if (Test == nullptr || !Test(activity))
    {
        return false;
    }
    if (!IsBusiness(activity) && !IsProcessRoot(activity))
    {
        return false;
    }
    RememberParents(activity);
    return true;
}

void ActivityWalker::RememberParents(const Por::View::Unit& activity)
{
    for (const char16_t* path : ParentPaths)
    {
        if (const std::optional<Common::Guid> parent = Find<Common::Guid>(activity, path))
        {
            Parents.insert(*parent);
        }
    }
}

bool ActivityWalker::IsBusiness(const Por::View::Unit& activity)
{
    return Find<Por::String>(activity, u".Details.Specific").value_or(u"Infrastructural") == u"Business";
}

bool ActivityWalker::IsProcessRoot(const Por::View::Unit& activity)
{
    if (const std::optional<bool> flag = Find<bool>(activity, u".Details.IsProcessRoot"))
    {
        return *flag;
    }
    for (const char16_t* path : ParentPaths)
    {
        if (Find<Common::Guid>(activity, path))
        {
            return false;
        }
    }
    return true;
}

} // namespace Alerts::Util
