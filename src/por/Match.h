// Por::Match: does a unit fit a pattern? A pattern has the shape of the units it accepts and carries
// operators as traits (see PatternOperators.h). A failed match is a plain false; only a malformed pattern
// throws. Pure over immutable views: safe on many threads at once.
#pragma once

#include "por/Forward.h"
#include "por/SafeUnitHolder.h"

namespace Por
{

// The rules, in order:
//  1. a nil pattern without traits matches anything;
//  2. a source of another kind than the pattern never matches (before any operator runs);
//  3. a pattern without traits that is not composite must be UnitValueEqual to the source;
//  4. each trait of the pattern, in sorted order, is an operator called with (source, trait value);
//     the first false decides;
//  5. each property of a composite pattern must be present in the source and match its value;
//     source properties that the pattern doesn't name are ignored.
// Throws Common::Error 0xfa000e (or 0xfa0020) for a malformed node that the match reaches.
bool Match(const View::Unit& source, const View::Unit& pattern);

// The same over shared views: both null is true, exactly one null is false.
bool Match(const ConstUnitPtr& source, const ConstUnitPtr& pattern);
inline bool Match(const View::SafeUnitHolder& source, const View::SafeUnitHolder& pattern)
{
    return Match(source.GetPointer(), pattern.GetPointer());
}

} // namespace Por
