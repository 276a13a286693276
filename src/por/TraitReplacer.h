// Util::TraitReplacer, a UnitWalker filter that gives every trait of one name a new value in the event
// stream, and Util::ExcludingTraitCopy, which copies traits but for one (name, value) pair. ReplaceTrait
// and CopyExcludingTrait make copies of units with them; the sources are left as they are.
#pragma once

#include "por/ItemProcessor.h"
#include "por/UnitWalker.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace Por::Util
{

// Passes events on to `next`, but the value of every trait named `name` (at any depth) is swallowed whole
// and the events of `value` (borrowed) take its place, once, where it ended.
class TraitReplacer final : public DelegatingUnitWalker
{
public:
    TraitReplacer(UnitWalker& next, std::string_view name, const View::Unit& value)
        : DelegatingUnitWalker(next), Name(name), Value(value)
    {
    }

    void OnUnitBegin() override;
    void OnEnd() override;
    void OnProperty(std::string_view name) override;
    void OnTrait(std::string_view name) override;
    void OnNil() override;
    void OnError(const Common::Error& value) override;
    void OnString(Common::WideStringView value) override;
    void OnGuid(const Common::Guid& value) override;
    void OnBlob(std::span<const std::uint8_t> value) override;
    void OnDouble(double value) override;
    void OnSQWord(std::int64_t value) override;
    void OnQWord(std::uint64_t value) override;
    void OnSDWord(std::int32_t value) override;
    void OnDWord(std::uint32_t value) override;
    void OnSWord(std::int16_t value) override;
    void OnWord(std::uint16_t value) override;
    void OnSByte(std::int8_t value) override;
    void OnByte(std::uint8_t value) override;
    void OnBoolean(bool value) override;
    void OnArray() override;
    void OnComposite() override;

private:
    bool Swallowing() const { return Entered || Depth > 0; }

    std::string Name;
    const View::Unit& Value;
    bool Entered = false;  // a trait of the name was announced; its unit has not begun yet
    std::size_t Depth = 0; // units begun and not ended inside the swallowed value
};

// Adds copies (made with `factory`) of the traits it is given to `target`, except a trait named `name`
// whose value is UnitEqual to `value`, so one of several traits of a name can be dropped.
class ExcludingTraitCopy final : public ItemProcessor<const View::Trait>
{
public:
    ExcludingTraitCopy(Construction::Traits& target, std::string_view name, const View::Unit& value,
                       const Construction::UnitFactory& factory)
        : Target(target), Name(name), Value(value), Factory(factory)
    {
    }
    bool Process(const View::Trait& trait) override;

private:
    Construction::Traits& Target;
    std::string_view Name;
    const View::Unit& Value;
    const Construction::UnitFactory& Factory;
};

// A copy of `unit` in which every trait named `name`, at any depth, holds a copy of `value`. Units without
// such a trait gain none.
UnitPtr ReplaceTrait(const View::Unit& unit, std::string_view name, const View::Unit& value,
                     const Construction::UnitFactory& factory);
// A copy of `unit` without its own trait (`name`, `value`); everything below is copied whole.
UnitPtr CopyExcludingTrait(const View::Unit& unit, std::string_view name, const View::Unit& value,
                           const Construction::UnitFactory& factory);

} // namespace Por::Util
