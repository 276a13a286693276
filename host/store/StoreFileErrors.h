// Host::Store::StoreFileErrors: the errors of the store's SQLite file, in module 0x0300 of the reference
// host. Each names the file; a file refused at opening is never written, which the texts say.
#pragma once

#include "common/Error.h"
#include "common/WideString.h"

#include <cstdint>
#include <string_view>

namespace Host::Store
{

namespace StoreFileErrorCodes
{
inline constexpr std::uint32_t OpenFailed = 0x03000001;
inline constexpr std::uint32_t NotDatabase = 0x03000002;
inline constexpr std::uint32_t Foreign = 0x03000003;
inline constexpr std::uint32_t UnknownVersion = 0x03000004;
inline constexpr std::uint32_t Corrupt = 0x03000005;
inline constexpr std::uint32_t InUse = 0x03000006;
inline constexpr std::uint32_t CreateFailed = 0x03000007;
inline constexpr std::uint32_t ReadFailed = 0x03000008;
inline constexpr std::uint32_t WriteFailed = 0x03000009;
inline constexpr std::uint32_t ReadOnly = 0x0300000A;
inline constexpr std::uint32_t StateUnknown = 0x0300000B;
} // namespace StoreFileErrorCodes

namespace StoreFileErrors
{

// The error of `code` with its catalog text; `detail` fills the second placeholder of the texts that
// have one (a reason, or the version). `path` is UTF-8.
Common::Error Make(const Common::ErrorLocation& location, std::uint32_t code, std::string_view path,
                   std::string_view detail = {});

} // namespace StoreFileErrors
} // namespace Host::Store
