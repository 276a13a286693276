// MaskingUnit shows the part of a composite that a mask names: each property of the composite mask that
// the unit has, whole, or masked again when the mask's value is itself a composite. A mask property the
// unit lacks shows nothing; a unit that is not a composite, or a mask that is not one, shows whole.
// Traits show as they are. Both units must outlive the view; Util::Mask copies it into a unit of its own.
#pragma once

#include "por/DecoratorBasics.h"

#include <memory>
#include <optional>
#include <unordered_map>

namespace Por
{

class MaskedProperty;

// The covered composite seen through the composite `mask`, in the mask's (name) order. Properties
// masked again are made on first read and kept as long as this value.
class MaskedCompositeValue final : public Detail::CompositeValueOverlay
{
public:
    explicit MaskedCompositeValue(const View::CompositeValue& mask);
    ~MaskedCompositeValue() override;

    void ForEach(ItemProcessor<const View::Property>& processor) const override;
    bool Find(std::string_view name, ItemProcessor<const View::Property>& processor) const override;
    std::unique_ptr<View::CompositeIterator> GetIterator() const override;
    const View::Property* Find(std::string_view name) const override;
    std::size_t Size() const override;

    // What shows for one property of the mask: null when the covered composite lacks it.
    const View::Property* Show(const View::Property& maskProperty) const;

private:
    const View::CompositeValue& Mask;
    mutable std::unordered_map<const View::Property*, std::unique_ptr<MaskedProperty>> Masked;
};

// Walks the mask and gives `next` what shows for each of its properties.
class MaskPropertyProcessor final : public ItemProcessor<const View::Property>
{
public:
    MaskPropertyProcessor(const MaskedCompositeValue& masked, ItemProcessor<const View::Property>& next)
        : Masked(masked), Next(next)
    {
    }
    bool Process(const View::Property& maskProperty) override;

private:
    const MaskedCompositeValue& Masked;
    ItemProcessor<const View::Property>& Next;
};

class MaskingUnit final : public View::Unit
{
public:
    MaskingUnit(const View::Unit& unit, const View::Unit& mask);
    ~MaskingUnit() override;
    void Visit(View::UnitReader& reader) const override;
    const View::Traits& GetTraits() const override { return Inner.GetTraits(); }

private:
    const View::Unit& Inner;
    mutable std::optional<MaskedCompositeValue> Value; // empty: the mask is no composite
};

// A property of the covered composite with its value masked by a sub-mask.
class MaskedProperty final : public View::Property
{
public:
    MaskedProperty(const View::Property& property, const View::Unit& mask)
        : Name(property.GetName()), Value(property.GetValue(), mask)
    {
    }
    const std::string& GetName() const override { return Name; }
    const View::Unit& GetValue() const override { return Value; }

private:
    const std::string& Name;
    MaskingUnit Value;
};

namespace Util
{
// A deep copy of what MaskingUnit(unit, mask) shows, made with `factory`.
UnitPtr Mask(const View::Unit& unit, const View::Unit& mask, const Construction::UnitFactory& factory);
} // namespace Util

} // namespace Por
