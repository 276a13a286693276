// Throwing forms of the UTF-8 conversions, for callers that treat bad text as a failure.
#pragma once

#include "common/WideString.h"

#include <string>
#include <string_view>

namespace Core
{

// Throws Common::Error 0x00E60004 if `text` is not clean UTF-8.
Common::WideString ConvertFromUtf8(std::string_view text);
// Throws Common::Error 0x00E60003 if the text can't be encoded.
std::string ConvertToUtf8(Common::WideStringView text);

} // namespace Core
