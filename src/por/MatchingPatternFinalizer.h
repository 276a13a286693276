// MatchingPatternFinalizer: turns a finished plain object, in place, into a pattern that matches the
// objects whose values equal its own (query by example). The result carries operators only, so Match
// never meets an unregistered trait in it.
#pragma once

#include "por/UnitExplorer.h"

#include <cstddef>

namespace Por
{

// What each node of the walk becomes:
//  - a property whose value is marked "Nil" (no value set) is removed: it constrains nothing;
//  - traits that are not operators ("Nil", "Measure", "Instance", "Type", "Searchable", ...) are removed;
//  - operators stay. Those that test the source's traits ("Is", "PrimaryKey", "ForeignKey", "Source")
//    hold for the object the pattern was made from, so the pattern still matches it;
//  - a node that is not composite and has no value operator of its own (anything but the four above)
//    gets "EqualValue" with a copy of its value, without the node's own traits; a nil value thus asks
//    for nil;
//  - composites get no "EqualValue": their properties are matched one by one, so extra properties of
//    a source don't spoil the match;
//  - arrays are compared whole, and their elements are data, not pattern nodes: the walk does not
//    enter them (and "EqualValue" on an array compares its elements with their traits).
// Not thread-safe: one walk at a time per instance, over a unit that no one else sees yet.
class MatchingPatternFinalizer final : public Construction::BaseUnitExplorer
{
public:
    explicit MatchingPatternFinalizer(const Construction::UnitFactory& factory) : Factory(factory) {}

    // Finalises the tree under `unit`. The factory's failures (0xfa000b) are the only errors.
    void Finalize(Construction::Unit& unit);

protected:
    bool OnUnit(Construction::Unit& unit) override;

private:
    const Construction::UnitFactory& Factory;
    // Nodes still to pass over inside the array last met: the walk is depth first, so they come next.
    std::size_t Skipped = 0;
};

} // namespace Por
