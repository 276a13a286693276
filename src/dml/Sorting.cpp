#include "dml/Sorting.h"

#include "dml/Errors.h"
#include "dml/OptionSections.h"
#include "dml/QueryOptionNames.h"
#include "por/ItemProcessor.h"
#include "por/Path.h"
#include "por/TraitUtil.h"
#include "por/UnitAccess.h"
#include "por/Values.h"

#include <string_view>

namespace Dml::Query
{
namespace
{

// The chain of contexts of the walk answers the path of the unit at hand.
class BrowseContext
{
public:
    virtual ~BrowseContext() = default;
    virtual Common::WideString GetPath() const { return {}; }
};

class PropertyContext final : public BrowseContext
{
public:
    PropertyContext(const BrowseContext& parent, std::string_view name) : Parent(parent), Name(name) {}
    Common::WideString GetPath() const override
    {
        return Por::Util::MakePropertyPath(Parent.GetPath(), Name);
    }

private:
    const BrowseContext& Parent;
    std::string_view Name;
};

// Composites are walked property by property, arrays item by item (each item a composite walked in
// the array's own context); anything else is a leaf, one sort key.
class SortingParseProcess final : public Por::ItemProcessor<const Por::View::Property>,
                                  public Por::ItemProcessor<const Por::View::Unit>
{
public:
    SortingParseProcess(const BrowseContext& context, std::vector<SortingEntry>& entries)
        : Context(context), Entries(entries)
    {
    }

    void Walk(const Por::View::Unit& unit)
    {
        if (const Por::View::CompositeValue* composite = Por::Util::FindComposite(unit))
        {
            composite->ForEach(static_cast<Por::ItemProcessor<const Por::View::Property>&>(*this));
        }
        else if (const Por::View::ArrayValue* array = Por::Util::FindArray(unit))
        {
            array->ForEach(static_cast<Por::ItemProcessor<const Por::View::Unit>&>(*this));
        }
        else
        {
            const bool descending =
                Por::Util::HasTrait(unit, Names::Descending) && !Por::Util::HasTrait(unit, Names::Ascending);
            Entries.push_back({Context.GetPath(), descending, Por::GetValueTypeIndex(unit)});
        }
    }

    bool Process(const Por::View::Property& property) override
    {
        const PropertyContext context(Context, property.GetName());
        SortingParseProcess(context, Entries).Walk(property.GetValue());
        return false;
    }

    bool Process(const Por::View::Unit& item) override
    {
        if (!Por::Util::IsComposite(item))
        {
            throw Errors::MakeBadSortingSpec(COMMON_LOCATION("Dml::Query::SortingParseProcess::Process"),
                                             Context.GetPath());
        }
        Walk(item);
        return false;
    }

private:
    const BrowseContext& Context;
    std::vector<SortingEntry>& Entries;
};

// The copy of the template with the direction on its leaf; null when the leaf is an array or a composite.
Por::UnitPtr MakeSortKey(const Por::View::Unit& sortTemplate, bool descending,
                         const Por::Construction::UnitFactory& factory)
{
    Por::UnitPtr key = Por::Util::Copy(sortTemplate, factory);
    Por::Construction::Unit* leaf = key.get();
    while (Por::Construction::CompositeValue* composite = Por::Util::FindComposite(*leaf))
    {
        const auto first = composite->GetIterator();
        if (!first->IsValid())
        {
            return nullptr;
        }
        leaf = &first->Current().GetValue();
    }
    if (Por::Util::IsArray(*leaf))
    {
        return nullptr;
    }
    Por::Util::AddTrait(*leaf, descending ? Names::Descending : Names::Ascending, factory);
    return key;
}

void AddOrder(Por::Modification::Unit& options, const Por::View::Unit& sortTemplate, bool descending,
              const Por::Construction::UnitFactory& factory)
{
    Por::UnitPtr key = MakeSortKey(sortTemplate, descending, factory);
    if (key == nullptr)
    {
        return;
    }
    Detail::Append(Detail::GetOrCreate(options, Names::SortingOptions, Por::ValueKind::Array, factory),
                   std::move(key));
}

} // namespace

std::vector<SortingEntry> GetSorting(const Por::View::Unit& options)
{
    std::vector<SortingEntry> entries;
    if (const Por::View::Unit* sorting = Por::Util::FindPropertyValue(options, Names::SortingOptions))
    {
        const BrowseContext root;
        SortingParseProcess(root, entries).Walk(*sorting);
    }
    return entries;
}

void AddAscendingOrder(Por::Modification::Unit& options, const Por::View::Unit& sortTemplate,
                       const Por::Construction::UnitFactory& factory)
{
    AddOrder(options, sortTemplate, false, factory);
}

void AddDescendingOrder(Por::Modification::Unit& options, const Por::View::Unit& sortTemplate,
                        const Por::Construction::UnitFactory& factory)
{
    AddOrder(options, sortTemplate, true, factory);
}

void SetSorting(Por::Modification::Unit& options, const std::vector<SortingEntry>& entries,
                const Por::Construction::UnitFactory& factory)
{
    Por::Util::GetArray(Detail::GetOrCreate(options, Names::SortingOptions, Por::ValueKind::Array, factory))
        .Clear();
    for (const SortingEntry& entry : entries)
    {
        const Por::UnitPtr leaf = Detail::MakeDefault(entry.Kind, factory);
        const Por::UnitPtr sortTemplate = Por::Util::PutUnitInLocation(entry.Path, *leaf, factory);
        AddOrder(options, *sortTemplate, entry.Descending, factory);
    }
}

} // namespace Dml::Query
