// Por::Dictionary: a map from names to values kept in a composite unit. Every value is a searchable
// array (the trait "Searchable"), also a single one, so a Like pattern finds it; adding under a name
// again appends. Util::WrapToSearchableArray makes that form. One thread at a time.
#pragma once

#include "por/DataAccessor.h"
#include "por/Forward.h"
#include "por/UnitFactory.h"

#include <string_view>

namespace Por
{

class Dictionary
{
public:
    // Without data: Data() throws.
    Dictionary() = default;
    // An empty composite.
    explicit Dictionary(const Construction::UnitFactory& factory);
    // Over `data`, a composite, shared and changed in place.
    Dictionary(UnitPtr data, const Construction::UnitFactory& factory);

    // The composite; throws 0xfa000b "POR: Null units are forbidden." without one.
    Construction::Unit& Data() const;
    const UnitPtr& GetPointer() const { return Composite; }

    // Appends `unit` (taken over) to the values of the name, setting the name when it is new. An empty
    // name throws 0xfa0001 "Por::Dictionary doesn't support empty property name. Value = '{0}'." with the
    // unit printed; a present value that is not an array throws the property mismatch 0xfa000a.
    void Add(std::string_view name, UnitPtr unit);
    void Add(std::string_view name, const View::Unit& unit);
    // As above with a copy of the accessor's node; an invalid accessor throws the unexpected-type
    // mismatch of kind "nil".
    void Add(std::string_view name, const Util::ConstDataAccessor& value);
    // Replaces the values of the name by `unit` as a searchable array (an empty name throws as Add).
    void Set(std::string_view name, UnitPtr unit);
    void Set(std::string_view name, const View::Unit& unit);
    // The value of the name, or null; the empty name finds nothing.
    const View::Unit* Find(std::string_view name) const;

private:
    const Construction::UnitFactory& UnitFactory() const;

    UnitPtr Composite;
    const Construction::UnitFactory* Factory = nullptr;
};

namespace Util
{
// An array gets the trait "Searchable" unless it has it and is returned itself; anything else becomes
// the one element of a new searchable array. A null unit throws 0xfa000b.
UnitPtr WrapToSearchableArray(UnitPtr unit, const Construction::UnitFactory& factory);
} // namespace Util

} // namespace Por
