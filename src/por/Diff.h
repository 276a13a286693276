// Util::Diff: the diff of two units, a unit shaped like the changed part of the right one whose marks
// (DiffMarks.h) tell the merge what to do at each node; and MakeFullCopyDiff. Both inputs are only read,
// each once; the result is new, carries "PackedDiff" on its root, and costs copies in proportion to the
// change (a changed array is copied whole).
#pragma once

#include "por/Forward.h"

namespace Por::Util
{

// The diff that turns `left` into `right`:
// - composites hold only what differs: a changed property as the diff of its value, a property only on
//   the left as nil marked "Removed", one only on the right as a copy marked "Added";
// - a changed scalar or complex value, and any change of kind, is a copy of the right value;
// - a changed array is a copy of the right one marked "FullElementCopy" and "FixedTraitedFullCopy",
//   carrying the right unit's traits (trait sets are not compared there);
// - each (name, value) trait pair found on one side only becomes a trait of that name whose value is a
//   "FullDiff" composite of "PreviousValue" and "NewValue". A trait whose value changed is one pair gone
//   and one come, so it shows as two traits of its name: traits are a set of pairs, not a map;
// - a node whose value is equal but whose traits are not is a composite marked "TraitsOnlyDiff".
// Equal units give nil marked "EmptyDiff" (and "PackedDiff"). Throws only what the factory throws.
UnitPtr Diff(const View::Unit& left, const View::Unit& right, const Construction::UnitFactory& factory);

// A copy of `unit` marked "PackedDiff" and "FullElementCopy": merged, it replaces the target's value as a
// whole and the target keeps its traits beside the unit's own.
UnitPtr MakeFullCopyDiff(const View::Unit& unit, const Construction::UnitFactory& factory);

} // namespace Por::Util
