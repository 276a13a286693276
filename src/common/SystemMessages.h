// Texts of system status values for the records that Error::AddWindowsError and its siblings chain:
// Windows error codes (as HRESULTs) and NT status values, kept as the designs give them. The source is
// replaceable so that the trimming of its texts can be exercised with texts that need it.
#pragma once

#include "common/WideString.h"

#include <cstdint>

namespace Common
{

// Returns the raw text of `status` (line ends included, as the system writes them); empty if none.
// `ntStatus` is true when the status is an NT status (bit 28 already cleared).
using SystemMessageSource = WideString (*)(std::uint32_t status, bool ntStatus);

// Installs `source` (null restores the built-in one) and returns the previous source.
SystemMessageSource SetSystemMessageSource(SystemMessageSource source);

// The raw text from the current source.
WideString GetSystemMessage(std::uint32_t status, bool ntStatus);

// The Windows error code that stands for a POSIX errno value in records of the platform layer.
std::uint32_t WindowsErrorFromErrno(int error);

} // namespace Common
