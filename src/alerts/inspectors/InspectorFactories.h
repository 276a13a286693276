// The constructors of the module's inspectors, one per file, as the add-ons call them. Each allocates its
// inspector over `holder` and returns it; whatever the constructor throws (a missing service, the
// machine manager's failure) leaves as Common::Error. An inspector not compiled into this build throws
// 0x011A0100 (MakeInspectorNotInBuildError).
#pragma once

#include "common/Error.h"

#include <cstdint>
#include <memory>
#include <string_view>

namespace Runtime
{
class ServiceHolder;
}

namespace Alerts
{

class Inspector;

namespace ErrorCodes
{
inline constexpr std::uint32_t InspectorNotInBuild = 0x011A0100;
}

namespace Detail
{

std::unique_ptr<Inspector> CreateActivityFailingInspector(Runtime::ServiceHolder& holder);
std::unique_ptr<Inspector> CreateActivityNotRespondingInspector(Runtime::ServiceHolder& holder);
std::unique_ptr<Inspector> CreateBackupDidNotStartInspector(Runtime::ServiceHolder& holder);
std::unique_ptr<Inspector> CreateEncryptionPasswordMissingInspector(Runtime::ServiceHolder& holder);
std::unique_ptr<Inspector> CreateIncompleteMachineInfoInspector(Runtime::ServiceHolder& holder);

// 0x011A0100 "The inspector '{0}' is not part of this build." with the inspector's class name, raised at
// `location`.
Common::Error MakeInspectorNotInBuildError(const Common::ErrorLocation& location, std::string_view inspector);

} // namespace Detail
} // namespace Alerts
