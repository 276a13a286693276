// The seventeen value kinds of a unit. The index orders values of different kinds and names them in
// messages; 17 means "not yet known" and is never the kind of a unit.
#pragma once

#include "common/Error.h"
#include "common/Guid.h"
#include "common/WideString.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Por
{

using Blob = std::vector<std::uint8_t>;
using String = Common::WideString;

enum class ValueKind : std::uint32_t
{
    Nil = 0,
    Boolean = 1,
    Byte = 2,
    SByte = 3,
    Word = 4,
    SWord = 5,
    DWord = 6,
    SDWord = 7,
    QWord = 8,
    SQWord = 9,
    Double = 10,
    Blob = 11,
    Guid = 12,
    String = 13,
    Error = 14,
    Array = 15,
    Composite = 16,
    Unknown = 17,
};

inline constexpr std::uint32_t ValueKindCount = 17;

// "nil", "boolean", ... for 0 to 16; the decimal number for anything else.
std::string GetValueTypeName(std::uint32_t index);
inline std::string GetValueTypeName(ValueKind kind)
{
    return GetValueTypeName(static_cast<std::uint32_t>(kind));
}

// The kind that carries a C++ value type.
template <typename T>
struct KindOf;
template <>
struct KindOf<bool>
{
    static constexpr ValueKind Value = ValueKind::Boolean;
};
template <>
struct KindOf<std::uint8_t>
{
    static constexpr ValueKind Value = ValueKind::Byte;
};
template <>
struct KindOf<std::int8_t>
{
    static constexpr ValueKind Value = ValueKind::SByte;
};
template <>
struct KindOf<std::uint16_t>
{
    static constexpr ValueKind Value = ValueKind::Word;
};
template <>
struct KindOf<std::int16_t>
{
    static constexpr ValueKind Value = ValueKind::SWord;
};
template <>
struct KindOf<std::uint32_t>
{
    static constexpr ValueKind Value = ValueKind::DWord;
};
template <>
struct KindOf<std::int32_t>
{
    static constexpr ValueKind Value = ValueKind::SDWord;
};
template <>
struct KindOf<std::uint64_t>
{
    static constexpr ValueKind Value = ValueKind::QWord;
};
template <>
struct KindOf<std::int64_t>
{
    static constexpr ValueKind Value = ValueKind::SQWord;
};
template <>
struct KindOf<double>
{
    static constexpr ValueKind Value = ValueKind::Double;
};
template <>
struct KindOf<Blob>
{
    static constexpr ValueKind Value = ValueKind::Blob;
};
template <>
struct KindOf<Common::Guid>
{
    static constexpr ValueKind Value = ValueKind::Guid;
};
template <>
struct KindOf<String>
{
    static constexpr ValueKind Value = ValueKind::String;
};
template <>
struct KindOf<Common::Error>
{
    static constexpr ValueKind Value = ValueKind::Error;
};

template <typename T>
inline constexpr ValueKind KindOfV = KindOf<T>::Value;

// Scalars are read by value, complex values (blob, guid, string, error) by reference.
template <typename T>
inline constexpr bool IsComplexV = KindOfV<T> >= ValueKind::Blob&& KindOfV<T> <= ValueKind::Error;

} // namespace Por
