// Host::Store::Detail::Consolidate: what the consolidating writes store when the object exists. The new
// object's values win wherever it has them, down through composites both sides have; what only the stored
// object has stays. So a partial object adds to what is known instead of replacing it.
#pragma once

#include "por/Forward.h"

namespace Host::Store::Detail
{

// A new unit; both inputs are only read. Throws 0xfa000c when the merge fails.
Por::UnitPtr Consolidate(const Por::View::Unit& stored, const Por::View::Unit& update,
                         const Por::Construction::UnitFactory& factory);

} // namespace Host::Store::Detail
