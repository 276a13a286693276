// Operations on traits: tests, unique lookup, adding and removing on one unit or a whole tree, the
// identity lists, and the trait processors they are made of. A unit's traits are a set ordered by name
// then value, so one name may hold several values and an equal pair is kept once. Failures are
// Common::Error values of the 0xfa0000 family, thrown.
#pragma once

#include "por/Forward.h"
#include "por/ItemProcessor.h"
#include "por/UnitAccess.h"
#include "por/UnitExplorer.h"
#include "por/UnitFactory.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace Por::Util
{

// A C++ type that a temporary unit can carry for a comparison: the ten scalars and the wide string.
template <typename T>
concept TraitScalar = requires
{
    KindOf<T>::Value;
}
&&(!IsComplexV<T> || std::is_same_v<T, String>);

bool HasTraits(const View::Unit& unit);
bool HasTrait(const View::Unit& unit, std::string_view name);
// True when a trait of the name holds a value UnitEqual to `value` (traits of the value count).
bool HasTraitWithValue(const View::Unit& unit, std::string_view name, const View::Unit& value);
template <TraitScalar T>
bool HasTraitWithValue(const View::Unit& unit, std::string_view name, const T& value)
{
    return HasTraitWithValue(unit, name, *GetUnitFactory().Create(value));
}
inline bool HasTraitWithValue(const View::Unit& unit, std::string_view name, const char16_t* value)
{
    return HasTraitWithValue(unit, name, String(value));
}

// The value of the only trait of the name: none throws 0xfa001d, two or more 0xfa001c.
const View::Unit& GetUniqueTraitByName(const View::Unit& unit, std::string_view name);
// The same, but null when there is none (two or more still throw 0xfa001c).
const View::Unit* FindUniqueTraitByName(const View::Unit& unit, std::string_view name);

// Adds a trait: a copy of `value`, the given unit (null throws 0xfa000b), what `make` returns, or nil.
void AddTrait(Construction::Unit& unit, std::string_view name, const View::Unit& value,
              const Construction::UnitFactory& factory);
void AddTrait(Construction::Unit& unit, std::string_view name, UnitPtr value,
              const Construction::UnitFactory& factory);
template <typename Make>
requires std::is_invocable_r_v<UnitPtr, Make>
void AddTrait(Construction::Unit& unit, std::string_view name, Make&& make,
              const Construction::UnitFactory& factory)
{
    AddTrait(unit, name, UnitPtr(std::invoke(std::forward<Make>(make))), factory);
}
void AddTrait(Construction::Unit& unit, std::string_view name, const Construction::UnitFactory& factory);

// Adds a copy of `value` as a trait of the value of a composite's property. A missing property throws
// 0xfa000d, a non-composite the type mismatch 0xfa000a.
void AddTraitToProperty(Construction::Unit& unit, std::string_view propertyName, std::string_view traitName,
                        const View::Unit& value, const Construction::UnitFactory& factory);

// Removes every trait of the name from the unit; returns how many.
std::size_t RemoveTrait(Construction::Unit& unit, std::string_view name);
// The same for every unit of the tree (trait values are views on this face and keep their traits);
// returns the total.
std::size_t RemoveTraitEverywhere(Construction::Unit& unit, std::string_view name);

// Depth-first searches of the whole tree, trait values included; they stop at the first hit.
bool HasTraitAnywhere(const View::Unit& unit, std::string_view name);
bool HasTraitWithValueAnywhere(const View::Unit& unit, std::string_view name, const View::Unit& value);

// Copies the identity traits of `from` onto `to`: "Is" alone, or with `longForm` "Is", "Type",
// "PrimaryKey" and "ObjectID". Missing ones are no failure.
void CopyIdentityTraits(const View::Unit& from, Construction::Unit& to,
                        const Construction::UnitFactory& factory, bool longForm);

// Stops at the first trait of the name and remembers it.
class HasTraitProcessor final : public ItemProcessor<const View::Trait>
{
public:
    explicit HasTraitProcessor(std::string_view name) : Name(name) {}
    bool Process(const View::Trait& trait) override;
    const View::Trait* GetHit() const { return Hit; }

private:
    std::string_view Name;
    const View::Trait* Hit = nullptr;
};

// Stops at the first trait of the name whose value is UnitEqual to `value`, and remembers it.
class HasTraitWithValueProcessor final : public ItemProcessor<const View::Trait>
{
public:
    HasTraitWithValueProcessor(std::string_view name, const View::Unit& value) : Name(name), Value(value) {}
    bool Process(const View::Trait& trait) override;
    const View::Trait* GetHit() const { return Hit; }

private:
    std::string_view Name;
    const View::Unit& Value;
    const View::Trait* Hit = nullptr;
};

// Run under ForEachNamed: keeps the first value and throws 0xfa001c at a second trait.
class UniqueTraitProcessor final : public ItemProcessor<const View::Trait>
{
public:
    bool Process(const View::Trait& trait) override;
    // Null until a trait was seen.
    const View::Unit* GetValue() const { return Value; }

private:
    const View::Unit* Value = nullptr;
};

// Removes a trait name from every unit it explores, counting.
class TraitRemover final : public Construction::BaseUnitExplorer
{
public:
    explicit TraitRemover(std::string_view name) : Name(name) {}
    std::size_t GetCount() const { return Count; }

protected:
    bool OnUnit(Construction::Unit& unit) override;

private:
    std::string_view Name;
    std::size_t Count = 0;
};

// Keeps copies of the traits it is given; Apply adds them to a unit, so a source can be read in full
// before anything is written (the two may be one tree).
class TraitsCollection final : public ItemProcessor<const View::Trait>
{
public:
    explicit TraitsCollection(const Construction::UnitFactory& factory) : Factory(factory) {}
    bool Process(const View::Trait& trait) override;
    // Adds the copies to `target` and forgets them.
    void Apply(Construction::Unit& target);

private:
    const Construction::UnitFactory& Factory;
    std::vector<TraitPtr> Copies;
};

// Passes traits on to `next`, except "Is" traits whose string value equals `text`, so one type tag can be
// dropped from a hierarchy of tags. An "Is" of another kind passes.
class IsTraitFilter final : public ItemProcessor<const View::Trait>
{
public:
    IsTraitFilter(ItemProcessor<const View::Trait>& next, String text) : Next(next), Text(std::move(text)) {}
    bool Process(const View::Trait& trait) override;

private:
    ItemProcessor<const View::Trait>& Next;
    String Text;
};

// Lists tags: a string-valued trait gives its string, any other the trait's name (widened). The
// consumer's answer is passed back, so it can stop the enumeration.
class TraitsComposition final : public ItemProcessor<const View::Trait>
{
public:
    explicit TraitsComposition(ItemProcessor<const String>& consumer) : Consumer(consumer) {}
    bool Process(const View::Trait& trait) override;

private:
    ItemProcessor<const String>& Consumer;
};

// Copies the traits it is given onto `target`; with `keepExisting`, a pair the target has already is
// left as it is, without a copy being made.
class SourceTraitsApplier final : public ItemProcessor<const View::Trait>
{
public:
    SourceTraitsApplier(Construction::Unit& target, const Construction::UnitFactory& factory,
                        bool keepExisting)
        : Target(target), Factory(factory), KeepExisting(keepExisting)
    {
    }
    bool Process(const View::Trait& trait) override;
    // Applies every trait of `source`.
    void Apply(const View::Unit& source);

private:
    Construction::Unit& Target;
    const Construction::UnitFactory& Factory;
    bool KeepExisting;
};

} // namespace Por::Util
