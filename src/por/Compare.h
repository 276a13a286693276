// Ordering and equality of units. Values of different kinds never tie (the larger kind index is
// greater) and are never equal, not even "word" 1 and "dword" 1. Compare looks at traits after values;
// UnitValueEqual at values only (but at traits of nested units); UnitEqual at both.
#pragma once

#include "por/Forward.h"

namespace Por
{

// -1, 0 or 1.
int Compare(const View::Unit& left, const View::Unit& right);
bool UnitEqual(const View::Unit& left, const View::Unit& right);
bool UnitValueEqual(const View::Unit& left, const View::Unit& right);
// -1, 0 or 1: the two sorted trait sets walked side by side.
int CompareTraits(const View::Traits& left, const View::Traits& right);
bool TraitsEqual(const View::Traits& left, const View::Traits& right);

namespace Util
{
using Por::Compare;
using Por::UnitEqual;
using Por::UnitValueEqual;
} // namespace Util

} // namespace Por
