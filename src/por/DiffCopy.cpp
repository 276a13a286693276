#include "por/DiffCopy.h"

#include "por/UnitAccess.h"

#include <algorithm>

namespace Por::Util::Detail
{

UnitPtr CopyValue(const View::Unit& unit, const Construction::UnitFactory& factory)
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
    return copy;
}

void CopyTraitsExcept(const View::Traits& from, Construction::Unit& to,
                      std::initializer_list<std::string_view> names, const Construction::UnitFactory& factory)
{
    auto copy = MakeProcessor<const View::Trait>(
        [&](const View::Trait& trait)
        {
            if (std::find(names.begin(), names.end(), trait.GetName()) == names.end())
            {
                to.GetTraits().Add(factory.CreateTrait(trait.GetName(), Copy(trait.GetValue(), factory)));
            }
        });
    from.ForEach(copy);
}

UnitPtr CopyWithoutTraits(const View::Unit& unit, std::initializer_list<std::string_view> names,
                          const Construction::UnitFactory& factory)
{
    UnitPtr copy = CopyValue(unit, factory);
    CopyTraitsExcept(unit.GetTraits(), *copy, names, factory);
    return copy;
}

} // namespace Por::Util::Detail
