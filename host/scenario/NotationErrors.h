// Host::Scenario::NotationErrors: the errors of reading JSON texts and the units written in them, in
// module 0x0300 of the reference host. Every message starts with where the fault is: the source's name
// for a text, the JSON pointer of the value for a unit.
#pragma once

#include "common/Error.h"

#include <cstdint>
#include <initializer_list>
#include <string_view>

namespace Host::Scenario
{

namespace NotationErrorCodes
{
inline constexpr std::uint32_t Syntax = 0x03000010;
inline constexpr std::uint32_t DuplicateKey = 0x03000011;
inline constexpr std::uint32_t UnknownKind = 0x03000012;
inline constexpr std::uint32_t BadValue = 0x03000013;
inline constexpr std::uint32_t NumberWithoutKind = 0x03000014;
inline constexpr std::uint32_t MissingField = 0x03000015;
inline constexpr std::uint32_t UnexpectedField = 0x03000016;
inline constexpr std::uint32_t UnknownClass = 0x03000017;
inline constexpr std::uint32_t TooDeep = 0x03000018;
} // namespace NotationErrorCodes

namespace NotationErrors
{

// The error of `code` with its catalog text, the UTF-8 `arguments` filling its placeholders in order.
// A syntax error given two arguments (the source and the problem) has no position.
Common::Error Make(const Common::ErrorLocation& location, std::uint32_t code,
                   std::initializer_list<std::string_view> arguments);

} // namespace NotationErrors
} // namespace Host::Scenario
