// Decorators that show a composite with its properties changed: one left out
// (PropertyRemovingUnitDecorator), one replaced or added at its sorted place
// (PropertyReplacingUnitDecorator), or none at all (PropertyLessUnit). Traits show as they are, and a unit
// that is not a composite shows unchanged. Read-only views over units that must outlive them.
#pragma once

#include "por/DecoratorBasics.h"

#include <string>
#include <string_view>

namespace Por
{

// The covered composite without the property `name`.
class PropertyRemovingCompositeValue final : public Detail::CompositeValueOverlay
{
public:
    explicit PropertyRemovingCompositeValue(std::string_view name) : Name(name) {}
    void ForEach(ItemProcessor<const View::Property>& processor) const override;
    bool Find(std::string_view name, ItemProcessor<const View::Property>& processor) const override;
    std::unique_ptr<View::CompositeIterator> GetIterator() const override;
    const View::Property* Find(std::string_view name) const override;
    std::size_t Size() const override;

private:
    std::string Name;
};

// The covered composite with `replacement` in place of its property of that name, or added at its place
// in name order (strcmp) when there is none. The replacement is borrowed.
class PropertyReplacingCompositeValue final : public Detail::CompositeValueOverlay
{
public:
    PropertyReplacingCompositeValue(std::string_view name, const View::Unit& value) : Replacement(name, value)
    {
    }
    void ForEach(ItemProcessor<const View::Property>& processor) const override;
    bool Find(std::string_view name, ItemProcessor<const View::Property>& processor) const override;
    std::unique_ptr<View::CompositeIterator> GetIterator() const override;
    const View::Property* Find(std::string_view name) const override;
    std::size_t Size() const override;

    // What the enumeration gives at the next inner property, in name order.
    enum class Placement
    {
        InnerFirst,       // the inner property; the replacement comes later, or came already
        ReplacementFirst, // the replacement, then the inner property
        Instead,          // the replacement; the inner property has its name and is left out
        Skip,             // nothing: the inner property repeats the name of the replacement given already
    };
    // `placed` tells whether the replacement was given already; an inner property that then sorts at or
    // before it means the composite below broke its order (asserted, and left out when of the same name).
    Placement Place(const View::Property& inner, bool placed) const;
    const View::Property& GetReplacement() const { return Replacement; }

private:
    WeakProperty Replacement;
};

// A composite without the property `name`.
class PropertyRemovingUnitDecorator final : public Detail::CompositeOverlayUnit
{
public:
    PropertyRemovingUnitDecorator(const View::Unit& unit, std::string_view name)
        : CompositeOverlayUnit(unit, Value), Value(name)
    {
    }

private:
    mutable PropertyRemovingCompositeValue Value;
};

// A composite with the property `name` showing `value` (borrowed), whether or not it had one.
class PropertyReplacingUnitDecorator final : public Detail::CompositeOverlayUnit
{
public:
    PropertyReplacingUnitDecorator(const View::Unit& unit, std::string_view name, const View::Unit& value)
        : CompositeOverlayUnit(unit, Value), Value(name, value)
    {
    }

private:
    mutable PropertyReplacingCompositeValue Value;
};

// The traits of a composite over an empty composite value.
class PropertyLessUnit final : public Detail::CompositeOverlayUnit
{
public:
    explicit PropertyLessUnit(const View::Unit& unit);

private:
    class EmptyComposite final : public Detail::CompositeValueOverlay
    {
    public:
        void ForEach(ItemProcessor<const View::Property>&) const override {}
        bool Find(std::string_view, ItemProcessor<const View::Property>&) const override { return false; }
        std::unique_ptr<View::CompositeIterator> GetIterator() const override;
        const View::Property* Find(std::string_view) const override { return nullptr; }
        std::size_t Size() const override { return 0; }
    };
    mutable EmptyComposite Value;
};

} // namespace Por
