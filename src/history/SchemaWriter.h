// Tol::History::Plain::Detail::SchemaWriter: how a schema class writes its default object through the
// unit writer: the base's schema first, an "Is" trait with the class name, then each property with its
// default value, the trait "Nil" (nil value) and its further traits. BuildSchema runs one class's
// writer into a finished composite.
#pragma once

#include "por/Forward.h"
#include "por/serialize/PorAwareSerializer.h"
#include "por/serialize/Serialize.h"

#include <initializer_list>
#include <optional>
#include <string_view>

namespace Tol::History::Plain::Detail
{

using SchemaFunction = void (*)(Por::Serialization::PorAwareSerializer& serializer);

// A further trait of a property: a mark (no value) or a text.
struct Trait
{
    Trait(std::u16string_view name) : Name(name) {}
    Trait(std::u16string_view name, std::u16string_view value) : Name(name), Value(value) {}

    std::u16string_view Name;
    std::optional<std::u16string_view> Value;
};

class SchemaWriter
{
public:
    explicit SchemaWriter(Por::Serialization::PorAwareSerializer& serializer) : Writer(serializer) {}

    // Adds the class name to the "Is" traits of the composite being written.
    void Is(std::string_view className);
    // A property of a value type or a record, with its default.
    template <typename T>
    void Property(std::string_view name, const T& value, std::initializer_list<Trait> traits = {})
    {
        Open(name);
        ::Serialization::Write(Writer, ::Serialization::Names::Value, value);
        Close(traits);
    }
    // A property whose default is a unit (a nil or an empty array).
    void Unit(std::string_view name, const Por::View::Unit& value);
    // A property holding the default object of a nested class.
    void Object(std::string_view name, SchemaFunction writeSchema);

private:
    void Open(std::string_view name);
    void Close(std::initializer_list<Trait> traits);

    Por::Serialization::PorAwareSerializer& Writer;
};

// The default object of a class: a composite written by `writeSchema`.
Por::ConstUnitPtr BuildSchema(SchemaFunction writeSchema);

} // namespace Tol::History::Plain::Detail
