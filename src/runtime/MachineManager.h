// MachineManagement::MachineManager: the host's component 145, which knows this machine. Reached through
// Runtime::ServiceHolder; implementations are thread-safe.
#pragma once

#include "common/Error.h"
#include "common/Guid.h"
#include "common/NonCopyable.h"

namespace MachineManagement
{

class MachineManager : Common::NonCopyable
{
public:
    virtual ~MachineManager();
    // Fills `id` with this machine's id; a failure is returned, and `id` is then unspecified.
    virtual Common::Error GetMachineId(Common::Guid& id) = 0;
};

} // namespace MachineManagement
