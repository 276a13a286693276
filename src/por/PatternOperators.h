// The operators of patterns: one function of (source, operand) per trait name, looked up in a table that
// is built once on first use and read-only after that (thread-safe). A name outside the table is a
// malformed pattern and throws when a match reaches it, never when the pattern is built.
#pragma once

#include "common/WideString.h"
#include "por/Forward.h"

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace Por
{

// The result of one operator: does `source` satisfy the trait whose value is `operand`?
// Malformed operands throw Common::Error 0xfa000e (0xfa0020 for a range without "From" or "To").
using PatternFunction = bool (*)(const View::Unit& source, const View::Unit& operand);

// The operator of that trait name; an unknown name throws 0xfa000e
// "POR: Name '{0}' of the trait is not registered for pattern.". Thread-safe.
PatternFunction GetPatternByName(std::string_view name);
// The same, but null for an unknown name.
PatternFunction FindPatternByName(std::string_view name) noexcept;

// True for the operators that test the source's traits ("Is", "PrimaryKey", "ForeignKey", "Source")
// rather than its value.
bool IsTraitTestingPattern(std::string_view name) noexcept;

namespace Detail
{
using PatternTable = std::map<std::string, PatternFunction, std::less<>>;
// The table, ordered by name.
const PatternTable& GetPatternTable();
} // namespace Detail

namespace Util
{
// The text match of "Like": '%' is any run (also empty), '_' exactly one character; case-sensitive over
// UTF-16 units, no escape. A single pass with one backtrack point, so an empty pattern matches every text
// and "%a" does not match "aba" (the pass never backtracks once the pattern is used up).
bool LikeMatch(Common::WideStringView text, Common::WideStringView pattern);
} // namespace Util

} // namespace Por
