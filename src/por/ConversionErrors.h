// The failures of converting between plain objects and units, both 0xfa0018: a cast between object
// classes that do not fit, and a unit that does not read as the wanted type.
#pragma once

#include "common/Error.h"
#include "common/WideString.h"

#include <typeinfo>

namespace Por
{

// "POR: Cannot cast from type '{0}' to type '{1}'." with the (demangled) class names.
Common::Error MakeBadCastError(const std::type_info& from, const std::type_info& to);

namespace Detail
{
// "Failed to convert unit at '{0}'" with the path of the unit.
Common::Error MakeFailedToConvertError(Common::WideStringView path);
} // namespace Detail

} // namespace Por
