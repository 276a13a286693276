// Host::Store::Detail::ViewOptions: the options of a read as the store obeys them, in this order:
// matching, "SortingOptions" (every key, either direction; ties keep creation order), "OffsetOptions" and
// "LimitOptions", "ReverseReportOrder", then either "Counter" (one counter object of the count) or
// "Mask". Without sort keys a top-level "DmlTimeStamp" marked "Ascending " orders by time stamp. The
// other keys are the client's or ask nothing of an in-memory store.
#pragma once

#include "PatternPlan.h"
#include "StoredObject.h"
#include "common/WideString.h"
#include "por/Forward.h"

#include <cstdint>
#include <vector>

namespace Host::Store::Detail
{

class ViewOptions
{
public:
    // `options` may be null: all defaults. Throws 0xFC0023 for a malformed sorting spec. Keeps copies of
    // what it needs.
    explicit ViewOptions(const Por::View::Unit* options);

    // Keeps the candidates that match, in the order and the page the options ask for. Throws what the
    // pattern's match throws.
    void Select(const PatternPlan& plan, std::vector<StoredObjectPtr>& objects) const;
    // What the reader gets of the selection: the counter object, or each object as the mask shows it.
    std::vector<Por::ConstUnitPtr> Present(const std::vector<StoredObjectPtr>& selected,
                                           const Por::Construction::UnitFactory& factory) const;

    const Por::ConstUnitPtr& GetMask() const { return Mask; }

private:
    struct SortKey
    {
        Common::WideString Path;
        bool Descending = false;
    };

    void Sort(std::vector<StoredObjectPtr>& objects) const;

    std::vector<SortKey> Sorting;
    bool ByTimeStamp = false;
    std::uint32_t Offset = 0;
    std::uint32_t Limit = 0xFFFFFFFF;
    bool Reverse = false;
    Por::ConstUnitPtr Mask;
    Por::ConstUnitPtr CounterTemplate;
};

} // namespace Host::Store::Detail
