#include "por/MaskingUnit.h"

#include "por/Errors.h"
#include "por/UnitAccess.h"

namespace Por
{
namespace
{

class MaskedIterator final : public View::CompositeIterator
{
public:
    MaskedIterator(const MaskedCompositeValue& owner, std::unique_ptr<View::CompositeIterator> mask)
        : Owner(owner), Mask(std::move(mask))
    {
        Settle();
    }
    bool IsValid() const override { return Shown != nullptr; }
    const View::Property& Current() const override
    {
        if (Shown == nullptr)
        {
            throw Errors::InvalidIteratorAccessAttempt();
        }
        return *Shown;
    }
    void Next() override
    {
        if (Mask->IsValid())
        {
            Mask->Next();
        }
        Settle();
    }

private:
    void Settle()
    {
        for (Shown = nullptr; Mask->IsValid(); Mask->Next())
        {
            Shown = Owner.Show(Mask->Current());
            if (Shown != nullptr)
            {
                return;
            }
        }
    }

    const MaskedCompositeValue& Owner;
    std::unique_ptr<View::CompositeIterator> Mask;
    const View::Property* Shown = nullptr;
};

} // namespace

MaskedCompositeValue::MaskedCompositeValue(const View::CompositeValue& mask) : Mask(mask) {}
MaskedCompositeValue::~MaskedCompositeValue() = default;

const View::Property* MaskedCompositeValue::Show(const View::Property& maskProperty) const
{
    const View::Property* property = GetInner().Find(maskProperty.GetName());
    if (property == nullptr || !Util::IsComposite(maskProperty.GetValue()))
    {
        return property;
    }
    std::unique_ptr<MaskedProperty>& masked = Masked[&maskProperty];
    if (masked == nullptr)
    {
        masked = std::make_unique<MaskedProperty>(*property, maskProperty.GetValue());
    }
    return masked.get();
}

bool MaskPropertyProcessor::Process(const View::Property& maskProperty)
{
    const View::Property* shown = Masked.Show(maskProperty);
    return shown != nullptr && Next.Process(*shown);
}

void MaskedCompositeValue::ForEach(ItemProcessor<const View::Property>& processor) const
{
    MaskPropertyProcessor masking(*this, processor);
    Mask.ForEach(masking);
}

bool MaskedCompositeValue::Find(std::string_view name, ItemProcessor<const View::Property>& processor) const
{
    const View::Property* shown = Find(name);
    if (shown != nullptr)
    {
        processor.Process(*shown);
    }
    return shown != nullptr;
}

std::unique_ptr<View::CompositeIterator> MaskedCompositeValue::GetIterator() const
{
    return std::make_unique<MaskedIterator>(*this, Mask.GetIterator());
}

const View::Property* MaskedCompositeValue::Find(std::string_view name) const
{
    const View::Property* maskProperty = Mask.Find(name);
    return maskProperty != nullptr ? Show(*maskProperty) : nullptr;
}

std::size_t MaskedCompositeValue::Size() const
{
    std::size_t size = 0;
    auto count =
        MakeProcessor<const View::Property>([&](const View::Property& maskProperty)
                                            { size += GetInner().Find(maskProperty.GetName()) != nullptr; });
    Mask.ForEach(count);
    return size;
}

MaskingUnit::MaskingUnit(const View::Unit& unit, const View::Unit& mask) : Inner(unit)
{
    if (const View::CompositeValue* composite = Util::FindComposite(mask))
    {
        Value.emplace(*composite);
    }
}

MaskingUnit::~MaskingUnit() = default;

void MaskingUnit::Visit(View::UnitReader& reader) const
{
    if (!Value)
    {
        Inner.Visit(reader);
        return;
    }
    Detail::CompositeOverlayReader masking(reader, *Value);
    Inner.Visit(masking);
}

namespace Util
{
UnitPtr Mask(const View::Unit& unit, const View::Unit& mask, const Construction::UnitFactory& factory)
{
    return Copy(MaskingUnit(unit, mask), factory);
}
} // namespace Util

} // namespace Por
