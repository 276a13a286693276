// Merging diffs (Diff.h, DiffMarks.h) into units: InternalMerge and MergeImpl make a new unit and leave
// both inputs alone; Merge does the same and reports any failure as 0xfa000c with both units printed;
// ApplyDiff changes a unit in place, and only once the whole merge has succeeded. Every merge failure has
// the code 0xfa000c ("POR: Failed to merge object update."), except the trait lookups of state operations
// (0xfa001c, 0xfa001d) when they are not wrapped. Units are not locked: one writer at a time.
#pragma once

#include "por/Forward.h"
#include "por/UnitFactory.h"

namespace Por
{
class ConstUnit;

namespace Util
{

// Applies a diff marked "PackedDiff" (else 0xfa000c) to `target`: "EmptyDiff" changes nothing; otherwise
// the diff is merged with the target and the result assigned to it (Assign.h). Assignment never adds or
// removes properties or traits: a property the diff removes stays, an added one fails with 0xfa0010, a
// changed trait with 0xfa0012. A merge failure is reported as by Merge. The target is untouched by any
// failure, except that an array assignment cut short by memory exhaustion may leave an array partly filled.
// Only the parts of the target that the diff names are merged and assigned: assigning the rest would
// write every value back as it is.
void ApplyDiff(Modification::Unit& target, const View::Unit& diff,
               const Construction::UnitFactory& factory = GetUnitFactory());

// The target with the diff applied, as a new unit.
// - `requirePacked`: a diff without "PackedDiff" throws 0xfa000c.
// - "EmptyDiff": a copy of the target.
// - "FullElementCopy": a copy of the diff without its node marks; the target's traits are added unless
//   the diff is also "FixedTraitedFullCopy". With `keepMarks` only "PackedDiff", "FullElementCopy" and
//   "FixedTraitedFullCopy" are left out, so marks meant for later merges survive.
// - otherwise the value is MergeImpl's ("TraitsOnlyDiff": the target's value) and the traits are the
//   target's with the diff's trait diffs applied. A trait diff that two diff traits match throws 0xfa000c.
// Property entries marked "Removed" drop the property (a name the target lacks is ignored), "Added"
// sets a copy without the mark, also over an existing property, "AddOrUpdate" merges or adds, and
// "StateDeclaration" and the operations of StateArithmetic.h declare or change counters; an operation on
// a missing property sets the entry's own unit without the mark, not the operand applied to anything.
UnitPtr InternalMerge(const View::Unit& target, const View::Unit& diff,
                      const Construction::UnitFactory& factory, bool requirePacked, bool keepMarks);

// The value part of the merge, without traits: two composites merge property by property, two arrays by
// their "Added" and "Removed" elements (added ones first, in diff order, then the target's elements
// that no removed one equals by value; unmarked diff elements are ignored); any other pair gives a copy
// of the diff's value, so a scalar is last-writer-wins.
UnitPtr MergeImpl(const View::Unit& target, const View::Unit& diff, const Construction::UnitFactory& factory,
                  bool keepMarks);

// InternalMerge of a packed diff. Any failure throws 0xfa000c "POR: Failed to merge object update.
// Object is '...'. Diff is '...'." with both units printed and the failure as sub-error.
UnitPtr Merge(const View::Unit& target, const View::Unit& diff,
              const Construction::UnitFactory& factory = GetUnitFactory());
// The same on the node of a handle, with its factory; a handle without a tree throws
// Errors::ApplyingDiffToEmptyUnit (0xfa0001) instead of merging.
UnitPtr Merge(const ConstUnit& target, const View::Unit& diff);

} // namespace Util
} // namespace Por
