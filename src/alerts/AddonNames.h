// The names of the module's add-ons. Each inspector signs its log lines and errors with its add-on's
// name; the dot that ends the second one belongs to it.
#pragma once

namespace Alerts::AddonNames
{

inline constexpr const char* ActivityFailing = "Inspector of activity failing";
inline constexpr const char* ActivityNotResponding = "Inspector of activity not responding.";
inline constexpr const char* BackupDidNotStart = "Inspector of alert BackupDidNotStart";
inline constexpr const char* EncryptionPasswordMissing = "Inspector of alert EncryptionPasswordMissing";
inline constexpr const char* IncompleteMachineInfo = "Inspector of alert IncompleteMachineInfo";

} // namespace Alerts::AddonNames
