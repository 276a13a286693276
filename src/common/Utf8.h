// UTF-8 and UTF-16 conversion whose tolerance of bad input is part of the stored formats: the decoder
// keeps overlong forms (marking the result not clean) and accepts encoded lone surrogates, which the
// encoder writes for unpaired units, so every wide text survives a round trip.
#pragma once

#include "common/WideString.h"

#include <cstddef>
#include <string>

namespace Common
{

// Decodes `bytes` into `out` (replacing its content), stopping at a NUL or after `maximum` bytes.
// Returns true if the input was clean UTF-8; bad sequences give U+FFFD and make the result not clean.
bool Utf8ToWide(WideString& out, const char* bytes, std::size_t maximum);

// Encodes `text` into `out` (replacing its content), stopping at a NUL or after `maximum` units. A lone
// surrogate is written as a three-byte form. Always returns true.
bool WideToUtf8(std::string& out, const char16_t* text, std::size_t maximum);

} // namespace Common
