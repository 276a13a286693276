// Util::UnitBuilder: an event consumer that builds a unit: a value event per kind, Begin events for
// arrays, composites, properties and traits, End to close the latest unit (an element, a property's
// value, a trait's value or the root), and Result. Util::Build wraps one in a value-semantics chain:
//   Util::Build().Composite().Property("Name").Value(u"x").End().Property("N").Value(1u).End().Done()
#pragma once

#include "common/Error.h"
#include "common/Guid.h"
#include "por/Forward.h"
#include "por/ValueKind.h"

#include <cstdint>
#include <memory>
#include <string_view>

namespace Por::Util
{

class UnitBuilder
{
public:
    virtual ~UnitBuilder() = default;
    virtual void OnNil() = 0;
    virtual void OnBoolean(bool value) = 0;
    virtual void OnByte(std::uint8_t value) = 0;
    virtual void OnSByte(std::int8_t value) = 0;
    virtual void OnWord(std::uint16_t value) = 0;
    virtual void OnSWord(std::int16_t value) = 0;
    virtual void OnDWord(std::uint32_t value) = 0;
    virtual void OnSDWord(std::int32_t value) = 0;
    virtual void OnQWord(std::uint64_t value) = 0;
    virtual void OnSQWord(std::int64_t value) = 0;
    virtual void OnDouble(double value) = 0;
    virtual void OnBlob(const Blob& value) = 0;
    virtual void OnGuid(const Common::Guid& value) = 0;
    virtual void OnString(const String& value) = 0;
    virtual void OnError(const Common::Error& value) = 0;
    virtual void BeginArray() = 0;
    virtual void BeginComposite() = 0;
    virtual void BeginProperty(std::string_view name) = 0;
    virtual void BeginTrait(std::string_view name) = 0;
    virtual void End() = 0;
    // The root built so far.
    virtual UnitPtr Result() = 0;

    // The value event for a C++ type.
    template <typename T>
    void OnValue(const T& value);
};

class UnitAccumulator;

// The chaining wrapper. Property(name) and Trait(name) open a unit that the next value fills and End
// closes; an array's elements are each a value followed by End (Element does both for scalars).
class Build
{
public:
    explicit Build(const Construction::UnitFactory& factory);
    Build();
    Build(Build&&) noexcept;
    ~Build();

    Build& Nil();
    template <typename T>
    Build& Value(const T& value)
    {
        Events().OnValue(value);
        return *this;
    }
    Build& Value(const char16_t* text) { return Value(String(text)); }
    Build& Array();
    Build& Composite();
    Build& Property(std::string_view name);
    Build& Trait(std::string_view name);
    Build& End();
    // Value(value) and End(): an array element, or a whole property or trait with Property/Trait first.
    template <typename T>
    Build& Element(const T& value)
    {
        return Value(value).End();
    }
    // A property or nil trait in one call.
    template <typename T>
    Build& Property(std::string_view name, const T& value)
    {
        return Property(name).Value(value).End();
    }
    Build& Property(std::string_view name, const char16_t* text) { return Property(name).Value(text).End(); }
    Build& Trait(std::string_view name, std::nullptr_t) { return Trait(name).Nil().End(); }
    template <typename T>
    Build& Trait(std::string_view name, const T& value)
    {
        return Trait(name).Value(value).End();
    }
    Build& Trait(std::string_view name, const char16_t* text) { return Trait(name).Value(text).End(); }
    // The root; frames still open are closed first.
    UnitPtr Done();

private:
    UnitBuilder& Events();
    std::unique_ptr<UnitAccumulator> Accumulator;
};

template <typename T>
void UnitBuilder::OnValue(const T& value)
{
    constexpr ValueKind kind = KindOfV<T>;
    if constexpr (kind == ValueKind::Boolean)
        OnBoolean(value);
    else if constexpr (kind == ValueKind::Byte)
        OnByte(value);
    else if constexpr (kind == ValueKind::SByte)
        OnSByte(value);
    else if constexpr (kind == ValueKind::Word)
        OnWord(value);
    else if constexpr (kind == ValueKind::SWord)
        OnSWord(value);
    else if constexpr (kind == ValueKind::DWord)
        OnDWord(value);
    else if constexpr (kind == ValueKind::SDWord)
        OnSDWord(value);
    else if constexpr (kind == ValueKind::QWord)
        OnQWord(value);
    else if constexpr (kind == ValueKind::SQWord)
        OnSQWord(value);
    else if constexpr (kind == ValueKind::Double)
        OnDouble(value);
    else if constexpr (kind == ValueKind::Blob)
        OnBlob(value);
    else if constexpr (kind == ValueKind::Guid)
        OnGuid(value);
    else if constexpr (kind == ValueKind::String)
        OnString(value);
    else
        OnError(value);
}

} // namespace Por::Util
