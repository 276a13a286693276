// Por::Serialization::PORDeserializer: the Deserializer that reads objects back from the units that
// PORSerializer writes. A stack of frames mirrors the writer's brackets; each request resolves a child
// of the latest frame: a property of a class, the current item of a container, the value or a flag
// trait of an optional or pointer ("IsRecursive" wrappers unwrapped), the category or class of a
// polymorphic value. Failures throw 0xfa001a naming the path of the node, with the printed unit as the
// sub-error, and leave the frames as they were. The source is shared and must not change while read.
#pragma once

#include "por/Forward.h"
#include "por/UnitFactory.h"
#include "por/serialize/PorAwareDeserializer.h"

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <utility>

namespace Por::Serialization
{

class PORDeserializer final : public PorAwareDeserializer, public Common::DynamicCasterImpl
{
public:
    // `factory` is what units handed out are copied with (null when none will be); `version` is the
    // subject version of objects written without one.
    explicit PORDeserializer(ConstUnitPtr source,
                             const Construction::UnitFactory* factory = &GetUnitFactory(),
                             std::uint32_t version = 0);
    ~PORDeserializer() override;

    // Reads of another kind throw the property mismatch 0xfa000a with the path as the property.
    void Read(Name name, bool& value) override;
    void Read(Name name, std::uint8_t& value) override;
    void Read(Name name, std::int8_t& value) override;
    void Read(Name name, std::uint16_t& value) override;
    void Read(Name name, std::int16_t& value) override;
    void Read(Name name, std::uint32_t& value) override;
    void Read(Name name, std::int32_t& value) override;
    void Read(Name name, std::uint64_t& value) override;
    void Read(Name name, std::int64_t& value) override;
    void Read(Name name, double& value) override;
    void Read(Name name, std::vector<std::uint8_t>& value) override;
    void Read(Name name, Common::Guid& value) override;
    void Read(Name name, Common::WideString& value) override;
    void Read(Name name, Common::Error& value) override;
    bool HasValue(Name name) override;

    // A value stored as absent opens a frame without a unit: reading inside it throws "POR: Cannot
    // retrieve the source object.", and a container there is empty.
    void BeginValue(Name name) override;
    void BeginClass(Name name) override;
    void BeginPolymorph(Name name) override;
    // Not an array: "POR: An error occurred while deserializing the container value. ..."
    ::Serialization::ContainerIterator& BeginContainer(Name name, Name kind) override;
    // Without "IsReference": "... the pointer value. Object '{0}' is not of type 'Pointer'."
    void BeginPointer(Name name, Name kind) override;
    // Without "IsOptional": "... the optional value. Object '{0}' is not of type 'Optional'."
    void BeginOptional(Name name, Name kind) override;
    void End() override;

    bool HasTrait(Name name) const override;
    // Missing: "POR: An error occurred while deserializing trait '{0}'. ..."; a value of another kind
    // than text or nil throws the property mismatch.
    Common::WideString ReadTrait(Name name) const override;
    // The construction version with no frame open; otherwise the "Version" trait of the latest frame's
    // unit, else the construction version. A frame without a unit throws "POR: Cannot retrieve the
    // subject version."
    std::uint32_t GetSubjectVersion() const override;
    std::shared_ptr<void>& PointerSlot(std::uint64_t mark, const std::type_info& type) override;

    const View::Unit& AcquireUnit() const override;
    const Construction::UnitFactory* GetFactory() const override { return Factory; }

    // Frames open.
    std::size_t Depth() const { return Frames.size(); }

    // What a request resolves to: the unit (null for a child that is not there) and its path.
    struct Resolved
    {
        const View::Unit* Unit = nullptr;
        Common::WideString Path;
    };

private:
    enum class FrameKind
    {
        Value,
        Class,
        Polymorph,
        Container,
        Pointer,
        Optional,
    };
    struct Frame
    {
        FrameKind Kind;
        const View::Unit* Unit; // null for a value stored as absent
        Common::WideString Path;
        ::Serialization::ValueIterator<const View::Unit*> Items;
    };

    // The child `name` of the latest frame; with `required`, a missing one throws.
    Resolved Resolve(Name name, bool required) const;
    template <typename T>
    void ReadValue(Name name, T& value);
    Frame& Open(FrameKind kind, const Resolved& resolved);

    ConstUnitPtr Source;
    const Construction::UnitFactory* Factory;
    std::uint32_t Version;
    // A deque keeps the container iterators handed out in place while frames are added.
    std::deque<Frame> Frames;
    std::map<std::pair<std::uint64_t, std::string>, std::shared_ptr<void>> Slots;
};

} // namespace Por::Serialization
