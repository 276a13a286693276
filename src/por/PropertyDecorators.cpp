#include "por/PropertyDecorators.h"

#include "common/SafeAssert.h"
#include "por/Errors.h"

#include <cstring>

namespace Por
{
namespace
{

class RemovingIterator final : public View::CompositeIterator
{
public:
    RemovingIterator(std::unique_ptr<View::CompositeIterator> inner, std::string_view name)
        : Inner(std::move(inner)), Name(name)
    {
        Settle();
    }
    bool IsValid() const override { return Inner->IsValid(); }
    const View::Property& Current() const override { return Inner->Current(); }
    void Next() override
    {
        Inner->Next();
        Settle();
    }

private:
    void Settle()
    {
        while (Inner->IsValid() && Inner->Current().GetName() == Name)
        {
            Inner->Next();
        }
    }

    std::unique_ptr<View::CompositeIterator> Inner;
    std::string_view Name;
};

class ReplacingIterator final : public View::CompositeIterator
{
    using Placement = PropertyReplacingCompositeValue::Placement;

public:
    ReplacingIterator(const PropertyReplacingCompositeValue& owner,
                      std::unique_ptr<View::CompositeIterator> inner)
        : Owner(owner), Inner(std::move(inner))
    {
        Settle();
    }
    bool IsValid() const override { return OnReplacement || Inner->IsValid(); }
    const View::Property& Current() const override
    {
        return OnReplacement ? Owner.GetReplacement() : Inner->Current();
    }
    void Next() override
    {
        if (OnReplacement)
        {
            OnReplacement = false;
        }
        else
        {
            Inner->Next();
        }
        Settle();
    }

private:
    // Moves to what the enumeration gives next; the inner position is what follows the replacement.
    void Settle()
    {
        for (; Inner->IsValid(); Inner->Next())
        {
            switch (Owner.Place(Inner->Current(), Placed))
            {
            case Placement::InnerFirst:
                return;
            case Placement::ReplacementFirst:
                Placed = OnReplacement = true;
                return;
            case Placement::Instead:
                Placed = OnReplacement = true;
                Inner->Next();
                return;
            case Placement::Skip:
                break;
            }
        }
        if (!Placed)
        {
            Placed = OnReplacement = true;
        }
    }

    const PropertyReplacingCompositeValue& Owner;
    std::unique_ptr<View::CompositeIterator> Inner;
    bool Placed = false;
    bool OnReplacement = false;
};

class EmptyIterator final : public View::CompositeIterator
{
public:
    bool IsValid() const override { return false; }
    const View::Property& Current() const override { throw Errors::InvalidIteratorAccessAttempt(); }
    void Next() override {}
};

} // namespace

void PropertyRemovingCompositeValue::ForEach(ItemProcessor<const View::Property>& processor) const
{
    SkippingProcessor<const View::Property> skipping(processor, Name);
    GetInner().ForEach(skipping);
}

bool PropertyRemovingCompositeValue::Find(std::string_view name,
                                          ItemProcessor<const View::Property>& processor) const
{
    return name != Name && GetInner().Find(name, processor);
}

std::unique_ptr<View::CompositeIterator> PropertyRemovingCompositeValue::GetIterator() const
{
    return std::make_unique<RemovingIterator>(GetInner().GetIterator(), Name);
}

const View::Property* PropertyRemovingCompositeValue::Find(std::string_view name) const
{
    return name != Name ? GetInner().Find(name) : nullptr;
}

std::size_t PropertyRemovingCompositeValue::Size() const
{
    return GetInner().Size() - (GetInner().Find(Name) != nullptr ? 1 : 0);
}

PropertyReplacingCompositeValue::Placement PropertyReplacingCompositeValue::Place(const View::Property& inner,
                                                                                  bool placed) const
{
    const int order = std::strcmp(inner.GetName().c_str(), Replacement.GetName().c_str());
    const int sign = (order > 0) - (order < 0);
    if (placed)
    {
        // The composite below is sorted with one property per name: nothing after it may sort before.
        SAFE_ASSERT_TEXT(sign > 0, "Bottom layer logic is broken.");
        return sign == 0 ? Placement::Skip : Placement::InnerFirst;
    }
    switch (sign)
    {
    case -1:
        return Placement::InnerFirst;
    case 0:
        return Placement::Instead;
    case 1:
        return Placement::ReplacementFirst;
    default:
        SAFE_ASSERT_TEXT(false, "Unexpected result of string compare.");
        return Placement::InnerFirst;
    }
}

void PropertyReplacingCompositeValue::ForEach(ItemProcessor<const View::Property>& processor) const
{
    bool placed = false;
    bool stopped = false;
    auto merge = MakeProcessor<const View::Property>(
        [&](const View::Property& inner)
        {
            switch (Place(inner, placed))
            {
            case Placement::InnerFirst:
                stopped = processor.Process(inner);
                break;
            case Placement::ReplacementFirst:
                placed = true;
                stopped = processor.Process(Replacement) || processor.Process(inner);
                break;
            case Placement::Instead:
                placed = true;
                stopped = processor.Process(Replacement);
                break;
            case Placement::Skip:
                break;
            }
            return stopped;
        });
    GetInner().ForEach(merge);
    if (!placed && !stopped)
    {
        processor.Process(Replacement);
    }
}

bool PropertyReplacingCompositeValue::Find(std::string_view name,
                                           ItemProcessor<const View::Property>& processor) const
{
    if (name != Replacement.GetName())
    {
        return GetInner().Find(name, processor);
    }
    processor.Process(Replacement);
    return true;
}

std::unique_ptr<View::CompositeIterator> PropertyReplacingCompositeValue::GetIterator() const
{
    return std::make_unique<ReplacingIterator>(*this, GetInner().GetIterator());
}

const View::Property* PropertyReplacingCompositeValue::Find(std::string_view name) const
{
    return name != Replacement.GetName() ? GetInner().Find(name) : &Replacement;
}

std::size_t PropertyReplacingCompositeValue::Size() const
{
    return GetInner().Size() + (GetInner().Find(Replacement.GetName()) != nullptr ? 0 : 1);
}

PropertyLessUnit::PropertyLessUnit(const View::Unit& unit) : CompositeOverlayUnit(unit, Value) {}

std::unique_ptr<View::CompositeIterator> PropertyLessUnit::EmptyComposite::GetIterator() const
{
    return std::make_unique<EmptyIterator>();
}

} // namespace Por
