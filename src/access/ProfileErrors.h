// The errors of the profiles (module 0x0276, AccessManagement). Failures of the host's services reach
// callers as the sub-error of the profile's own error: reads as 0x02760003, changes as 0x02760002.
#pragma once

#include "common/Error.h"
#include "common/WideString.h"

#include <cstdint>

namespace AccessManagement::Facade
{

namespace ErrorCodes
{
inline constexpr std::uint32_t CannotModify = 0x02760002;
inline constexpr std::uint32_t CannotAccess = 0x02760003;
inline constexpr std::uint32_t InvalidOperationalUser = 0x02760004;
inline constexpr std::uint32_t InvalidTolUser = 0x02760005;
inline constexpr std::uint32_t InvalidUser = 0x02760006;
inline constexpr std::uint32_t UnsupportedCase = 0x02760007;
inline constexpr std::uint32_t InvalidClientSession = 0x02760008;
inline constexpr std::uint32_t InvalidTenant = 0x0276000B;
} // namespace ErrorCodes

namespace Errors
{

// 0x02760002 "Cannot modify user profile." with `cause` as sub-error.
Common::Error CannotModify(const Common::ErrorLocation& location, const Common::Error& cause);
// 0x02760003 "Cannot get access to the user profile." with `cause` as sub-error.
Common::Error CannotAccess(const Common::ErrorLocation& location, const Common::Error& cause);
// One of the input errors 0x02760004 to 0x0276000B with its text, `subject` filling its placeholder.
Common::Error InvalidInput(const Common::ErrorLocation& location, std::uint32_t code,
                           Common::WideStringView subject = {});

} // namespace Errors
} // namespace AccessManagement::Facade
