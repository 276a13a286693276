// This machine's id, as inspectors take it from the host: component 145 of the holder's registry as a
// MachineManagement::MachineManager.
#pragma once

#include "common/Guid.h"

namespace Runtime
{
class ServiceHolder;
}

namespace Alerts::Detail
{

// Throws 0x00AC0002 when component 145 is absent, 0x017E0019 when it is no machine manager, and the
// machine manager's own error when it fails.
Common::Guid GetMachineId(const Runtime::ServiceHolder& holder);

} // namespace Alerts::Detail
