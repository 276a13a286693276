#include "ViewOptions.h"

#include "ObjectView.h"
#include "dml/CounterOptions.h"
#include "dml/QueryReaders.h"
#include "dml/Sorting.h"
#include "por/Compare.h"
#include "por/Path.h"
#include "por/Unit.h"
#include "por/UnitAccess.h"

#include <algorithm>

namespace Host::Store::Detail
{
namespace
{

// The sort values of one object, read once per sort.
struct SortRow
{
    StoredObjectPtr Object;
    std::vector<const Por::View::Unit*> Values;
};

// A missing sort value sorts before every present one.
int CompareValues(const Por::View::Unit* left, const Por::View::Unit* right)
{
    if (left == nullptr || right == nullptr)
    {
        return (left != nullptr) - (right != nullptr);
    }
    return Por::Compare(*left, *right);
}

const Por::View::Unit* FindSortValue(const Por::View::Unit& object, const Common::WideString& path)
{
    try
    {
        return Por::Util::ResolvePath(path, object);
    }
    catch (const Common::Error&)
    {
        return nullptr; // a path through a missing trait or element: no value
    }
}

} // namespace

ViewOptions::ViewOptions(const Por::View::Unit* options)
{
    if (options == nullptr || Por::Util::IsNil(*options))
    {
        return;
    }
    for (Dml::Query::SortingEntry& entry : Dml::Query::GetSorting(*options))
    {
        Sorting.push_back({std::move(entry.Path), entry.Descending});
    }
    ByTimeStamp = Sorting.empty() && Dml::Query::IsAscendingByTimeStamp(*options);
    Offset = Dml::Query::GetOffset(*options);
    Limit = Dml::Query::GetLimit(*options);
    Reverse = Dml::Query::IsReverseReportOrder(*options);
    Mask = Dml::Query::GetMask(*options);
    if (const Por::View::Unit* counter = Dml::Query::GetCounterTemplate(*options))
    {
        CounterTemplate = Por::Util::Copy(*counter, Por::GetUnitFactory());
    }
}

void ViewOptions::Select(const PatternPlan& plan, std::vector<StoredObjectPtr>& objects) const
{
    std::erase_if(objects, [&plan](const StoredObjectPtr& object) { return !plan.Matches(*object); });
    Sort(objects);
    const std::size_t first = std::min<std::size_t>(Offset, objects.size());
    const std::size_t count = std::min<std::size_t>(Limit, objects.size() - first);
    objects.erase(objects.begin() + static_cast<std::ptrdiff_t>(first + count), objects.end());
    objects.erase(objects.begin(), objects.begin() + static_cast<std::ptrdiff_t>(first));
    if (Reverse)
    {
        std::reverse(objects.begin(), objects.end());
    }
}

std::vector<Por::ConstUnitPtr> ViewOptions::Present(const std::vector<StoredObjectPtr>& selected,
                                                    const Por::Construction::UnitFactory& factory) const
{
    std::vector<Por::ConstUnitPtr> shown;
    if (CounterTemplate != nullptr)
    {
        shown.push_back(Dml::Query::MakeCounterObject(static_cast<std::uint32_t>(selected.size()),
                                                      *CounterTemplate, factory));
        return shown;
    }
    shown.reserve(selected.size());
    for (const StoredObjectPtr& object : selected)
    {
        shown.push_back(ShowObject(*object, Mask.get(), factory));
    }
    return shown;
}

void ViewOptions::Sort(std::vector<StoredObjectPtr>& objects) const
{
    if (ByTimeStamp)
    {
        std::sort(objects.begin(), objects.end(),
                  [](const StoredObjectPtr& left, const StoredObjectPtr& right)
                  { return left->TimeStamp < right->TimeStamp; });
        return;
    }
    if (Sorting.empty() || objects.size() < 2)
    {
        return;
    }
    std::vector<SortRow> rows;
    rows.reserve(objects.size());
    for (StoredObjectPtr& object : objects)
    {
        SortRow row{std::move(object), {}};
        row.Values.reserve(Sorting.size());
        for (const SortKey& key : Sorting)
        {
            row.Values.push_back(FindSortValue(*row.Object->Object, key.Path));
        }
        rows.push_back(std::move(row));
    }
    // Creation order breaks ties, so the order is total and a page never depends on the sort's whims.
    const auto before = [this](const SortRow& left, const SortRow& right)
    {
        for (std::size_t index = 0; index < Sorting.size(); ++index)
        {
            const int order = CompareValues(left.Values[index], right.Values[index]);
            if (order != 0)
            {
                return Sorting[index].Descending ? order > 0 : order < 0;
            }
        }
        return left.Object->Ordinal < right.Object->Ordinal;
    };
    const std::size_t wanted = static_cast<std::size_t>(Offset) + Limit;
    if (wanted < rows.size())
    {
        std::partial_sort(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(wanted), rows.end(),
                          before);
    }
    else
    {
        std::sort(rows.begin(), rows.end(), before);
    }
    for (std::size_t index = 0; index < rows.size(); ++index)
    {
        objects[index] = std::move(rows[index].Object);
    }
}

} // namespace Host::Store::Detail
