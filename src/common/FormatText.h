// Filling the numbered placeholders "{0}", "{1}", ... of catalog texts, narrow and wide alike. One
// forward pass: inserted arguments are never rescanned, and the first placeholder whose index has no
// argument ends the work, leaving it and the rest as they are. Other brace forms pass through.
#pragma once

#include "common/WideString.h"

#include <concepts>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

namespace Common
{

// The format with each "{n}" (n: decimal digits) replaced by arguments[n], until the first n that is
// not below the number of arguments. Forms such as "{0, choice, ...}", "{x}" and "{0" stay unchanged.
std::string FormatText(std::string_view format, std::span<const std::string_view> arguments);
WideString FormatText(WideStringView format, std::span<const WideStringView> arguments);

inline std::string FormatText(std::string_view format, std::initializer_list<std::string_view> arguments)
{
    return FormatText(format, std::span<const std::string_view>(arguments.begin(), arguments.size()));
}
inline WideString FormatText(WideStringView format, std::initializer_list<WideStringView> arguments)
{
    return FormatText(format, std::span<const WideStringView>(arguments.begin(), arguments.size()));
}

// FormatText(format, a, b, ...) for arguments that convert to the format's string view.
template <typename... Arguments>
requires(sizeof...(Arguments) > 0 &&
         (std::convertible_to<const Arguments&, std::string_view> && ...)) std::string
    FormatText(std::string_view format, const Arguments&... arguments)
{
    const std::string_view views[] = {std::string_view(arguments)...};
    return FormatText(format, std::span<const std::string_view>(views));
}
template <typename... Arguments>
requires(sizeof...(Arguments) > 0 &&
         (std::convertible_to<const Arguments&, WideStringView> && ...)) WideString
    FormatText(WideStringView format, const Arguments&... arguments)
{
    const WideStringView views[] = {WideStringView(arguments)...};
    return FormatText(format, std::span<const WideStringView>(views));
}

} // namespace Common
