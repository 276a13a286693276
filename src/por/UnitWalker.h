// Event walks of unit trees. A unit is OnUnitBegin, its value (one event, or OnComposite / OnArray with
// the children behind it), its traits (OnTrait(name) and the trait value's unit), and OnEnd; a property
// is OnProperty(name) and its unit. HierarchyRoute walks a unit in the order a guide chooses;
// UnitBuildingWalker builds a unit from events; DelegatingUnitWalker is the base of filters.
#pragma once

#include "common/Error.h"
#include "common/Guid.h"
#include "por/Unit.h"
#include "por/ValueKind.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

namespace Por::Util
{

class UnitWalker
{
public:
    virtual ~UnitWalker() = default;
    virtual void OnUnitBegin() = 0;
    virtual void OnEnd() = 0;
    virtual void OnProperty(std::string_view name) = 0;
    virtual void OnTrait(std::string_view name) = 0;
    virtual void OnNil() = 0;
    virtual void OnError(const Common::Error& value) = 0;
    virtual void OnString(Common::WideStringView value) = 0;
    virtual void OnGuid(const Common::Guid& value) = 0;
    virtual void OnBlob(std::span<const std::uint8_t> value) = 0;
    virtual void OnDouble(double value) = 0;
    virtual void OnSQWord(std::int64_t value) = 0;
    virtual void OnQWord(std::uint64_t value) = 0;
    virtual void OnSDWord(std::int32_t value) = 0;
    virtual void OnDWord(std::uint32_t value) = 0;
    virtual void OnSWord(std::int16_t value) = 0;
    virtual void OnWord(std::uint16_t value) = 0;
    virtual void OnSByte(std::int8_t value) = 0;
    virtual void OnByte(std::uint8_t value) = 0;
    virtual void OnBoolean(bool value) = 0;
    virtual void OnArray() = 0;
    virtual void OnComposite() = 0;
};

// Forwards every event; filters override what they change.
class DelegatingUnitWalker : public UnitWalker
{
public:
    explicit DelegatingUnitWalker(UnitWalker& next) : Next(next) {}
    void OnUnitBegin() override { Next.OnUnitBegin(); }
    void OnEnd() override { Next.OnEnd(); }
    void OnProperty(std::string_view name) override { Next.OnProperty(name); }
    void OnTrait(std::string_view name) override { Next.OnTrait(name); }
    void OnNil() override { Next.OnNil(); }
    void OnError(const Common::Error& value) override { Next.OnError(value); }
    void OnString(Common::WideStringView value) override { Next.OnString(value); }
    void OnGuid(const Common::Guid& value) override { Next.OnGuid(value); }
    void OnBlob(std::span<const std::uint8_t> value) override { Next.OnBlob(value); }
    void OnDouble(double value) override { Next.OnDouble(value); }
    void OnSQWord(std::int64_t value) override { Next.OnSQWord(value); }
    void OnQWord(std::uint64_t value) override { Next.OnQWord(value); }
    void OnSDWord(std::int32_t value) override { Next.OnSDWord(value); }
    void OnDWord(std::uint32_t value) override { Next.OnDWord(value); }
    void OnSWord(std::int16_t value) override { Next.OnSWord(value); }
    void OnWord(std::uint16_t value) override { Next.OnWord(value); }
    void OnSByte(std::int8_t value) override { Next.OnSByte(value); }
    void OnByte(std::uint8_t value) override { Next.OnByte(value); }
    void OnBoolean(bool value) override { Next.OnBoolean(value); }
    void OnArray() override { Next.OnArray(); }
    void OnComposite() override { Next.OnComposite(); }

protected:
    UnitWalker& Next;
};

class UnitAccumulator;

// Builds the unit that the events describe.
class UnitBuildingWalker final : public UnitWalker
{
public:
    explicit UnitBuildingWalker(const Construction::UnitFactory& factory);
    ~UnitBuildingWalker() override;

    void OnUnitBegin() override;
    void OnEnd() override;
    void OnProperty(std::string_view name) override;
    void OnTrait(std::string_view name) override;
    void OnNil() override;
    void OnError(const Common::Error& value) override;
    void OnString(Common::WideStringView value) override;
    void OnGuid(const Common::Guid& value) override;
    void OnBlob(std::span<const std::uint8_t> value) override;
    void OnDouble(double value) override;
    void OnSQWord(std::int64_t value) override;
    void OnQWord(std::uint64_t value) override;
    void OnSDWord(std::int32_t value) override;
    void OnDWord(std::uint32_t value) override;
    void OnSWord(std::int16_t value) override;
    void OnWord(std::uint16_t value) override;
    void OnSByte(std::int8_t value) override;
    void OnByte(std::uint8_t value) override;
    void OnBoolean(bool value) override;
    void OnArray() override;
    void OnComposite() override;

    // The unit built; null before any event.
    UnitPtr Result();

private:
    std::unique_ptr<UnitAccumulator> Accumulator;
};

// The two branches a guide chooses between at each unit.
class TraitValueCrossroad
{
public:
    virtual ~TraitValueCrossroad() = default;
    // The value's events; without recursion a composite or array gives only its opening event.
    virtual void WalkValue(bool recursive) = 0;
    virtual void WalkTraits() = 0;
};

class TraitValueGuide
{
public:
    virtual ~TraitValueGuide() = default;
    virtual void Guide(TraitValueCrossroad& crossroad) const = 0;
};

// Value, then traits: the order of the blob form.
class WalkValueFirstGuide final : public TraitValueGuide
{
public:
    void Guide(TraitValueCrossroad& crossroad) const override;
};

class WalkTraitsFirstGuide final : public TraitValueGuide
{
public:
    void Guide(TraitValueCrossroad& crossroad) const override;
};

// The first unit: its traits and its value without its children; every later unit as `next` says.
class WalkNotRecursiveWithTraitsGuide final : public TraitValueGuide
{
public:
    explicit WalkNotRecursiveWithTraitsGuide(const TraitValueGuide& next) : Next(next) {}
    void Guide(TraitValueCrossroad& crossroad) const override;

private:
    const TraitValueGuide& Next;
    mutable bool First = true;
};

// Walks a unit tree.
class HierarchyRoute
{
public:
    explicit HierarchyRoute(const View::Unit& unit) : Root(unit) {}
    void Follow(UnitWalker& walker, const TraitValueGuide& guide) const;
    void Follow(UnitWalker& walker) const;

private:
    const View::Unit& Root;
};

} // namespace Por::Util
