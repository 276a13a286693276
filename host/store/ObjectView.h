// Host::Store::Detail::ShowObject: an object as a read's mask shows it. Readers find objects by their key
// even when the mask leaves it out, so the key and the root's traits ("Is", "PrimaryKey") always show.
#pragma once

#include "StoredObject.h"
#include "por/Forward.h"
#include "por/MaskingUnit.h"

#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace Host::Store::Detail
{

// The stored unit itself without a mask (no copy); otherwise a masked copy made with `factory`.
Por::ConstUnitPtr ShowObject(const StoredObject& object, const Por::View::Unit* mask,
                             const Por::Construction::UnitFactory& factory);

// The masks that show an object with its key without a copy: the read's mask where it names the key's
// field, else the mask with that field added. Only for a key in a field of the root; a deeper one is
// shown by a masked copy. Thread-safe.
class KeyedMasks
{
public:
    // `mask` may be null: objects show whole.
    explicit KeyedMasks(Por::ConstUnitPtr mask);
    KeyedMasks(const KeyedMasks&) = delete;
    KeyedMasks& operator=(const KeyedMasks&) = delete;

    const Por::View::Unit* GetMask() const { return Mask.get(); }
    // The mask to view the object through, or null when only a masked copy shows its key.
    Por::ConstUnitPtr For(const StoredObject& object);

private:
    const Por::ConstUnitPtr Mask;
    std::mutex Lock;
    std::map<std::u16string, Por::ConstUnitPtr> ByKeyPath;
};

// An object as the mask shows it for the length of one call: the stored unit, a view over it, or a
// masked copy (ShowObject). A notification's reader sees the object only while it is called.
class ShownObject
{
public:
    ShownObject(const StoredObject& object, KeyedMasks& masks, const Por::Construction::UnitFactory& factory);
    ShownObject(const ShownObject&) = delete;
    ShownObject& operator=(const ShownObject&) = delete;

    const Por::View::Unit& Get() const;

private:
    Por::ConstUnitPtr Whole; // the stored unit or the masked copy
    Por::ConstUnitPtr Mask;  // of the view
    std::optional<Por::MaskingUnit> View;
};

} // namespace Host::Store::Detail
