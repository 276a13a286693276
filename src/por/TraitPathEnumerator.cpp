#include "por/TraitPathEnumerator.h"

#include "por/TraitUtil.h"
#include "por/UnitAccess.h"

namespace Por::Util
{

bool TraitPathEnumerator::Matches(const View::Unit& unit) const
{
    return HasTrait(unit, Name);
}

bool TraitPathEnumerator::Enumerate(const View::Unit& unit)
{
    return Enumerate(unit, Common::WideString());
}

bool TraitPathEnumerator::Enumerate(const View::Unit& unit, const Common::WideString& path)
{
    if (Matches(unit) && Consumer.Process(path))
    {
        return true;
    }
    bool stopped = false;
    if (const View::CompositeValue* composite = FindComposite(unit))
    {
        auto properties = MakeProcessor<const View::Property>(
            [&](const View::Property& property)
            {
                const Common::WideString child = MakePropertyPath(path, property.GetName());
                return stopped = Enumerate(property.GetValue(), child);
            });
        composite->ForEach(properties);
    }
    else if (const View::ArrayValue* array = FindArray(unit))
    {
        for (std::size_t i = 0; i < array->Size() && !stopped; ++i)
        {
            const Common::WideString child = MakeElementPath(path, i);
            stopped = Enumerate(array->Get(i), child);
        }
    }
    if (stopped)
    {
        return true;
    }
    auto traits = MakeProcessor<const View::Trait>(
        [&](const View::Trait& trait)
        {
            const Common::WideString child = MakeTraitPath(path, trait.GetName());
            return stopped = Enumerate(trait.GetValue(), child);
        });
    unit.GetTraits().ForEach(traits);
    return stopped;
}

bool TraitWithValuePathEnumerator::Matches(const View::Unit& unit) const
{
    return HasTraitWithValue(unit, GetName(), Value);
}

void EnumerateTraitPaths(const View::Unit& unit, std::string_view name, PathConsumer& consumer)
{
    TraitPathEnumerator enumerator(name, consumer);
    enumerator.Enumerate(unit);
}

void EnumerateTraitWithValuePaths(const View::Unit& unit, std::string_view name, const View::Unit& value,
                                  PathConsumer& consumer)
{
    TraitWithValuePathEnumerator enumerator(name, value, consumer);
    enumerator.Enumerate(unit);
}

} // namespace Por::Util
