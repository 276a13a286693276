#include "addons/Module.h"

namespace Core
{

// The key function: the type's information is emitted here, in the core, once per process.
Module::~Module() = default;

} // namespace Core
