// Assignment: writes the values of one unit onto an existing unit of the same shape, in place. It never
// changes a shape: everything that can fail is checked before anything is written, so a failed Assign
// leaves the target as it was.
#pragma once

#include "por/Forward.h"

namespace Por::Util
{

// Throws when `source` does not fit `target`, at any level of their composites:
// - 0xfa0012 "POR: Cannot assign units with different traits." when a trait of the source is not in the
//   target with an equal value (the target may have more);
// - 0xfa0011 "POR: Cannot assign units of different types." when the kinds differ ("word" does not fit
//   "dword"); its sub-error is the type mismatch 0xfa000a naming the target's kind as expected and the
//   source's as actual, with the property path when below the root;
// - 0xfa0010 "POR: Cannot assign units with different properties." when a source property is missing in
//   the target; its sub-error 0xfa000d names the path.
// Arrays fit arrays whatever their sizes and elements, since they are replaced whole.
void EnsureUnitsCanBeAssigned(const View::Unit& target, const View::Unit& source);

// Checks as above, then writes: scalars and complex values are set, composites assigned property by
// property (target properties the source lacks stay), arrays cleared and refilled with deep copies of the
// source's elements, traits included. Traits of the target are never changed. `source` may lie inside
// `target`: array elements are copied before the array is cleared.
void Assign(Modification::Unit& target, const View::Unit& source);

} // namespace Por::Util
