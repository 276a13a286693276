// Por::Serialization::PorAwareSerializer: a serializer that writes units, so that a class with a unit
// or a plain object among its members passes it through unchanged, traits included. WriteUnit and
// WriteObject reach it from any Serializer through the cast table.
#pragma once

#include "por/BaseObject.h"
#include "por/Forward.h"
#include "por/serialize/Serializer.h"

namespace Por::Serialization
{

using ::Serialization::Name;

class PorAwareSerializer : public ::Serialization::Serializer
{
public:
    // A copy of `unit`, traits included, as the named value.
    virtual void WriteUnit(Name name, const View::Unit& unit) = 0;
    virtual const Construction::UnitFactory& GetFactory() const = 0;
};

// Writes a copy of `unit` through `serializer`, which must be unit-aware; any other throws 0xfa0001
// "POR: An internal error has occurred."
void WriteUnit(::Serialization::Serializer& serializer, Name name, const View::Unit& unit);
// The object's branch, Nil marks included, so that the reader gets the same shape.
inline void WriteObject(::Serialization::Serializer& serializer, Name name, const BaseObject& object)
{
    WriteUnit(serializer, name, object.Branch());
}

} // namespace Por::Serialization
