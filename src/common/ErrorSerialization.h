// The serialised form of a Common::Error chain: carried between threads of the thread-pool library,
// stored inside units, used by DeepCopy. Little-endian, independent of process addresses:
//   1 byte version 0x01, then per record from head to last:
//   4 Code | 8 LineTag | message UTF-8 + NUL | per key of GetKeys (empty keys skipped): key + NUL, type
//   'A' (narrow + NUL) / 'W' (UTF-8 + NUL) / 'N' (8 bytes) | "$file\0A" file + NUL if set |
//   "$func\0A" function + NUL if set | "$line\0N" 8 bytes if not 0 | NUL.
// There is no count and no end mark. Parsing is forgiving: it returns the complete records in front of
// anything it cannot read, never throws and never reads past the buffer.
#pragma once

#include "common/Error.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Common
{

// A new block with the whole chain; `size` receives its length. Empty (null, size 0) for success.
std::unique_ptr<std::uint8_t[]> Serialize(const Error& error, std::size_t& size);

// Writes the chain into `buffer`, stopping silently at `capacity`; returns the size the whole chain needs.
std::size_t Serialize(const Error& error, void* buffer, std::size_t capacity);

// The chain in `bytes`, as far as it is complete; success for an empty blob or another version.
Error Deserialize(const void* bytes, std::size_t size);

// A chain that shares nothing with `error`, not even program literals, so it may outlive them.
Error DeepCopy(const Error& error);

namespace Detail
{
// The process-wide copy of a file or function name; null if it can't be allocated.
const char* InternText(const char* text, std::size_t length);
} // namespace Detail

} // namespace Common
