// The pieces that unit decorators are made of: a trait and a property that borrow their unit, a processor
// that steps over one name, a reader that forwards every kind, DelegatingUnit (another unit shown as it
// is) and the shared empty views. Everything here borrows: units given must outlive the object.
#pragma once

#include "por/Unit.h"
#include "por/Values.h"
#include "por/Visitor.h"

#include <string>
#include <string_view>

namespace Por
{

// A trait that shows a unit it does not own.
class WeakTrait final : public View::Trait
{
public:
    WeakTrait(std::string_view name, const View::Unit& value) : Name(name), Value(value) {}
    const std::string& GetName() const override { return Name; }
    const View::Unit& GetValue() const override { return Value; }

private:
    std::string Name;
    const View::Unit& Value;
};

// A property that shows a unit it does not own.
class WeakProperty final : public View::Property
{
public:
    WeakProperty(std::string_view name, const View::Unit& value) : Name(name), Value(value) {}
    const std::string& GetName() const override { return Name; }
    const View::Unit& GetValue() const override { return Value; }

private:
    std::string Name;
    const View::Unit& Value;
};

// Passes items on to `next` except those named `name`. T is a const View::Trait or View::Property.
template <typename T>
class SkippingProcessor final : public ItemProcessor<T>
{
public:
    SkippingProcessor(ItemProcessor<T>& next, std::string_view name) : Next(next), Name(name) {}
    bool Process(T& item) override { return item.GetName() != Name && Next.Process(item); }

private:
    ItemProcessor<T>& Next;
    std::string_view Name;
};

// Forwards every operation to `next`; a decorator overrides the kind it shows differently.
class DelegatingUnitReader : public View::UnitReader
{
public:
    explicit DelegatingUnitReader(View::UnitReader& next) : Next(next) {}
    POR_FORWARD_VISITOR_OPERATIONS(const, View, Next.Visit(value))

protected:
    View::UnitReader& Next;
};

// Shows another unit as it is; the base of decorators that change one side of it.
class DelegatingUnit : public View::Unit
{
public:
    explicit DelegatingUnit(const View::Unit& unit) : Inner(unit) {}
    void Visit(View::UnitReader& reader) const override { Inner.Visit(reader); }
    const View::Traits& GetTraits() const override { return Inner.GetTraits(); }

protected:
    const View::Unit& Inner;
};

namespace Detail
{

// Shared views with nothing in them; they live as long as the process.
const View::Traits& EmptyTraits();
const View::Unit& NilUnitView();

// A composite value shown in place of another: a decorated unit binds it to the value it covers each
// time the unit is visited, so it is only ever reached bound.
class CompositeValueOverlay : public View::CompositeValue
{
public:
    void Bind(const View::CompositeValue& inner) { Inner = &inner; }

protected:
    const View::CompositeValue& GetInner() const { return *Inner; }

private:
    const View::CompositeValue* Inner = nullptr;
};

// Forwards every kind, but shows a composite as `overlay`, bound to it first.
class CompositeOverlayReader final : public DelegatingUnitReader
{
public:
    CompositeOverlayReader(View::UnitReader& next, CompositeValueOverlay& overlay)
        : DelegatingUnitReader(next), Overlay(overlay)
    {
    }
    using DelegatingUnitReader::Visit;
    void Visit(const View::CompositeValue& value) override
    {
        Overlay.Bind(value);
        Next.Visit(Overlay);
    }

private:
    CompositeValueOverlay& Overlay;
};

// A unit shown with its composite value covered by an overlay; its traits and other kinds as they are.
// The overlay is usually a member of the derived class: it is not touched before the first Visit.
class CompositeOverlayUnit : public View::Unit
{
public:
    void Visit(View::UnitReader& reader) const override
    {
        CompositeOverlayReader overlaid(reader, Overlay);
        Inner.Visit(overlaid);
    }
    const View::Traits& GetTraits() const override { return Inner.GetTraits(); }

protected:
    CompositeOverlayUnit(const View::Unit& unit, CompositeValueOverlay& overlay)
        : Inner(unit), Overlay(overlay)
    {
    }

    const View::Unit& Inner;

private:
    CompositeValueOverlay& Overlay;
};

} // namespace Detail
} // namespace Por
