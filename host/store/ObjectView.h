// Host::Store::Detail::ShowObject: an object as a read's mask shows it. Readers find objects by their key
// even when the mask leaves it out, so the key and the root's traits ("Is", "PrimaryKey") always show.
#pragma once

#include "StoredObject.h"
#include "por/Forward.h"

namespace Host::Store::Detail
{

// The stored unit itself without a mask (no copy); otherwise a masked copy made with `factory`.
Por::ConstUnitPtr ShowObject(const StoredObject& object, const Por::View::Unit* mask,
                             const Por::Construction::UnitFactory& factory);

} // namespace Host::Store::Detail
