#include "por/UnitAccess.h"

#include "common/CatalogIds.h"

namespace Por::Util
{
namespace
{

template <typename Result, typename Face, typename Unit>
Result* FindValue(Unit& unit, ValueKind kind)
{
    Result* found = nullptr;
    auto take = [&](auto& value)
    {
        using Interface = std::remove_cvref_t<decltype(value)>;
        if constexpr (std::is_base_of_v<Face, Interface>)
        {
            found = &value;
        }
    };
    if constexpr (std::is_const_v<Unit>)
    {
        Read(unit, take);
    }
    else if constexpr (std::is_base_of_v<Construction::Unit, Unit>)
    {
        Build(unit, take);
    }
    else
    {
        Write(unit, take);
    }
    (void)kind;
    return found;
}

template <typename Result, typename Face, typename Unit>
Result& GetValueOf(Unit& unit, ValueKind kind)
{
    Result* found = FindValue<Result, Face>(unit, kind);
    if (found == nullptr)
    {
        throw Detail::MakeTypeMismatchError(kind, GetValueTypeIndex(unit));
    }
    return *found;
}

} // namespace

bool HaveSameType(const View::Unit& left, const View::Unit& right)
{
    return GetValueTypeIndex(left) == GetValueTypeIndex(right);
}

const View::ArrayValue& GetArray(const View::Unit& unit)
{
    return GetValueOf<const View::ArrayValue, View::ArrayValue>(unit, ValueKind::Array);
}
const View::CompositeValue& GetComposite(const View::Unit& unit)
{
    return GetValueOf<const View::CompositeValue, View::CompositeValue>(unit, ValueKind::Composite);
}
Modification::ArrayValue& GetArray(Modification::Unit& unit)
{
    return GetValueOf<Modification::ArrayValue, Modification::ArrayValue>(unit, ValueKind::Array);
}
Modification::CompositeValue& GetComposite(Modification::Unit& unit)
{
    return GetValueOf<Modification::CompositeValue, Modification::CompositeValue>(unit, ValueKind::Composite);
}
Construction::ArrayValue& GetArray(Construction::Unit& unit)
{
    return GetValueOf<Construction::ArrayValue, Construction::ArrayValue>(unit, ValueKind::Array);
}
Construction::CompositeValue& GetComposite(Construction::Unit& unit)
{
    return GetValueOf<Construction::CompositeValue, Construction::CompositeValue>(unit, ValueKind::Composite);
}
const View::CompositeValue* FindComposite(const View::Unit& unit)
{
    return FindValue<const View::CompositeValue, View::CompositeValue>(unit, ValueKind::Composite);
}
const View::ArrayValue* FindArray(const View::Unit& unit)
{
    return FindValue<const View::ArrayValue, View::ArrayValue>(unit, ValueKind::Array);
}
Construction::CompositeValue* FindComposite(Construction::Unit& unit)
{
    return FindValue<Construction::CompositeValue, Construction::CompositeValue>(unit, ValueKind::Composite);
}

void CopyTraits(const View::Traits& from, Construction::Traits& to, const Construction::UnitFactory& factory)
{
    auto copy = MakeProcessor<const View::Trait>(
        [&](const View::Trait& trait)
        { to.Add(factory.CreateTrait(trait.GetName(), Copy(trait.GetValue(), factory))); });
    from.ForEach(copy);
}

UnitPtr Copy(const View::Unit& unit, const Construction::UnitFactory& factory)
{
    UnitPtr copy;
    Read(unit,
         [&](const auto& value)
         {
             using Interface = std::remove_cvref_t<decltype(value)>;
             if constexpr (std::is_same_v<Interface, View::NilValue>)
             {
                 copy = factory.CreateNil();
             }
             else if constexpr (std::is_same_v<Interface, View::ArrayValue>)
             {
                 copy = factory.CreateArray();
                 Construction::ArrayValue& target = GetArray(*copy);
                 for (std::size_t i = 0; i < value.Size(); ++i)
                 {
                     target.PushBack(Copy(value.Get(i), factory));
                 }
             }
             else if constexpr (std::is_same_v<Interface, View::CompositeValue>)
             {
                 copy = factory.CreateComposite();
                 Construction::CompositeValue& target = GetComposite(*copy);
                 auto each = MakeProcessor<const View::Property>(
                     [&](const View::Property& property) {
                         target.Set(
                             factory.CreateProperty(property.GetName(), Copy(property.GetValue(), factory)));
                     });
                 value.ForEach(each);
             }
             else
             {
                 copy = factory.Create(value.Get());
             }
         });
    CopyTraits(unit.GetTraits(), copy->GetTraits(), factory);
    return copy;
}

const View::Unit* FindPropertyValue(const View::Unit& unit, std::string_view name)
{
    const View::Property* property = GetComposite(unit).Find(name);
    return property != nullptr ? &property->GetValue() : nullptr;
}

Construction::Unit* FindPropertyValue(Construction::Unit& unit, std::string_view name)
{
    Construction::Property* property = GetComposite(unit).FindProperty(name);
    return property != nullptr ? &property->GetValue() : nullptr;
}

const View::Unit& GetPropertyValue(const View::Unit& unit, std::string_view name)
{
    const View::Unit* value = FindPropertyValue(unit, name);
    if (value == nullptr)
    {
        throw MakePropertyNotFoundError(COMMON_LOCATION("Por::Util::GetPropertyValue"), name);
    }
    return *value;
}

Construction::Unit& GetPropertyValue(Construction::Unit& unit, std::string_view name)
{
    Construction::Unit* value = FindPropertyValue(unit, name);
    if (value == nullptr)
    {
        throw MakePropertyNotFoundError(COMMON_LOCATION("Por::Util::GetPropertyValue"), name);
    }
    return *value;
}

Construction::Unit& AddProperty(Construction::Unit& unit, std::string_view name, const View::Unit& value,
                                const Construction::UnitFactory& factory)
{
    return AddProperty(unit, name, Copy(value, factory), factory);
}

Construction::Unit& AddProperty(Construction::Unit& unit, std::string_view name, UnitPtr value,
                                const Construction::UnitFactory& factory)
{
    if (value == nullptr)
    {
        throw MakeNullUnitError(COMMON_LOCATION("Por::Util::AddProperty"));
    }
    Construction::Unit& added = *value;
    GetComposite(unit).Set(factory.CreateProperty(std::string(name), std::move(value)));
    return added;
}

void BasicOperations::EnsureNotNull(const View::Unit* unit)
{
    if (unit == nullptr)
    {
        throw MakeNullUnitError(COMMON_LOCATION("Por::Util::BasicOperations::EnsureNotNull"));
    }
}

const Construction::UnitFactory& BasicOperations::GetUnitFactory() const
{
    if (Factory == nullptr)
    {
        throw MakeError(COMMON_LOCATION("Por::Util::BasicOperations::GetUnitFactory"), ErrorCodes::General,
                        Common::Texts::PorUnitFactoryNotDefined);
    }
    return *Factory;
}

} // namespace Por::Util
