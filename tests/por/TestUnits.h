// Short forms for the units of the tests: U(1u), Nil(), Mark(unit, {"Added"}), Trait(unit, "Tag", value),
// Composite({{"a", U(1u)}}), Array({U(1u)}); Failure(call) for the error a call throws (success when
// none) and TraitList(traits) for the traits as enumerated.
#pragma once

#include "common/Error.h"
#include "por/TraitUtil.h"
#include "por/UnitAccess.h"
#include "por/UnitFactory.h"

#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace Por::Testing
{

inline const Construction::UnitFactory& Factory = GetUnitFactory();

template <typename T>
UnitPtr U(T value)
{
    if constexpr (std::is_same_v<T, const char16_t*>)
    {
        return Factory.CreateString(value);
    }
    else
    {
        return Factory.Create(value);
    }
}

inline UnitPtr Nil()
{
    return Factory.CreateNil();
}

inline UnitPtr Mark(UnitPtr unit, std::initializer_list<std::string_view> marks)
{
    for (std::string_view mark : marks)
    {
        Util::AddTrait(*unit, mark, Factory);
    }
    return unit;
}

inline UnitPtr Trait(UnitPtr unit, std::string_view name, UnitPtr value = Nil())
{
    Util::AddTrait(*unit, name, std::move(value), Factory);
    return unit;
}

inline UnitPtr Composite(std::initializer_list<std::pair<const char*, UnitPtr>> properties)
{
    UnitPtr unit = Factory.CreateComposite();
    for (const auto& [name, value] : properties)
    {
        Util::AddProperty(*unit, name, value, Factory);
    }
    return unit;
}

inline UnitPtr Array(std::initializer_list<UnitPtr> elements)
{
    UnitPtr unit = Factory.CreateArray();
    for (const UnitPtr& element : elements)
    {
        Util::GetArray(*unit).PushBack(element);
    }
    return unit;
}

template <typename Call>
Common::Error Failure(Call call)
{
    try
    {
        call();
    }
    catch (const Common::Error& error)
    {
        return error;
    }
    return Common::Success;
}

// "name=value" per trait as enumerated (only those of one name with `named`): strings as they are (ASCII),
// other values by kind name.
inline std::vector<std::string> TraitList(const View::Traits& traits, const char* named = nullptr)
{
    std::vector<std::string> list;
    auto collect = MakeProcessor<const View::Trait>(
        [&](const View::Trait& trait)
        {
            const View::Unit& value = trait.GetValue();
            const ValueKind kind = GetValueTypeIndex(value);
            std::string text = trait.GetName() + "=";
            if (kind != ValueKind::String)
            {
                text += GetValueTypeName(kind);
            }
            else
            {
                for (char16_t c : Util::GetValue<String>(value))
                {
                    text += static_cast<char>(c);
                }
            }
            list.push_back(text);
        });
    if (named != nullptr)
    {
        traits.ForEachNamed(named, collect);
    }
    else
    {
        traits.ForEach(collect);
    }
    return list;
}

} // namespace Por::Testing
