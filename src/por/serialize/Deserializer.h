// Serialization::Deserializer: the interface a class reads itself from, the mirror of Serializer. A
// request names a child of the latest open bracket; a failed call throws Common::Error and leaves the
// open brackets as they were, so the caller may go on with a sibling. A value stored as absent reads
// as absent. A deserializer is used by one thread.
#pragma once

#include "common/DynamicCaster.h"
#include "common/Error.h"
#include "common/Guid.h"
#include "common/WideString.h"
#include "por/serialize/ContainerIterator.h"
#include "por/serialize/Names.h"

#include <cstdint>
#include <memory>
#include <typeinfo>
#include <vector>

namespace Serialization
{

class Deserializer : public virtual Common::DynamicCaster
{
public:
    // A named value of exactly the kind written; a value stored as absent leaves `value` unchanged.
    virtual void Read(Name name, bool& value) = 0;
    virtual void Read(Name name, std::uint8_t& value) = 0;
    virtual void Read(Name name, std::int8_t& value) = 0;
    virtual void Read(Name name, std::uint16_t& value) = 0;
    virtual void Read(Name name, std::int16_t& value) = 0;
    virtual void Read(Name name, std::uint32_t& value) = 0;
    virtual void Read(Name name, std::int32_t& value) = 0;
    virtual void Read(Name name, std::uint64_t& value) = 0;
    virtual void Read(Name name, std::int64_t& value) = 0;
    virtual void Read(Name name, double& value) = 0;
    virtual void Read(Name name, std::vector<std::uint8_t>& value) = 0;
    virtual void Read(Name name, Common::Guid& value) = 0;
    virtual void Read(Name name, Common::WideString& value) = 0;
    virtual void Read(Name name, Common::Error& value) = 0;
    // The child exists and is not stored as absent. Never throws for a missing child.
    virtual bool HasValue(Name name) = 0;

    // The brackets of Serializer. A container's iterator belongs to the reader and lives until End;
    // after each Next the item is read under any name. Kinds are not checked against what was written.
    virtual void BeginValue(Name name) = 0;
    virtual void BeginClass(Name name) = 0;
    virtual void BeginPolymorph(Name name) = 0;
    virtual ContainerIterator& BeginContainer(Name name, Name kind) = 0;
    virtual void BeginPointer(Name name, Name kind) = 0;
    virtual void BeginOptional(Name name, Name kind) = 0;
    // Closes the latest bracket. Never throws, so it may run while a failure unwinds.
    virtual void End() = 0;

    // Traits of the latest open bracket's value; a mark reads as the empty text.
    virtual bool HasTrait(Name name) const = 0;
    virtual Common::WideString ReadTrait(Name name) const = 0;
    // The version the object being read was written with, or the reader's own default.
    virtual std::uint32_t GetSubjectVersion() const = 0;
    // The object already read for a pointer mark and pointee type (empty at first), so that pointers
    // written to one object point to one object again.
    virtual std::shared_ptr<void>& PointerSlot(std::uint64_t mark, const std::type_info& type) = 0;
};

} // namespace Serialization
