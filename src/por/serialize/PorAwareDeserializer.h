// Por::Serialization::PorAwareDeserializer: a deserializer that hands out the units it reads, so that a
// class with a unit or a plain object among its members takes it over unchanged. ReadUnit and
// ReadObject reach it from any Deserializer through the cast table; loading a plain object needs the
// reader's factory.
#pragma once

#include "por/ErrorHandler.h"
#include "por/Forward.h"
#include "por/UnitFactory.h"
#include "por/serialize/Deserializer.h"

namespace Por
{
namespace Util::Detail
{
// A loader of plain-object branches needs a factory: a null one throws 0xfa0001 "POR: Unit factory
// cannot be found."
void EnsureBranchLoaderIsValid(const Construction::UnitFactory* factory);
} // namespace Util::Detail

namespace Serialization
{

using ::Serialization::Name;

class PorAwareDeserializer : public ::Serialization::Deserializer
{
public:
    // The unit of the latest open bracket, or the source when none is open. Borrowed from the source.
    // Throws 0xfa001a "POR: Cannot retrieve the source object." when there is none (no source, or a
    // bracket opened on a value stored as absent).
    virtual const View::Unit& AcquireUnit() const = 0;
    // The factory given at construction; may be null.
    virtual const Construction::UnitFactory* GetFactory() const = 0;
};

// A copy, made with the reader's factory, of the named value; null when it is stored as absent. Throws
// 0xfa0001 "POR: An internal error has occurred." for a reader that is not unit-aware.
UnitPtr ReadUnit(::Serialization::Deserializer& deserializer, Name name);
// The factory of a unit-aware reader, checked as EnsureBranchLoaderIsValid does.
const Construction::UnitFactory& GetUnitFactoryOf(::Serialization::Deserializer& deserializer);

// Loads a plain object of class Object (constructible from a unit, a factory and a handler) from the
// named value; a value stored as absent leaves `object` as it was.
template <typename Object>
void ReadObject(::Serialization::Deserializer& deserializer, Name name, Object& object,
                ErrorHandler* handler = nullptr)
{
    UnitPtr unit = ReadUnit(deserializer, name);
    if (unit != nullptr)
    {
        object = Object(std::move(unit), GetUnitFactoryOf(deserializer), handler);
    }
}

} // namespace Serialization
} // namespace Por
