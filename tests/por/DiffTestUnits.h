// Short forms for the units of the diff and merge tests: U(1u), Nil(), Mark(unit, {"Added"}),
// Trait(unit, "Tag", value), Composite({{"a", U(1u)}}), Array({U(1u)}), and Failure(call) for the
// error a call throws (success when none).
#pragma once

#include "common/Error.h"
#include "por/TraitUtil.h"
#include "por/UnitAccess.h"
#include "por/UnitFactory.h"

#include <initializer_list>
#include <string_view>
#include <type_traits>
#include <utility>

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

inline UnitPtr Trait(UnitPtr unit, std::string_view name, UnitPtr value)
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

} // namespace Por::Testing
