// Por::Serialization::MapElementFinder: looks a key up in the unit form of a map, an array of
// composites with the properties "first" and "second", without reading the map back into C++. The map
// unit is borrowed and must outlive the finder.
#pragma once

#include "por/Forward.h"
#include "por/PorUnit.h"
#include "por/UnitFactory.h"

namespace Por::Serialization
{

class MapElementFinder
{
public:
    // A map unit that is not an array throws the type mismatch 0xfa000a.
    explicit MapElementFinder(const View::Unit& map);

    // The "second" of the first item whose "first" has the value of `key` (UnitValueEqual), or null.
    // Items that are not such composites are skipped.
    const View::Unit* Find(const View::Unit& key) const;
    template <UnitValue T>
    const View::Unit* Find(const T& key) const
    {
        return Find(*GetUnitFactory().Create(key));
    }

private:
    const View::ArrayValue& Items;
};

} // namespace Por::Serialization
