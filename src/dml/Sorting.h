// Sort keys of a read. "SortingOptions" holds one composite, or an array of them, mirroring the object:
// each path of composites ends in a leaf that bears "Descending" or "Ascending " (nil values); its own
// value does not matter. Keys accumulate: the first added sorts first.
#pragma once

#include "common/WideString.h"
#include "por/Forward.h"
#include "por/UnitFactory.h"
#include "por/ValueKind.h"

#include <vector>

namespace Dml::Query
{

// One parsed sort key: the leaf's path, its direction and its kind.
struct SortingEntry
{
    Common::WideString Path;
    bool Descending = false;
    Por::ValueKind Kind = Por::ValueKind::Nil;

    friend bool operator==(const SortingEntry&, const SortingEntry&) = default;
};

// The sort keys in array order, and within a composite in property order. A leaf is descending only
// with "Descending" and without "Ascending ". A non-composite item of an array throws 0x00FC0023 with
// the path of the array. Empty without "SortingOptions".
std::vector<SortingEntry> GetSorting(const Por::View::Unit& options);

// Appends a copy of `sortTemplate` (composites leading to one leaf) with the direction on its leaf to
// "SortingOptions", made as an array when absent. A template whose leaf is an array or a composite adds
// nothing. A "SortingOptions" that is not an array throws the type mismatch.
void AddAscendingOrder(Por::Modification::Unit& options, const Por::View::Unit& sortTemplate,
                       const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
void AddDescendingOrder(Por::Modification::Unit& options, const Por::View::Unit& sortTemplate,
                        const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());

// Replaces the sort keys by `entries`, in order; each leaf is a zero value of the entry's kind.
void SetSorting(Por::Modification::Unit& options, const std::vector<SortingEntry>& entries,
                const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());

} // namespace Dml::Query
