// Object keys: an object declares its key with the trait "PrimaryKey" somewhere in its tree. With a nil
// value the unit bearing the trait is the key; with any other value the trait's value is, and the key
// is then not part of the object's tree. The first bearer met depth first (properties in name order,
// elements in index order; trait values are not entered) decides. Pure functions over units.
#pragma once

#include "common/WideString.h"
#include "por/ConstUnit.h"
#include "por/Forward.h"
#include "por/Path.h"

#include <optional>

namespace Por
{
class BaseObject;
}

namespace Dml
{

// The key, inside `object` or inside one of its trait values. Throws 0x00FC000A "DML: Object
// identification cannot be found." when there is none.
const Por::View::Unit& GetObjectKey(const Por::View::Unit& object);
// As GetObjectKey; an empty handle throws 0x00AC0003 "Pointer is null." first.
const Por::View::Unit& GetObjectPtrKey(const Por::ConstUnitPtr& object);
// The key of the object's root, through GetObjectPtrKey.
const Por::View::Unit& GetObjectBaseKey(const Por::BaseObject& object);
// Whether a key is declared; never throws for a missing key.
bool HasObjectKey(const Por::View::Unit& object);

// The key as a handle: the handle itself when its node bears the key, the handle at the key's path
// below it, or a handle over a copy of a trait-valued key. `path` receives the path (below the
// handle's node) of the unit that declares the key. Throws 0x00AC0003 when the handle has no node and
// 0x00FC000A when there is no key.
Por::ConstUnit FindObjectKey(const Por::ConstUnit& object, Common::WideString& path);

// Where the key is: its path (for a trait-valued key the path of the "PrimaryKey" trait) and a copy of
// the key made with the process's factory; nothing when there is no key.
std::optional<Por::PathWithUnit> FindObjectKeyLocation(const Por::View::Unit& object);

} // namespace Dml
