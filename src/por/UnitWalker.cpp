#include "por/UnitWalker.h"

#include "por/UnitAccumulator.h"
#include "por/UnitFactory.h"
#include "por/Values.h"
#include "por/Visitor.h"

namespace Por::Util
{
namespace
{

void Walk(const View::Unit& unit, UnitWalker& walker, const TraitValueGuide& guide);

class Crossroad final : public TraitValueCrossroad
{
public:
    Crossroad(const View::Unit& unit, UnitWalker& walker, const TraitValueGuide& guide)
        : Unit(unit), Walker(walker), Guide(guide)
    {
    }

    void WalkValue(bool recursive) override
    {
        Read(Unit, [&](const auto& value) { Emit(value, recursive); });
    }

    void WalkTraits() override
    {
        auto each = MakeProcessor<const View::Trait>(
            [&](const View::Trait& trait)
            {
                Walker.OnTrait(trait.GetName());
                Walk(trait.GetValue(), Walker, Guide);
            });
        Unit.GetTraits().ForEach(each);
    }

private:
    void Emit(const View::NilValue&, bool) { Walker.OnNil(); }
    void Emit(const View::ComplexValue<Common::Error>& value, bool) { Walker.OnError(value.Get()); }
    void Emit(const View::ComplexValue<String>& value, bool) { Walker.OnString(value.Get()); }
    void Emit(const View::ComplexValue<Common::Guid>& value, bool) { Walker.OnGuid(value.Get()); }
    void Emit(const View::ComplexValue<Blob>& value, bool) { Walker.OnBlob(value.Get()); }
    void Emit(const View::ScalarValue<double>& value, bool) { Walker.OnDouble(value.Get()); }
    void Emit(const View::ScalarValue<std::int64_t>& value, bool) { Walker.OnSQWord(value.Get()); }
    void Emit(const View::ScalarValue<std::uint64_t>& value, bool) { Walker.OnQWord(value.Get()); }
    void Emit(const View::ScalarValue<std::int32_t>& value, bool) { Walker.OnSDWord(value.Get()); }
    void Emit(const View::ScalarValue<std::uint32_t>& value, bool) { Walker.OnDWord(value.Get()); }
    void Emit(const View::ScalarValue<std::int16_t>& value, bool) { Walker.OnSWord(value.Get()); }
    void Emit(const View::ScalarValue<std::uint16_t>& value, bool) { Walker.OnWord(value.Get()); }
    void Emit(const View::ScalarValue<std::int8_t>& value, bool) { Walker.OnSByte(value.Get()); }
    void Emit(const View::ScalarValue<std::uint8_t>& value, bool) { Walker.OnByte(value.Get()); }
    void Emit(const View::ScalarValue<bool>& value, bool) { Walker.OnBoolean(value.Get()); }

    void Emit(const View::ArrayValue& value, bool recursive)
    {
        Walker.OnArray();
        for (std::size_t i = 0; recursive && i < value.Size(); ++i)
        {
            Walk(value.Get(i), Walker, Guide);
        }
    }

    void Emit(const View::CompositeValue& value, bool recursive)
    {
        Walker.OnComposite();
        if (!recursive)
        {
            return;
        }
        auto each = MakeProcessor<const View::Property>(
            [&](const View::Property& property)
            {
                Walker.OnProperty(property.GetName());
                Walk(property.GetValue(), Walker, Guide);
            });
        value.ForEach(each);
    }

    const View::Unit& Unit;
    UnitWalker& Walker;
    const TraitValueGuide& Guide;
};

void Walk(const View::Unit& unit, UnitWalker& walker, const TraitValueGuide& guide)
{
    walker.OnUnitBegin();
    Crossroad crossroad(unit, walker, guide);
    guide.Guide(crossroad);
    walker.OnEnd();
}

} // namespace

void WalkValueFirstGuide::Guide(TraitValueCrossroad& crossroad) const
{
    crossroad.WalkValue(true);
    crossroad.WalkTraits();
}

void WalkTraitsFirstGuide::Guide(TraitValueCrossroad& crossroad) const
{
    crossroad.WalkTraits();
    crossroad.WalkValue(true);
}

void WalkNotRecursiveWithTraitsGuide::Guide(TraitValueCrossroad& crossroad) const
{
    if (!First)
    {
        Next.Guide(crossroad);
        return;
    }
    First = false;
    crossroad.WalkTraits();
    crossroad.WalkValue(false);
}

void HierarchyRoute::Follow(UnitWalker& walker, const TraitValueGuide& guide) const
{
    Walk(Root, walker, guide);
}

void HierarchyRoute::Follow(UnitWalker& walker) const
{
    Follow(walker, WalkValueFirstGuide());
}

UnitBuildingWalker::UnitBuildingWalker(const Construction::UnitFactory& factory)
    : Accumulator(std::make_unique<UnitAccumulator>(factory))
{
}

UnitBuildingWalker::~UnitBuildingWalker() = default;

void UnitBuildingWalker::OnUnitBegin()
{
    Accumulator->BeginUnit();
}

void UnitBuildingWalker::OnEnd()
{
    Accumulator->End();
}
void UnitBuildingWalker::OnProperty(std::string_view name)
{
    Accumulator->BeginProperty(name);
}
void UnitBuildingWalker::OnTrait(std::string_view name)
{
    Accumulator->BeginTrait(name);
}
void UnitBuildingWalker::OnNil()
{
    Accumulator->OnNil();
}
void UnitBuildingWalker::OnError(const Common::Error& value)
{
    Accumulator->OnError(value);
}
void UnitBuildingWalker::OnString(Common::WideStringView value)
{
    Accumulator->OnString(String(value));
}
void UnitBuildingWalker::OnGuid(const Common::Guid& value)
{
    Accumulator->OnGuid(value);
}
void UnitBuildingWalker::OnBlob(std::span<const std::uint8_t> value)
{
    Accumulator->OnBlob(Blob(value.begin(), value.end()));
}
void UnitBuildingWalker::OnDouble(double value)
{
    Accumulator->OnDouble(value);
}
void UnitBuildingWalker::OnSQWord(std::int64_t value)
{
    Accumulator->OnSQWord(value);
}
void UnitBuildingWalker::OnQWord(std::uint64_t value)
{
    Accumulator->OnQWord(value);
}
void UnitBuildingWalker::OnSDWord(std::int32_t value)
{
    Accumulator->OnSDWord(value);
}
void UnitBuildingWalker::OnDWord(std::uint32_t value)
{
    Accumulator->OnDWord(value);
}
void UnitBuildingWalker::OnSWord(std::int16_t value)
{
    Accumulator->OnSWord(value);
}
void UnitBuildingWalker::OnWord(std::uint16_t value)
{
    Accumulator->OnWord(value);
}
void UnitBuildingWalker::OnSByte(std::int8_t value)
{
    Accumulator->OnSByte(value);
}
void UnitBuildingWalker::OnByte(std::uint8_t value)
{
    Accumulator->OnByte(value);
}
void UnitBuildingWalker::OnBoolean(bool value)
{
    Accumulator->OnBoolean(value);
}
void UnitBuildingWalker::OnArray()
{
    Accumulator->BeginArray();
}
void UnitBuildingWalker::OnComposite()
{
    Accumulator->BeginComposite();
}

UnitPtr UnitBuildingWalker::Result()
{
    return Accumulator->Result();
}

} // namespace Por::Util
