// The three faces of a unit and of its parts. View is read-only; Modification may change values in
// place but not the shape; Construction may also add and remove properties, elements and traits. Each
// face derives from the one before, and all are non-copyable. A unit published as a view is immutable.
#pragma once

#include "common/NonCopyable.h"
#include "por/Forward.h"
#include "por/ItemProcessor.h"

#include <string>
#include <string_view>

namespace Por
{
namespace View
{

class Unit : Common::NonCopyable
{
public:
    virtual ~Unit() = default;
    // Calls the reader's operation for this unit's kind with the value interface.
    virtual void Visit(UnitReader& reader) const = 0;
    virtual const Traits& GetTraits() const = 0;
};

// The traits of a unit: a set ordered by name and then by value; one name may occur with several values.
class Traits : Common::NonCopyable
{
public:
    virtual ~Traits() = default;
    // The traits of one name, in value order.
    virtual void ForEachNamed(std::string_view name, ItemProcessor<const Trait>& processor) const = 0;
    virtual void ForEach(ItemProcessor<const Trait>& processor) const = 0;
};

class Trait : Common::NonCopyable
{
public:
    virtual ~Trait() = default;
    virtual const std::string& GetName() const = 0;
    virtual const Unit& GetValue() const = 0;
};

class Property : Common::NonCopyable
{
public:
    virtual ~Property() = default;
    virtual const std::string& GetName() const = 0;
    virtual const Unit& GetValue() const = 0;
};

} // namespace View

namespace Modification
{

class Unit : public View::Unit
{
public:
    using View::Unit::Visit;
    virtual void Visit(UnitWriter& writer) = 0;
};

class Traits : public View::Traits
{
};

class Property : public View::Property
{
public:
    using View::Property::GetValue;
    virtual Unit& GetValue() = 0;
};

} // namespace Modification

namespace Construction
{

class Unit : public Modification::Unit
{
public:
    using Modification::Unit::Visit;
    using View::Unit::GetTraits;
    virtual void Visit(UnitBuilder& builder) = 0;
    virtual Traits& GetTraits() = 0;

    // A property that owns this unit, placed in the unit's own block when the unit keeps room for one
    // (in-memory units do), so that a property and its value take one allocation. On success the property
    // has taken `name` and `self`, the owning pointer to this unit; otherwise both are left and the
    // result is null.
    virtual Property* EmbedProperty(std::string& name, UnitPtr& self);
};

class Traits : public Modification::Traits
{
public:
    // Adds the trait unless an equal pair (name and value) is there already, in which case the given one
    // is dropped. A null trait throws 0xfa000b.
    virtual void Add(TraitPtr trait) = 0;
    // Removes every trait of the name; returns how many.
    virtual std::size_t Remove(std::string_view name) = 0;
};

class Property : public Modification::Property
{
public:
    using View::Property::GetValue;
    Unit& GetValue() override = 0;
    // The owning pointer to the value, for moving it elsewhere or sharing it.
    virtual const UnitPtr& GetValuePointer() const = 0;
};

} // namespace Construction
} // namespace Por
