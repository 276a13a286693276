#include "addons/Addon.h"

namespace Core
{

// The key function: the type's information is emitted here, in the core, once per process.
Addon::~Addon() = default;

} // namespace Core
