#include "access/contract/ProfileVault.h"

namespace AccessManagement
{

// The key function: the type's information is emitted here, in the core, once per process.
ProfileVault::~ProfileVault() = default;

} // namespace AccessManagement
