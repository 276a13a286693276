// Enumerators of the paths of the units that carry a trait (or a trait with a given value). The walk is
// depth first: a unit's own check comes before anything below it, then its properties in name order or
// its elements in index order, then the values of its traits (their paths use '^'). The consumer stops it.
#pragma once

#include "por/Path.h"
#include "por/Unit.h"

#include <string_view>

namespace Por::Util
{

class TraitPathEnumerator
{
public:
    TraitPathEnumerator(std::string_view name, PathConsumer& consumer) : Name(name), Consumer(consumer) {}
    virtual ~TraitPathEnumerator() = default;
    // True if the consumer stopped the walk.
    bool Enumerate(const View::Unit& unit);

protected:
    // Whether the unit is one whose path is wanted.
    virtual bool Matches(const View::Unit& unit) const;
    std::string_view GetName() const { return Name; }

private:
    bool Enumerate(const View::Unit& unit, const Common::WideString& path);

    std::string_view Name;
    PathConsumer& Consumer;
};

// The same, for traits whose value is UnitEqual to `value`.
class TraitWithValuePathEnumerator final : public TraitPathEnumerator
{
public:
    TraitWithValuePathEnumerator(std::string_view name, const View::Unit& value, PathConsumer& consumer)
        : TraitPathEnumerator(name, consumer), Value(value)
    {
    }

protected:
    bool Matches(const View::Unit& unit) const override;

private:
    const View::Unit& Value;
};

} // namespace Por::Util
