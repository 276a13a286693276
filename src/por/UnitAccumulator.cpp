#include "por/UnitAccumulator.h"

#include "common/SafeAssert.h"
#include "por/Unit.h"
#include "por/UnitAccess.h"
#include "por/UnitFactory.h"

#include <charconv>

namespace Por::Util
{

UnitAccumulator::UnitAccumulator(const Construction::UnitFactory& factory) : Factory(factory) {}

UnitAccumulator::UnitAccumulator(const Construction::UnitFactory& factory, UnitPtr root)
    : Factory(factory), Root(std::move(root))
{
    SAFE_ASSERT(Root != nullptr);
    if (Root != nullptr)
    {
        Frames.push_back(
            Frame{{}, IsArray(*Root) ? FrameState::ExistingArrayRoot : FrameState::ExistingComposite, Root});
    }
}

UnitAccumulator::~UnitAccumulator() = default;

void UnitAccumulator::Take(UnitPtr unit)
{
    Frame* top = Top();
    if (top == nullptr)
    {
        SAFE_ASSERT_TEXT(Root == nullptr, "UnitAccumulator: a second root");
        if (Root == nullptr)
        {
            Root = unit;
            Frames.push_back(Frame{{}, FrameState::Value, std::move(unit)});
        }
        return;
    }
    if (top->Unit == nullptr)
    {
        top->Unit = std::move(unit);
        for (TraitPtr& trait : top->PendingTraits)
        {
            top->Unit->GetTraits().Add(std::move(trait));
        }
        top->PendingTraits.clear();
        if (Frames.size() == 1 && top->State == FrameState::Value)
        {
            Root = top->Unit;
        }
        return;
    }
    if (IsArray(*top->Unit))
    {
        Frames.push_back(Frame{{}, FrameState::ArrayElement, std::move(unit)});
        return;
    }
    const bool existing = top->State == FrameState::ExistingProperty ||
                          top->State == FrameState::ExistingComposite ||
                          top->State == FrameState::ExistingElement;
    SAFE_ASSERT_TEXT(existing, "UnitAccumulator: a second value for one unit");
    if (existing)
    {
        top->Unit = std::move(unit); // a new value replaces what was there
        top->State = top->State == FrameState::ExistingElement ? top->State : FrameState::ExistingProperty;
    }
}

void UnitAccumulator::OnNil()
{
    Take(Factory.CreateNil());
}
void UnitAccumulator::OnBoolean(bool value)
{
    Take(Factory.CreateBoolean(value));
}
void UnitAccumulator::OnByte(std::uint8_t value)
{
    Take(Factory.CreateByte(value));
}
void UnitAccumulator::OnSByte(std::int8_t value)
{
    Take(Factory.CreateSByte(value));
}
void UnitAccumulator::OnWord(std::uint16_t value)
{
    Take(Factory.CreateWord(value));
}
void UnitAccumulator::OnSWord(std::int16_t value)
{
    Take(Factory.CreateSWord(value));
}
void UnitAccumulator::OnDWord(std::uint32_t value)
{
    Take(Factory.CreateDWord(value));
}
void UnitAccumulator::OnSDWord(std::int32_t value)
{
    Take(Factory.CreateSDWord(value));
}
void UnitAccumulator::OnQWord(std::uint64_t value)
{
    Take(Factory.CreateQWord(value));
}
void UnitAccumulator::OnSQWord(std::int64_t value)
{
    Take(Factory.CreateSQWord(value));
}
void UnitAccumulator::OnDouble(double value)
{
    Take(Factory.CreateDouble(value));
}
void UnitAccumulator::OnBlob(const Blob& value)
{
    Take(Factory.CreateBlob(value));
}
void UnitAccumulator::OnGuid(const Common::Guid& value)
{
    Take(Factory.CreateGuid(value));
}
void UnitAccumulator::OnString(const String& value)
{
    Take(Factory.CreateString(value));
}
void UnitAccumulator::OnError(const Common::Error& value)
{
    Take(Factory.CreateError(value));
}

void UnitAccumulator::BeginArray()
{
    Frame* top = Top();
    if (top != nullptr && top->Unit != nullptr && !top->Opened &&
        (top->State == FrameState::ExistingProperty || top->State == FrameState::ExistingElement) &&
        IsArray(*top->Unit))
    {
        top->Opened = true; // an existing array receives further elements
        return;
    }
    Take(Factory.CreateArray());
}

void UnitAccumulator::BeginComposite()
{
    Frame* top = Top();
    if (top != nullptr && top->Unit != nullptr && !top->Opened &&
        (top->State == FrameState::ExistingProperty || top->State == FrameState::ExistingElement) &&
        IsComposite(*top->Unit))
    {
        top->Opened = true;
        top->State = top->State == FrameState::ExistingElement ? top->State : FrameState::ExistingComposite;
        return; // building goes into the composite that is there
    }
    Take(Factory.CreateComposite());
}

void UnitAccumulator::BeginProperty(std::string_view name)
{
    Frame* top = Top();
    SAFE_ASSERT_TEXT(top != nullptr && top->Unit != nullptr, "UnitAccumulator: a property outside a unit");
    if (top == nullptr || top->Unit == nullptr)
    {
        return;
    }
    if (Construction::CompositeValue* composite = FindComposite(*top->Unit))
    {
        if (Construction::Property* existing = composite->FindProperty(name))
        {
            Frames.push_back(
                Frame{std::string(name), FrameState::ExistingProperty, existing->GetValuePointer()});
        }
        else
        {
            Frames.push_back(Frame{std::string(name), FrameState::Property, nullptr});
        }
        return;
    }
    if (IsArray(*top->Unit))
    {
        Construction::ArrayValue& array = GetArray(*top->Unit);
        std::size_t index = 0;
        const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), index);
        if (error == std::errc() && end == name.data() + name.size() && index < array.Size())
        {
            Frames.push_back(
                Frame{std::string(name), FrameState::ExistingElement, array.GetPointer(index), index});
            return;
        }
    }
    SAFE_ASSERT_TEXT(false, "UnitAccumulator: a property of a value that has none");
}

