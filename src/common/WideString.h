// Wide text of the system: UTF-16 code units, the unit of the binary forms (units, errors, catalog).
// Convert at the edges (console, files, JSON), never inside the model.
#pragma once

#include <string>
#include <string_view>

namespace Common
{

using WideChar = char16_t;
using WideString = std::u16string;
using WideStringView = std::u16string_view;

} // namespace Common
