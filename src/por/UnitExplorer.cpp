#include "por/UnitExplorer.h"

#include "por/UnitAccess.h"

namespace Por
{
namespace View
{

bool BaseUnitExplorer::OnTrait(const Trait&)
{
    return false;
}

bool BaseUnitExplorer::Explore(const Unit& unit)
{
    if (OnUnit(unit))
    {
        return true;
    }
    bool stopped = false;
    if (ExploresTraitValues())
    {
        auto traits = MakeProcessor<const Trait>(
            [&](const Trait& trait)
            {
                stopped = OnTrait(trait) || Explore(trait.GetValue());
                return stopped;
            });
        unit.GetTraits().ForEach(traits);
        if (stopped)
        {
            return true;
        }
    }
    if (const ArrayValue* array = Util::FindArray(unit))
    {
        for (std::size_t i = 0; i < array->Size() && !stopped; ++i)
        {
            stopped = Explore(array->Get(i));
        }
    }
    else if (const CompositeValue* composite = Util::FindComposite(unit))
    {
        auto properties = MakeProcessor<const Property>(
            [&](const Property& property)
            {
                stopped = Explore(property.GetValue());
                return stopped;
            });
        composite->ForEach(properties);
    }
    return stopped;
}

} // namespace View

namespace Construction
{

bool BaseUnitExplorer::Explore(Unit& unit)
{
    if (OnUnit(unit))
    {
        return true;
    }
    bool stopped = false;
    Build(unit,
          [&](auto& value)
          {
              using Interface = std::remove_cvref_t<decltype(value)>;
              if constexpr (std::is_base_of_v<ArrayValue, Interface>)
              {
                  for (std::size_t i = 0; i < value.Size() && !stopped; ++i)
                  {
                      stopped = Explore(*value.GetPointer(i));
                  }
              }
              else if constexpr (std::is_base_of_v<CompositeValue, Interface>)
              {
                  auto properties = MakeProcessor<Property>(
                      [&](Property& property)
                      {
                          stopped = Explore(property.GetValue());
                          return stopped;
                      });
                  value.ForEach(properties);
              }
          });
    return stopped;
}

} // namespace Construction
} // namespace Por
