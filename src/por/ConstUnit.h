// Por::ConstUnit: a read handle into a shared unit tree: the root's holder, the wide path from the root
// and a factory. Nothing is resolved until a read, so a handle may name a node that is not there; reads
// then throw the Por::Errors of the case (0xfa0001) with the path. Copies share the tree. Not
// thread-safe while the tree is still being built through a Por::Unit.
#pragma once

#include "common/WideString.h"
#include "por/Forward.h"
#include "por/SafeUnitHolder.h"
#include "por/UnitAccess.h"

#include <concepts>
#include <cstddef>
#include <iosfwd>
#include <memory>
#include <string_view>

namespace Por
{

class ConstUnit
{
public:
    class Iterator;

    // A handle without a tree: every read throws Errors::EmptyUnitHolder.
    ConstUnit();
    // The root of `root`; a null factory means the in-memory one.
    explicit ConstUnit(ConstUnitPtr root, const Construction::UnitFactory* factory = nullptr);
    ConstUnit(std::shared_ptr<const View::SafeUnitHolder> holder, Common::WideString path,
              const Construction::UnitFactory* factory);

    // A text beginning with '.' or '^' is a path below this node; any other text is one property name.
    ConstUnit operator[](std::string_view nameOrPath) const;
    ConstUnit operator[](Common::WideStringView nameOrPath) const;
    ConstUnit operator[](const char* nameOrPath) const { return (*this)[std::string_view(nameOrPath)]; }
    ConstUnit operator[](const char16_t* nameOrPath) const
    {
        return (*this)[Common::WideStringView(nameOrPath)];
    }
    // An element of the array here: not an array throws Errors::UnitArrayExpected, an index past the
    // end Errors::ArrayUnitIndexAccess.
    ConstUnit At(std::size_t index) const;
    template <std::integral Index>
    ConstUnit operator[](Index index) const
    {
        return At(static_cast<std::size_t>(index));
    }
    // The value of the only trait of the name: a missing node throws Errors::EmptyUnitTraitAccess, a
    // missing trait Errors::UnitMissingTraitAccess (two or more 0xfa001c).
    ConstUnit Trait(std::string_view name) const;

    // Whether the tree holds a node at the path (false without a tree).
    bool Exists() const { return Find() != nullptr; }
    // The node, or null.
    const View::Unit* Find() const;
    // The node: without a tree Errors::EmptyUnitHolder, without a node Errors::MissingUnitAccess.
    const View::Unit& Get() const;
    const View::Unit& operator*() const { return Get(); }
    const View::Unit* operator->() const { return &Get(); }

    ValueKind GetKind() const { return GetValueTypeIndex(Get()); }
    bool HasTrait(std::string_view name) const;
    // Properties of a composite or elements of an array; other kinds throw Errors::UnitCompositeExpected.
    std::size_t Size() const;
    // The value of exactly the kind of T (0xfa000a on another kind).
    template <typename T>
    T As() const
    {
        return Util::GetValue<T>(Get());
    }
    // The value, or `fallback` when the node is missing or of another kind.
    template <typename T>
    T AsOr(T fallback) const
    {
        const View::Unit* unit = Find();
        return unit != nullptr ? Util::GetValueOr<T>(*unit, std::move(fallback)) : fallback;
    }
    // A deep copy of the node with the handle's factory.
    UnitPtr Copy() const;

    const Common::WideString& GetPath() const { return Path; }
    const std::shared_ptr<const View::SafeUnitHolder>& GetHolder() const { return Holder; }
    const Construction::UnitFactory& GetFactory() const { return *Factory; }

    // The properties of the composite here, in name order; not a composite throws
    // Errors::UnitCompositeExpected.
    Iterator begin() const;
    Iterator end() const;

private:
    std::shared_ptr<const View::SafeUnitHolder> Holder;
    Common::WideString Path;
    const Construction::UnitFactory* Factory;
};

// Writes the tree below the node, or "empty" when there is none.
std::ostream& operator<<(std::ostream& stream, const ConstUnit& unit);

// An input iterator over properties; copies share one IteratorState, so advancing one advances all.
// Reading at the end throws Errors::InvalidIteratorAccessAttempt.
class ConstUnit::Iterator
{
public:
    struct IteratorState;

    Iterator() = default;
    explicit Iterator(std::shared_ptr<IteratorState> state) : State(std::move(state)) {}

    // The property's value as a handle.
    ConstUnit operator*() const;
    const std::string& GetName() const;
    Iterator& operator++();
    // Equal when both are at the end, or share a state.
    friend bool operator==(const Iterator& left, const Iterator& right);

private:
    bool AtEnd() const;
    std::shared_ptr<IteratorState> State;
};

} // namespace Por
