#include "ObjectView.h"

#include "por/MaskingUnit.h"
#include "por/Path.h"
#include "por/Unit.h"

namespace Host::Store::Detail
{

Por::ConstUnitPtr ShowObject(const StoredObject& object, const Por::View::Unit* mask,
                             const Por::Construction::UnitFactory& factory)
{
    if (mask == nullptr)
    {
        return object.Object;
    }
    // The masking copy keeps the root's traits; only the key may have been masked away.
    Por::UnitPtr shown = Por::Util::Mask(*object.Object, *mask, factory);
    if (!object.KeyPath.empty() && Por::Util::ResolvePath(object.KeyPath, *shown) == nullptr)
    {
        if (const Por::View::Unit* key = Por::Util::ResolvePath(object.KeyPath, *object.Object))
        {
            shown = Por::Util::PutUnitInLocationEx(std::move(shown), object.KeyPath, *key, factory);
        }
    }
    return shown;
}

} // namespace Host::Store::Detail
