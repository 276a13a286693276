// Copies of diff nodes for the diff and the merge: the value alone (nested units keep their traits), or
// the value with the node's traits except the listed names, so that a mark is never added to a copy only
// to be removed again. The results are new and independent of the source.
#pragma once

#include "por/Forward.h"

#include <initializer_list>
#include <string_view>

namespace Por::Util::Detail
{

UnitPtr CopyValue(const View::Unit& unit, const Construction::UnitFactory& factory);
UnitPtr CopyWithoutTraits(const View::Unit& unit, std::initializer_list<std::string_view> names,
                          const Construction::UnitFactory& factory);
// Adds copies of the traits of `from` to `to`, except the listed names.
void CopyTraitsExcept(const View::Traits& from, Construction::Unit& to,
                      std::initializer_list<std::string_view> names,
                      const Construction::UnitFactory& factory);

} // namespace Por::Util::Detail
