// Util::UnitAccumulator: the UnitBuilder that makes units with a factory, keeping a stack of frames.
// It can also start on an existing composite or array and build into it: a property that exists
// already is built into (a scalar value replaces it), and an array receives further elements.
// Used out of order it is a broken invariant (asserted), and the event is ignored.
#pragma once

#include "por/UnitBuilder.h"

#include <deque>
#include <string>
#include <vector>

namespace Por::Util
{

class UnitAccumulator final : public UnitBuilder
{
public:
    explicit UnitAccumulator(const Construction::UnitFactory& factory);
    // Builds into `root` (a composite or an array).
    UnitAccumulator(const Construction::UnitFactory& factory, UnitPtr root);
    ~UnitAccumulator() override;

    void OnNil() override;
    void OnBoolean(bool value) override;
    void OnByte(std::uint8_t value) override;
    void OnSByte(std::int8_t value) override;
    void OnWord(std::uint16_t value) override;
    void OnSWord(std::int16_t value) override;
    void OnDWord(std::uint32_t value) override;
    void OnSDWord(std::int32_t value) override;
    void OnQWord(std::uint64_t value) override;
    void OnSQWord(std::int64_t value) override;
    void OnDouble(double value) override;
    void OnBlob(const Blob& value) override;
    void OnGuid(const Common::Guid& value) override;
    void OnString(const String& value) override;
    void OnError(const Common::Error& value) override;
    void BeginArray() override;
    void BeginComposite() override;
    void BeginProperty(std::string_view name) override;
    void BeginTrait(std::string_view name) override;
    void End() override;
    UnitPtr Result() override;

    // The start of a unit in a walk: the root, an array element, or the value of the latest property or
    // trait. Building from walks needs it so that traits may come before their value.
    void BeginUnit();

    // Frames still open.
    std::size_t Depth() const { return Frames.size(); }

    enum class FrameState
    {
        Value = 0,             // a plain value frame: the unit is finished
        Property = 1,          // the value will be set into the composite below
        ExistingProperty = 2,  // the property existed: building goes into it
        ExistingComposite = 3, // the same after BeginComposite
        Trait = 4,
        ArrayElement = 5,
        ExistingElement = 6, // feeds an existing array element by index
        ExistingArrayRoot = 7,
    };

private:
    struct Frame
    {
        Frame(std::string name, FrameState state, UnitPtr unit, std::size_t count = 0)
            : Name(std::move(name)), State(state), Unit(std::move(unit)), Count(count)
        {
        }

        std::string Name;
        FrameState State;
        UnitPtr Unit;
        std::size_t Count = 0; // the element index of an ExistingElement frame
        bool Opened = false;   // an existing container was reopened by BeginArray or BeginComposite
        bool Begun = false;    // BeginUnit has announced this frame's own unit
        std::vector<TraitPtr> PendingTraits; // traits that came before the value
    };

    void Take(UnitPtr unit);
    Frame* Top() { return Frames.empty() ? nullptr : &Frames.back(); }

    const Construction::UnitFactory& Factory;
    std::deque<Frame> Frames;
    UnitPtr Root;
};

} // namespace Por::Util
