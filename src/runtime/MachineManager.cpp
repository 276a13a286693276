#include "runtime/MachineManager.h"

namespace MachineManagement
{

// The key function: the type's information is emitted here, in the core, once per process.
MachineManager::~MachineManager() = default;

} // namespace MachineManagement
