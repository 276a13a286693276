// Common::Guid: the identifier of the whole system, 16 bytes in the field layout of the platform (a
// 32-bit, two 16-bit and eight 8-bit fields, little-endian in memory). Text form, upper case:
// "%08lX-%04hX-%04hX-%02X%02X-%02X%02X%02X%02X%02X%02X"; parsing accepts what sscanf accepts for it.
#pragma once

#include "common/WideString.h"

#include <array>
#include <compare>
#include <cstdint>
#include <string>

namespace Common
{

struct LittleEndian
{
};

template <typename ByteOrder>
struct GuidTemplate
{
    std::uint32_t Data1 = 0;
    std::uint16_t Data2 = 0;
    std::uint16_t Data3 = 0;
    std::array<std::uint8_t, 8> Data4 = {};

    friend bool operator==(const GuidTemplate&, const GuidTemplate&) = default;
    friend auto operator<=>(const GuidTemplate&, const GuidTemplate&) = default;
};

using Guid = GuidTemplate<LittleEndian>;
static_assert(sizeof(Guid) == 16);

inline constexpr Guid NullGuid{};

// The upper-case text form, 36 characters.
std::string GuidToString(const Guid& guid);
WideString GuidToWideString(const Guid& guid);

// Parses the text form; false (and `guid` unchanged) if sscanf would not read all eleven fields.
// A null text is a broken invariant ("t").
bool GuidFromString(const char* text, Guid& guid);

// A version 4 GUID from the system's random source. `name` must be null (name-based GUIDs aren't
// supported; a non-null one is a broken invariant, and a random GUID is made all the same).
void GenerateGuid(Guid& guid, const void* name = nullptr);

} // namespace Common

namespace Core
{

// Parses a GUID text; throws Common::Error 0x00E60005 naming the text when it isn't one.
Common::Guid ToGuid(const std::string& text);
Common::Guid ToGuid(const Common::WideString& text);

} // namespace Core
