// The failures of the object model: codes of the family 0xfa0000 with catalog texts. Everything here
// returns the Common::Error; callers throw it.
#pragma once

#include "common/Error.h"
#include "common/TextCatalog.h"
#include "common/WideString.h"
#include "por/ValueKind.h"

#include <cstdint>
#include <initializer_list>
#include <string_view>

namespace Por
{

namespace ErrorCodes
{
inline constexpr std::uint32_t General = 0xfa0001;
inline constexpr std::uint32_t TypeMismatch = 0xfa000a;
inline constexpr std::uint32_t NullUnit = 0xfa000b;
inline constexpr std::uint32_t MergeFailed = 0xfa000c;
inline constexpr std::uint32_t PropertyMissing = 0xfa000d;
inline constexpr std::uint32_t PatternFailure = 0xfa000e;
inline constexpr std::uint32_t OutOfRange = 0xfa000f;
inline constexpr std::uint32_t AssignProperties = 0xfa0010;
inline constexpr std::uint32_t AssignTypes = 0xfa0011;
inline constexpr std::uint32_t AssignTraits = 0xfa0012;
inline constexpr std::uint32_t ArrayElementMissing = 0xfa0016;
inline constexpr std::uint32_t CastFailed = 0xfa0018;
inline constexpr std::uint32_t SerializationFailed = 0xfa0019;
inline constexpr std::uint32_t DeserializationFailed = 0xfa001a;
inline constexpr std::uint32_t BranchMissing = 0xfa001b;
inline constexpr std::uint32_t TraitNotUnique = 0xfa001c;
inline constexpr std::uint32_t TraitMissing = 0xfa001d;
inline constexpr std::uint32_t PathWithUnitEmpty = 0xfa001e;
inline constexpr std::uint32_t HolderEmpty = 0xfa001f;
inline constexpr std::uint32_t ElementMissing = 0xfa0020;
inline constexpr std::uint32_t BlobCorrupted = 0xfa0021;
} // namespace ErrorCodes

// An error with the catalog text `text`, its placeholders filled with `arguments`.
Common::Error MakeError(const Common::ErrorLocation& location, std::uint32_t code, Common::WideTextId text,
                        std::initializer_list<Common::WideStringView> arguments = {});

// Narrow names and kind names as they appear in messages.
Common::WideString Widen(std::string_view text);

// 0xfa000b "POR: Null units are forbidden."
Common::Error MakeNullUnitError(const Common::ErrorLocation& location);
// 0xfa000f "POR: Out of range."
Common::Error MakeOutOfRangeError(const Common::ErrorLocation& location);
// 0xfa000d "POR: Property '{0}' cannot be found."
Common::Error MakePropertyNotFoundError(const Common::ErrorLocation& location, std::string_view name);

namespace Util::Detail
{
// Type mismatches (0xfa000a) first write the call stack to the trace, so a wrong type in production
// leaves its stack in the log.
Common::Error MakeTypeMismatchError(ValueKind expected, ValueKind actual);
Common::Error MakePropertyTypeMismatchError(std::string_view name, ValueKind expected, ValueKind actual);
Common::Error MakeUnexpectedTypeMismatchError(ValueKind actual);
// Writes "Stack logging from '{0}'" and one "Stack frame {0}: '{1}'" line per frame at trace level 2.
void LogStack(const char* from);
} // namespace Util::Detail

// The errors of ConstUnit and its kin, all 0xfa0001.
namespace Errors
{
Common::Error ApplyingDiffToEmptyUnit();
Common::Error ArrayUnitIndexAccess(Common::WideStringView path, std::size_t index);
Common::Error EmptyUnitHolder(Common::WideStringView path);
Common::Error EmptyUnitTraitAccess(std::string_view trait, Common::WideStringView path);
Common::Error InvalidIteratorAccessAttempt();
Common::Error MatchTraitPatternNullPointer();
Common::Error MissingUnitAccess(Common::WideStringView path);
Common::Error RemoveMissingProperty(std::string_view name);
Common::Error UnitArrayExpected(Common::WideStringView path);
Common::Error UnitCompositeExpected(Common::WideStringView path);
Common::Error UnitMissingPropertyAccess(Common::WideStringView path);
Common::Error UnitMissingTraitAccess(std::string_view trait, Common::WideStringView path);
} // namespace Errors

} // namespace Por
