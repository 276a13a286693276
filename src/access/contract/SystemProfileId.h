// The id of the system's own profile: the identity of work that runs on behalf of the machine. Host
// and add-on share it, so the host can keep the system's credentials where the add-on reads them.
#pragma once

#include "common/Guid.h"

namespace AccessManagement
{

inline constexpr Common::Guid SystemProfileId{
    0x0C4C0D22, 0x3F4B, 0x4E0C, {0x9B, 0x64, 0x53, 0x59, 0x53, 0x54, 0x45, 0x4D}};

} // namespace AccessManagement
