// Por::Unit: the writable twin of ConstUnit, a handle used by value to build a tree by assignment:
//   Por::Unit u; u["Details"]["Specific"] = 5u; u["Name"] = Common::WideString(u"x");
// Copies share one tree, so assigning through any handle is seen by all; assigning creates the missing
// way (composites, a nil node turning into one). Copy assignment writes through like any other
// assignment: it copies the other handle's node here and never rebinds. Not thread-safe.
#pragma once

#include "por/ConstUnit.h"
#include "por/DataAccessor.h"
#include "por/UnitFactory.h"

#include <concepts>
#include <cstddef>
#include <iosfwd>
#include <memory>
#include <string_view>

namespace Por
{
namespace Detail
{
struct UnitRoot;
}

// C++ types that make a unit of one kind: the ten scalars, blob, guid, wide string, error.
template <typename T>
concept UnitValue = requires
{
    KindOf<T>::Value;
};

class Unit
{
public:
    // A nil root made with the factory of GetPorViewUnitFactory.
    Unit();
    explicit Unit(const Construction::UnitFactory& factory);
    // A root of the value's kind.
    template <UnitValue T>
    explicit Unit(const T& value) : Unit()
    {
        *this = value;
    }
    explicit Unit(const char16_t* text) : Unit(String(text)) {}
    // Shares `root` (not copied); a null root starts as nil.
    Unit(UnitPtr root, const Construction::UnitFactory& factory);
    // An empty array or composite root.
    static Unit Array(const Construction::UnitFactory& factory = GetUnitFactory());
    static Unit Composite(const Construction::UnitFactory& factory = GetUnitFactory());

    Unit(const Unit&) = default;
    Unit(Unit&&) = default;
    // These write the node (a deep copy) at this handle's path, creating the way.
    Unit& operator=(const Unit& other);
    Unit& operator=(const ConstUnit& value);
    Unit& operator=(const View::Unit& value);
    template <UnitValue T>
    Unit& operator=(const T& value)
    {
        Place(GetFactory().Create(value));
        return *this;
    }
    Unit& operator=(const char16_t* text) { return *this = String(text); }

    // A further handle: a text beginning with '.' or '^' is a path, any other one property name; an
    // index names an array element (assigning at the size appends). Resolved only at use.
    Unit operator[](std::string_view nameOrPath) const;
    Unit operator[](Common::WideStringView nameOrPath) const;
    Unit operator[](const char* nameOrPath) const { return (*this)[std::string_view(nameOrPath)]; }
    Unit operator[](const char16_t* nameOrPath) const { return (*this)[Common::WideStringView(nameOrPath)]; }
    Unit At(std::size_t index) const;
    template <std::integral Index>
    Unit operator[](Index index) const
    {
        return At(static_cast<std::size_t>(index));
    }

    // Replaces every trait of the name on this node by one holding a copy of `value`; a missing node
    // is created as nil first.
    Unit& SetTrait(std::string_view name, const View::Unit& value);
    Unit& SetTrait(std::string_view name, const Unit& value) { return SetTrait(name, value.Get()); }
    template <UnitValue T>
    Unit& SetTrait(std::string_view name, const T& value)
    {
        return SetTrait(name, *GetFactory().Create(value));
    }
    // Adds a trait beside those of the same name (a nil mark without a value).
    Unit& AddTrait(std::string_view name, const View::Unit& value);
    Unit& AddTrait(std::string_view name);
    // Gives the node `value` when it has none yet (missing or nil); a nil node keeps its traits.
    Unit& SetDefault(const View::Unit& value);
    template <UnitValue T>
    Unit& SetDefault(const T& value = T{})
    {
        return SetDefault(*GetFactory().Create(value));
    }
    // Makes the node an empty composite when it has no value yet (missing or nil).
    Unit& EnsureComposite();
    // Appends a copy to the array here; a node without a value yet becomes an empty array first.
    Unit& PushBack(const View::Unit& value);
    template <UnitValue T>
    Unit& PushBack(const T& value)
    {
        return PushBack(*GetFactory().Create(value));
    }

    // Reads go through the ConstUnit of this handle and throw its errors.
    const ConstUnit& AsConst() const { return Reader; }
    operator const ConstUnit&() const { return Reader; }
    bool Exists() const { return Reader.Exists(); }
    // Present and not nil.
    bool HasValue() const;
    const View::Unit& Get() const { return Reader.Get(); }
    template <typename T>
    T As() const
    {
        return Reader.As<T>();
    }
    const Common::WideString& GetPath() const { return Reader.GetPath(); }
    const Construction::UnitFactory& GetFactory() const { return Reader.GetFactory(); }
    // A cursor on the node, valid until the root is replaced by an assignment at the root.
    Util::DataAccessor Accessor() const;

    // The whole tree, shared with the handles.
    UnitPtr GetRoot() const;
    ConstUnitPtr Result() const { return GetRoot(); }

private:
    Unit(std::shared_ptr<Detail::UnitRoot> root, ConstUnit reader);
    Unit Below(Common::WideString path) const;
    Construction::Unit& Place(UnitPtr value);
    // Places `value` when the node is missing or nil, carrying a nil node's traits over.
    void PlaceIfNoValue(UnitPtr value);
    Construction::Unit* FindNode() const;

    std::shared_ptr<Detail::UnitRoot> Root;
    ConstUnit Reader;
};

// As the ConstUnit of the handle.
std::ostream& operator<<(std::ostream& stream, const Unit& unit);

} // namespace Por
