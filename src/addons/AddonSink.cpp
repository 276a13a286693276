#include "addons/AddonSink.h"

namespace Core
{

// The key function: the type's information is emitted here, in the core, once per process.
AddonSink::~AddonSink() = default;

} // namespace Core
