// Host::Scenario::ParseJsonText: a JSON text as the host reads scenario files. Comments (// and /* */)
// are allowed, so a scenario can tell its story; a key written twice in one object is refused, since
// JSON would silently keep the last one.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

namespace Host::Scenario
{

// The JSON pointer form of one key ("~" as "~0", "/" as "~1"), to append after a "/".
std::string EscapePointerKey(std::string_view key);

// The value of `text`. `source` names the text in messages (usually the file's path). Throws
// 0x03000010 with the line, column and problem of a syntax error, and 0x03000011 with the JSON pointer
// of the object that has a key twice.
nlohmann::json ParseJsonText(std::string_view text, std::string_view source);

} // namespace Host::Scenario