void UnitAccumulator::BeginUnit()
{
    Frame* top = Top();
    if (top == nullptr)
    {
        SAFE_ASSERT_TEXT(Root == nullptr, "UnitAccumulator: a second root");
        if (Root == nullptr)
        {
            Frames.push_back(Frame{{}, FrameState::Value, nullptr});
            Frames.back().Begun = true;
        }
        return;
    }
    if (!top->Begun)
    {
        top->Begun = true; // the value of the property or trait just opened
        return;
    }
    if (top->Unit != nullptr && IsArray(*top->Unit))
    {
        Frames.push_back(Frame{{}, FrameState::ArrayElement, nullptr});
        Frames.back().Begun = true;
    }
}

void UnitAccumulator::BeginTrait(std::string_view name)
{
    Frame* top = Top();
    SAFE_ASSERT_TEXT(top != nullptr, "UnitAccumulator: a trait outside a unit");
    if (top != nullptr)
    {
        Frames.push_back(Frame{std::string(name), FrameState::Trait, nullptr});
    }
}

void UnitAccumulator::End()
{
    SAFE_ASSERT_TEXT(!Frames.empty(), "UnitAccumulator: End without a frame");
    if (Frames.empty())
    {
        return;
    }
    Frame frame = std::move(Frames.back());
    Frames.pop_back();
    Frame* parent = Top();
    if (parent == nullptr)
    {
        return; // the root is finished
    }
    UnitPtr unit = frame.Unit != nullptr ? std::move(frame.Unit) : Factory.CreateNil();
    if (parent->Unit == nullptr)
    {
        // Only traits can come before their unit's value.
        SAFE_ASSERT_TEXT(frame.State == FrameState::Trait, "UnitAccumulator: a value without its unit");
        if (frame.State == FrameState::Trait)
        {
            parent->PendingTraits.push_back(Factory.CreateTrait(std::move(frame.Name), std::move(unit)));
        }
        return;
    }
    switch (frame.State)
    {
    case FrameState::Property:
    case FrameState::ExistingProperty:
    case FrameState::ExistingComposite:
        GetComposite(*parent->Unit).Set(Factory.CreateProperty(std::move(frame.Name), std::move(unit)));
        break;
    case FrameState::Trait:
        parent->Unit->GetTraits().Add(Factory.CreateTrait(std::move(frame.Name), std::move(unit)));
        break;
    case FrameState::ArrayElement:
        GetArray(*parent->Unit).PushBack(std::move(unit));
        break;
    case FrameState::ExistingElement:
    {
        Construction::ArrayValue& array = GetArray(*parent->Unit);
        if (array.GetPointer(frame.Count) != unit)
        {
            array.RemoveAt(frame.Count);
            array.Insert(frame.Count, std::move(unit));
        }
        break;
    }
    case FrameState::Value:
    case FrameState::ExistingArrayRoot:
        break;
    }
}

UnitPtr UnitAccumulator::Result()
{
    return Root;
}

Build::Build(const Construction::UnitFactory& factory)
    : Accumulator(std::make_unique<UnitAccumulator>(factory))
{
}
Build::Build() : Build(GetUnitFactory()) {}
Build::Build(Build&&) noexcept = default;
Build::~Build() = default;

UnitBuilder& Build::Events()
{
    return *Accumulator;
}

Build& Build::Nil()
{
    Accumulator->OnNil();
    return *this;
}

Build& Build::Array()
{
    Accumulator->BeginArray();
    return *this;
}

Build& Build::Composite()
{
    Accumulator->BeginComposite();
    return *this;
}

Build& Build::Property(std::string_view name)
{
    Accumulator->BeginProperty(name);
    return *this;
}

Build& Build::Trait(std::string_view name)
{
    Accumulator->BeginTrait(name);
    return *this;
}

Build& Build::End()
{
    Accumulator->End();
    return *this;
}

UnitPtr Build::Done()
{
    while (Accumulator->Depth() > 0)
    {
        Accumulator->End();
    }
    return Accumulator->Result();
}

} // namespace Por::Util
