#include "por/TraitReplacer.h"

#include "por/Compare.h"
#include "por/DecoratorBasics.h"
#include "por/UnitAccess.h"
#include "por/UnitFactory.h"

namespace Por::Util
{

void TraitReplacer::OnUnitBegin()
{
    if (Swallowing())
    {
        Entered = false;
        ++Depth;
        return;
    }
    Next.OnUnitBegin();
}

void TraitReplacer::OnEnd()
{
    if (Depth == 0) // an announced trait without a unit is no value to replace
    {
        Entered = false;
        Next.OnEnd();
        return;
    }
    if (--Depth == 0)
    {
        HierarchyRoute(Value).Follow(Next);
    }
}

void TraitReplacer::OnProperty(std::string_view name)
{
    if (!Swallowing())
    {
        Next.OnProperty(name);
    }
}

void TraitReplacer::OnTrait(std::string_view name)
{
    if (Swallowing())
    {
        return;
    }
    Next.OnTrait(name);
    Entered = name == Name;
}

#define POR_SWALLOWED_EVENT(EVENT, TYPE)                                                                     \
    void TraitReplacer::EVENT(TYPE value)                                                                    \
    {                                                                                                        \
        if (!Swallowing())                                                                                   \
        {                                                                                                    \
            Next.EVENT(value);                                                                               \
        }                                                                                                    \
    }
POR_SWALLOWED_EVENT(OnError, const Common::Error&)
POR_SWALLOWED_EVENT(OnString, Common::WideStringView)
POR_SWALLOWED_EVENT(OnGuid, const Common::Guid&)
POR_SWALLOWED_EVENT(OnBlob, std::span<const std::uint8_t>)
POR_SWALLOWED_EVENT(OnDouble, double)
POR_SWALLOWED_EVENT(OnSQWord, std::int64_t)
POR_SWALLOWED_EVENT(OnQWord, std::uint64_t)
POR_SWALLOWED_EVENT(OnSDWord, std::int32_t)
POR_SWALLOWED_EVENT(OnDWord, std::uint32_t)
POR_SWALLOWED_EVENT(OnSWord, std::int16_t)
POR_SWALLOWED_EVENT(OnWord, std::uint16_t)
POR_SWALLOWED_EVENT(OnSByte, std::int8_t)
POR_SWALLOWED_EVENT(OnByte, std::uint8_t)
POR_SWALLOWED_EVENT(OnBoolean, bool)
#undef POR_SWALLOWED_EVENT

void TraitReplacer::OnNil()
{
    if (!Swallowing())
    {
        Next.OnNil();
    }
}

void TraitReplacer::OnArray()
{
    if (!Swallowing())
    {
        Next.OnArray();
    }
}

void TraitReplacer::OnComposite()
{
    if (!Swallowing())
    {
        Next.OnComposite();
    }
}

bool ExcludingTraitCopy::Process(const View::Trait& trait)
{
    if (trait.GetName() != Name || !UnitEqual(trait.GetValue(), Value))
    {
        Target.Add(Factory.CreateTrait(trait.GetName(), Copy(trait.GetValue(), Factory)));
    }
    return false;
}

UnitPtr ReplaceTrait(const View::Unit& unit, std::string_view name, const View::Unit& value,
                     const Construction::UnitFactory& factory)
{
    UnitBuildingWalker builder(factory);
    TraitReplacer replacer(builder, name, value);
    HierarchyRoute(unit).Follow(replacer);
    return builder.Result();
}

namespace
{
// The unit without its own traits, so that they can be copied one by one.
class WithoutOwnTraits final : public DelegatingUnit
{
public:
    using DelegatingUnit::DelegatingUnit;
    const View::Traits& GetTraits() const override { return Por::Detail::EmptyTraits(); }
};
} // namespace

UnitPtr CopyExcludingTrait(const View::Unit& unit, std::string_view name, const View::Unit& value,
                           const Construction::UnitFactory& factory)
{
    UnitPtr copy = Copy(WithoutOwnTraits(unit), factory);
    ExcludingTraitCopy traits(copy->GetTraits(), name, value, factory);
    unit.GetTraits().ForEach(traits);
    return copy;
}

} // namespace Por::Util
