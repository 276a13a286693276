// Reading and writing units without writing visitors: kind tests, typed values of exactly one kind (no
// widening: a "word" does not read as a "dword"), properties of composites, and deep copies.
// Mismatches throw 0xfa000a (after logging the stack) unless a handler says otherwise.
#pragma once

#include "common/Error.h"
#include "por/Errors.h"
#include "por/Forward.h"
#include "por/UnitFactory.h"
#include "por/Values.h"
#include "por/Visitor.h"

#include <functional>
#include <string_view>

namespace Por::Util
{

inline bool IsArray(const View::Unit& unit)
{
    return GetValueTypeIndex(unit) == ValueKind::Array;
}
inline bool IsComposite(const View::Unit& unit)
{
    return GetValueTypeIndex(unit) == ValueKind::Composite;
}
inline bool IsNil(const View::Unit& unit)
{
    return GetValueTypeIndex(unit) == ValueKind::Nil;
}
bool HaveSameType(const View::Unit& left, const View::Unit& right);

// A deep copy, traits included, independent of the source.
UnitPtr Copy(const View::Unit& unit, const Construction::UnitFactory& factory);
// Copies every trait of `from` onto `to` (equal pairs already there stay once).
void CopyTraits(const View::Traits& from, Construction::Traits& to, const Construction::UnitFactory& factory);

// The array or composite value of a unit; anything else throws the type mismatch.
const View::ArrayValue& GetArray(const View::Unit& unit);
const View::CompositeValue& GetComposite(const View::Unit& unit);
Modification::ArrayValue& GetArray(Modification::Unit& unit);
Modification::CompositeValue& GetComposite(Modification::Unit& unit);
Construction::ArrayValue& GetArray(Construction::Unit& unit);
Construction::CompositeValue& GetComposite(Construction::Unit& unit);
// Null for any other kind.
const View::CompositeValue* FindComposite(const View::Unit& unit);
const View::ArrayValue* FindArray(const View::Unit& unit);
Construction::CompositeValue* FindComposite(Construction::Unit& unit);

// The value of a property; a non-composite throws the type mismatch, a missing property 0xfa000d.
const View::Unit& GetPropertyValue(const View::Unit& unit, std::string_view name);
Construction::Unit& GetPropertyValue(Construction::Unit& unit, std::string_view name);
// As above, but null for a missing property.
const View::Unit* FindPropertyValue(const View::Unit& unit, std::string_view name);
Construction::Unit* FindPropertyValue(Construction::Unit& unit, std::string_view name);

// Sets the property, replacing one of that name: a copy of `value`, the given unit, or what `make`
// returns. Returns the property's value.
Construction::Unit& AddProperty(Construction::Unit& unit, std::string_view name, const View::Unit& value,
                                const Construction::UnitFactory& factory);
Construction::Unit& AddProperty(Construction::Unit& unit, std::string_view name, UnitPtr value,
                                const Construction::UnitFactory& factory);
template <typename Make>
requires std::is_invocable_r_v<UnitPtr, Make> Construction::Unit&
AddProperty(Construction::Unit& unit, std::string_view name, Make&& make,
            const Construction::UnitFactory& factory)
{
    return AddProperty(unit, name, std::invoke(std::forward<Make>(make)), factory);
}

namespace TypeMismatchHandlers
{
template <typename T>
struct Throw
{
    T OnMismatch(ValueKind actual) const { throw Detail::MakeTypeMismatchError(KindOfV<T>, actual); }
};
template <typename T>
struct ReturnFailSafeValue
{
    T Fallback;
    T OnMismatch(ValueKind) const { return Fallback; }
};
template <typename T>
struct ReportError
{
    Common::Error* Out;
    T OnMismatch(ValueKind actual) const
    {
        *Out = Detail::MakeTypeMismatchError(KindOfV<T>, actual);
        return T{};
    }
};
} // namespace TypeMismatchHandlers

namespace Detail
{

// The value of exactly the kind of T, or what the handler makes of a mismatch.
template <typename T, typename Handler>
T GetValue(const View::Unit& unit, const Handler& handler)
{
    const ResolvedValue resolved = Resolve(unit);
    if (resolved.Kind != KindOfV<T>)
    {
        return handler.OnMismatch(resolved.Kind);
    }
    if constexpr (IsComplexV<T>)
    {
        return resolved.As<View::ComplexValue<T>>().Get();
    }
    else
    {
        return resolved.As<View::ScalarValue<T>>().Get();
    }
}

} // namespace Detail

template <typename T>
T GetValue(const View::Unit& unit)
{
    return Detail::GetValue<T>(unit, TypeMismatchHandlers::Throw<T>{});
}

template <typename T>
T GetValueOr(const View::Unit& unit, T fallback)
{
    return Detail::GetValue<T>(unit, TypeMismatchHandlers::ReturnFailSafeValue<T>{std::move(fallback)});
}

// Success with the value in `out`, or the mismatch error (not thrown).
template <typename T>
Common::Error TryGetValue(const View::Unit& unit, T& out)
{
    Common::Error error;
    T value = Detail::GetValue<T>(unit, TypeMismatchHandlers::ReportError<T>{&error});
    if (error.GetCode() == 0)
    {
        out = std::move(value);
    }
    return error;
}

// A property's value of exactly the kind of T; a mismatch names the property.
template <typename T>
T GetPropertyValue(const View::Unit& unit, std::string_view name)
{
    const View::Unit& value = GetPropertyValue(unit, name);
    const ValueKind kind = GetValueTypeIndex(value);
    if (kind != KindOfV<T>)
    {
        throw Detail::MakePropertyTypeMismatchError(name, KindOfV<T>, kind);
    }
    return GetValue<T>(value);
}

// Writes a value of exactly the kind of T; any other kind throws the mismatch.
template <typename T>
void SetValue(Modification::Unit& unit, const T& value)
{
    bool done = false;
    ValueKind actual = ValueKind::Unknown;
    Write(unit,
          [&](auto& target)
          {
              using Interface = std::remove_reference_t<decltype(target)>;
              if constexpr (std::is_base_of_v<Modification::ScalarValue<T>, Interface> ||
                            std::is_base_of_v<Modification::ComplexValue<T>, Interface>)
              {
                  target.Set(value);
                  done = true;
              }
          });
    if (!done)
    {
        actual = GetValueTypeIndex(unit);
        throw Detail::MakeTypeMismatchError(KindOfV<T>, actual);
    }
}

// The mix-in of readers that hold a factory.
class BasicOperations
{
public:
    explicit BasicOperations(const Construction::UnitFactory* factory = nullptr) : Factory(factory) {}

    // Throws 0xfa000b for a null unit.
    static void EnsureNotNull(const View::Unit* unit);
    // Throws 0xfa0001 "Unit factory is not defined" when none is set.
    const Construction::UnitFactory& GetUnitFactory() const;

private:
    const Construction::UnitFactory* Factory;
};

} // namespace Por::Util
