// Serialization::Serializer: the interface a class writes itself to. Values are named; brackets (a
// value with traits, a class, a polymorphic value, a container, a pointer, an optional) open with
// Begin* and close with End, and traits and the version go to the latest open bracket. Helpers for
// standard types are in Serialize.h. A serializer is used by one thread.
#pragma once

#include "common/DynamicCaster.h"
#include "common/Error.h"
#include "common/Guid.h"
#include "common/WideString.h"
#include "por/serialize/Names.h"

#include <cstdint>
#include <vector>

namespace Serialization
{

class Serializer : public virtual Common::DynamicCaster
{
public:
    // One named value: a property of the class being written, an item of a container, a part of a
    // pointer or an optional, or the root when no bracket is open.
    virtual void Write(Name name, bool value) = 0;
    virtual void Write(Name name, std::uint8_t value) = 0;
    virtual void Write(Name name, std::int8_t value) = 0;
    virtual void Write(Name name, std::uint16_t value) = 0;
    virtual void Write(Name name, std::int16_t value) = 0;
    virtual void Write(Name name, std::uint32_t value) = 0;
    virtual void Write(Name name, std::int32_t value) = 0;
    virtual void Write(Name name, std::uint64_t value) = 0;
    virtual void Write(Name name, std::int64_t value) = 0;
    virtual void Write(Name name, double value) = 0;
    virtual void Write(Name name, const std::vector<std::uint8_t>& value) = 0;
    virtual void Write(Name name, const Common::Guid& value) = 0;
    virtual void Write(Name name, const Common::WideString& value) = 0;
    virtual void Write(Name name, const Common::Error& value) = 0;
    // A text, not the pointer's truth value.
    void Write(Name name, const char16_t* text) { Write(name, Common::WideString(text)); }

    // A bracket whose one value (written under any name) is the named value; traits written inside
    // attach to it.
    virtual void BeginValue(Name name) = 0;
    virtual void BeginClass(Name name) = 0;
    // A value written through a pointer to a base: its category as Names::CheckedType and its class as
    // Names::Value.
    virtual void BeginPolymorph(Name name) = 0;
    // `kind` is Names::Vector, List, Set, Map or Multimap; items follow as Names::Item.
    virtual void BeginContainer(Name name, Name kind) = 0;
    // `kind` is Names::RawPtr or SharedPtr; the parts are Names::PtrMark and, unless null, PtrValue.
    virtual void BeginPointer(Name name, Name kind) = 0;
    // `kind` is Names::Optional (with Names::IsInit) or OptionalType (with Names::IsNull); the value, if
    // any, is Names::Value.
    virtual void BeginOptional(Name name, Name kind) = 0;
    // Closes the latest bracket.
    virtual void End() = 0;

    // Traits of the latest open bracket's value: a mark, or a text. Other kinds of trait value are not
    // part of the contract.
    virtual void WriteTrait(Name name) = 0;
    virtual void WriteTrait(Name name, Common::WideStringView value) = 0;
    // The version of the class being written, so that a later class can read an older object.
    virtual void WriteVersion(std::uint32_t version) = 0;
    // The mark of a pointer: 0 for null, otherwise one number per address for the life of this serializer.
    virtual std::uint64_t MarkPointer(const void* address) = 0;
};

} // namespace Serialization
