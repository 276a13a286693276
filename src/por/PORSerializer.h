// Por::Serialization::PORSerializer: the Serializer that writes objects as units. Each open bracket is
// a processing node on a stack: a class becomes a composite, a container an array with "IsContainer",
// a polymorphic value its class's composite with "IsPolymorph", a pointer its value with "IsReference"
// and "ptr_mark", an optional its value with "IsOptional" and "is_init" or "is_null" (an optional or
// pointer inside another is wrapped as the property "value" of a composite marked "IsRecursive"), and
// a null pointer or absent value a nil unit with "IsEmpty". Failures throw 0xfa0019 with the path of
// the node. One thread at a time.
#pragma once

#include "por/UnitFactory.h"
#include "por/serialize/PorAwareSerializer.h"

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace Por::Serialization
{

namespace Detail
{
class ProcessingNode;
}

class PORSerializer final : public PorAwareSerializer, public Common::DynamicCasterImpl
{
public:
    explicit PORSerializer(const Construction::UnitFactory& factory = GetUnitFactory());
    ~PORSerializer() override;

    using Serializer::Write;
    void Write(Name name, bool value) override;
    void Write(Name name, std::uint8_t value) override;
    void Write(Name name, std::int8_t value) override;
    void Write(Name name, std::uint16_t value) override;
    void Write(Name name, std::int16_t value) override;
    void Write(Name name, std::uint32_t value) override;
    void Write(Name name, std::int32_t value) override;
    void Write(Name name, std::uint64_t value) override;
    void Write(Name name, std::int64_t value) override;
    void Write(Name name, double value) override;
    void Write(Name name, const std::vector<std::uint8_t>& value) override;
    void Write(Name name, const Common::Guid& value) override;
    void Write(Name name, const Common::WideString& value) override;
    void Write(Name name, const Common::Error& value) override;
    void WriteUnit(Name name, const View::Unit& unit) override;

    void BeginValue(Name name) override;
    void BeginClass(Name name) override;
    void BeginPolymorph(Name name) override;
    void BeginContainer(Name name, Name kind) override;
    void BeginPointer(Name name, Name kind) override;
    void BeginOptional(Name name, Name kind) override;
    // Throws the node's failure (0xfa0019) when what was written inside does not make a unit.
    void End() override;

    void WriteTrait(Name name) override;
    void WriteTrait(Name name, Common::WideStringView value) override;
    // A "Version" trait (dword) on the latest open bracket's value.
    void WriteVersion(std::uint32_t version) override;
    std::uint64_t MarkPointer(const void* address) override;
    const Construction::UnitFactory& GetFactory() const override { return Factory; }

    // The finished unit: what was written with no bracket open, with the traits written there. Brackets
    // still open are a broken invariant and are closed first. Nothing written throws 0xfa0019 "POR: An
    // error occurred while serializing 'Root'. No value was set." The serializer starts afresh after it.
    UnitPtr Result();

private:
    void Deliver(Name name, UnitPtr unit);
    void Push(std::unique_ptr<Detail::ProcessingNode> node);

    const Construction::UnitFactory& Factory;
    // The root node is at the bottom and never popped by End.
    std::vector<std::unique_ptr<Detail::ProcessingNode>> Stack;
    std::map<const void*, std::uint64_t> Marks;
};

} // namespace Por::Serialization
