// The text form of units for messages and logs: one line per node with indent, name, kind and value;
// traits follow their unit, named "^name". The root is named "Root". No reader parses it.
#pragma once

#include "common/WideString.h"
#include "por/Forward.h"

#include <ostream>
#include <string>

namespace Por::Util
{

// Writes the tree as UTF-8 lines; without values only names and kinds.
void PrintUnit(const View::Unit& unit, std::ostream& stream, bool withValues = true);
// The text form; "Null unit" for a null unit.
std::string UnitToString(const View::Unit* unit);
inline std::string UnitToString(const View::Unit& unit)
{
    return UnitToString(&unit);
}
Common::WideString UnitToWideString(const View::Unit* unit);

} // namespace Por::Util
