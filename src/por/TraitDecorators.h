// Decorators that show a unit with its traits changed: sieved (ExcludeTraitUnit, EnableTraitUnit), with
// one trait more (UnitWithExtraTrait, AddNilTraitUnit), with one name given another value
// (ReplaceTraitUnit), or without any trait at any level (HideTraitsUnit). They are read-only views over
// units that must outlive them; enumerations keep the set's order, by name and then by value.
#pragma once

#include "por/DecoratorBasics.h"
#include "por/RecursiveDecoration.h"

#include <string>
#include <string_view>

namespace Por
{

// The inner traits that Passes lets through.
class SieveTraits : public View::Traits
{
public:
    explicit SieveTraits(const View::Traits& inner) : Inner(inner) {}
    void ForEachNamed(std::string_view name, ItemProcessor<const View::Trait>& processor) const override;
    void ForEach(ItemProcessor<const View::Trait>& processor) const override;
    virtual bool Passes(const View::Trait& trait) const = 0;

protected:
    const View::Traits& Inner;
};

// Passes a trait on to `next` only when the sieve lets it through.
class FilteringTraitProcessor final : public ItemProcessor<const View::Trait>
{
public:
    FilteringTraitProcessor(ItemProcessor<const View::Trait>& next, const SieveTraits& sieve)
        : Next(next), Sieve(sieve)
    {
    }
    bool Process(const View::Trait& trait) override { return Sieve.Passes(trait) && Next.Process(trait); }

private:
    ItemProcessor<const View::Trait>& Next;
    const SieveTraits& Sieve;
};

// All traits but those of one name.
class ExcludingTraits final : public SieveTraits
{
public:
    ExcludingTraits(const View::Traits& inner, std::string_view name) : SieveTraits(inner), Name(name) {}
    void ForEachNamed(std::string_view name, ItemProcessor<const View::Trait>& processor) const override;
    bool Passes(const View::Trait& trait) const override { return trait.GetName() != Name; }

private:
    std::string Name;
};

// Only the traits of one name.
class EnablingTraits final : public SieveTraits
{
public:
    EnablingTraits(const View::Traits& inner, std::string_view name) : SieveTraits(inner), Name(name) {}
    void ForEachNamed(std::string_view name, ItemProcessor<const View::Trait>& processor) const override;
    void ForEach(ItemProcessor<const View::Trait>& processor) const override;
    bool Passes(const View::Trait& trait) const override { return trait.GetName() == Name; }

private:
    std::string Name;
};

// Passes inner traits on and puts `extra` at its place among them (by name, then by value). An inner trait
// equal to it stands for it, so each pair still shows once. Finish gives it when the walk ended first.
class AddingTraitProcessor final : public ItemProcessor<const View::Trait>
{
public:
    AddingTraitProcessor(ItemProcessor<const View::Trait>& next, const View::Trait& extra)
        : Next(next), Extra(extra)
    {
    }
    bool Process(const View::Trait& trait) override;
    void Finish();

private:
    ItemProcessor<const View::Trait>& Next;
    const View::Trait& Extra;
    bool Placed = false;
    bool Stopped = false;
};

// The inner traits plus one (name, value); the value is borrowed.
class ExpandingTraits : public View::Traits
{
public:
    ExpandingTraits(const View::Traits& inner, std::string_view name, const View::Unit& value)
        : Inner(inner), Extra(name, value)
    {
    }
    void ForEachNamed(std::string_view name, ItemProcessor<const View::Trait>& processor) const override;
    void ForEach(ItemProcessor<const View::Trait>& processor) const override;

private:
    const View::Traits& Inner;
    WeakTrait Extra;
};

// The inner traits plus a nil trait (a mark) of one name.
class ExpandingNilTraits final : public ExpandingTraits
{
public:
    ExpandingNilTraits(const View::Traits& inner, std::string_view name)
        : ExpandingTraits(inner, name, Detail::NilUnitView())
    {
    }
};

// The inner traits with those of one name replaced by a single trait of that name and the given value,
// which is added when the inner traits have none of the name.
class ReplacingTraits final : public View::Traits
{
public:
    ReplacingTraits(const View::Traits& inner, std::string_view name, const View::Unit& value)
        : Without(inner, name), With(Without, name, value)
    {
    }
    void ForEachNamed(std::string_view name, ItemProcessor<const View::Trait>& processor) const override
    {
        With.ForEachNamed(name, processor);
    }
    void ForEach(ItemProcessor<const View::Trait>& processor) const override { With.ForEach(processor); }

private:
    ExcludingTraits Without;
    ExpandingTraits With;
};

// A unit shown with its traits through a sieve, which the derived class owns.
class SieveTraitsUnit : public DelegatingUnit
{
public:
    const View::Traits& GetTraits() const override { return Sieve; }

protected:
    SieveTraitsUnit(const View::Unit& unit, const SieveTraits& sieve) : DelegatingUnit(unit), Sieve(sieve) {}

private:
    const SieveTraits& Sieve;
};

// All traits but those named `name`; a name the unit lacks hides nothing.
class ExcludeTraitUnit final : public SieveTraitsUnit
{
public:
    ExcludeTraitUnit(const View::Unit& unit, std::string_view name)
        : SieveTraitsUnit(unit, Traits), Traits(unit.GetTraits(), name)
    {
    }

private:
    ExcludingTraits Traits;
};

// Only the traits named `name`.
class EnableTraitUnit final : public SieveTraitsUnit
{
public:
    EnableTraitUnit(const View::Unit& unit, std::string_view name)
        : SieveTraitsUnit(unit, Traits), Traits(unit.GetTraits(), name)
    {
    }

private:
    EnablingTraits Traits;
};

// The unit with one trait more; `value` is borrowed.
class UnitWithExtraTrait final : public View::Unit
{
public:
    UnitWithExtraTrait(const View::Unit& unit, std::string_view name, const View::Unit& value)
        : Inner(unit), Traits(unit.GetTraits(), name, value)
    {
    }
    void Visit(View::UnitReader& reader) const override { Inner.Visit(reader); }
    const View::Traits& GetTraits() const override { return Traits; }

private:
    const View::Unit& Inner;
    ExpandingTraits Traits;
};

// The unit with a nil trait of `name` more.
class AddNilTraitUnit final : public View::Unit
{
public:
    AddNilTraitUnit(const View::Unit& unit, std::string_view name)
        : Inner(unit), Traits(unit.GetTraits(), name)
    {
    }
    void Visit(View::UnitReader& reader) const override { Inner.Visit(reader); }
    const View::Traits& GetTraits() const override { return Traits; }

private:
    const View::Unit& Inner;
    ExpandingNilTraits Traits;
};

// The unit with the traits of `name` replaced by one holding `value` (added when there is none).
class ReplaceTraitUnit final : public View::Unit
{
public:
    ReplaceTraitUnit(const View::Unit& unit, std::string_view name, const View::Unit& value)
        : Inner(unit), Traits(unit.GetTraits(), name, value)
    {
    }
    void Visit(View::UnitReader& reader) const override { Inner.Visit(reader); }
    const View::Traits& GetTraits() const override { return Traits; }

private:
    const View::Unit& Inner;
    ReplacingTraits Traits;
};

// The unit and everything below it without traits (trait values are not reached: no trait shows).
class HideTraitsUnit final : public RecursiveDecoration::UnitDecorator
{
public:
    explicit HideTraitsUnit(const View::Unit& unit);
};

} // namespace Por
