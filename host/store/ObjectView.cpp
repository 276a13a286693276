#include "ObjectView.h"

#include "common/Utf8.h"
#include "por/MaskingUnit.h"
#include "por/Path.h"
#include "por/PorUnit.h"
#include "por/TraitUtil.h"
#include "por/Unit.h"
#include "por/UnitAccess.h"

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

KeyedMasks::KeyedMasks(Por::ConstUnitPtr mask) : Mask(std::move(mask)) {}

Por::ConstUnitPtr KeyedMasks::For(const StoredObject& object)
{
    if (object.KeyPath.empty() || !Por::Util::IsComposite(*Mask))
    {
        return Mask; // a root key or one in a trait shows anyway, and so does all under a mask of no fields
    }
    std::lock_guard<std::mutex> guard(Lock);
    const auto [place, inserted] = ByKeyPath.try_emplace(object.KeyPath);
    if (!inserted)
    {
        return place->second;
    }
    const Common::WideString token =
        Por::Util::UnescapeToken(Common::WideStringView(object.KeyPath).substr(1));
    std::string name;
    Common::WideToUtf8(name, token.data(), token.size());
    if (Por::Util::MakePropertyPath(u"", name) != object.KeyPath)
    {
        return nullptr; // deeper than a field of the root
    }
    if (Por::Util::FindPropertyValue(*Mask, name) != nullptr)
    {
        place->second = Mask;
        return Mask;
    }
    Por::Unit keyed;
    keyed = *Mask;
    keyed[name] = true;
    place->second = keyed.Result();
    return place->second;
}

ShownObject::ShownObject(const StoredObject& object, KeyedMasks& masks,
                         const Por::Construction::UnitFactory& factory)
{
    if (masks.GetMask() == nullptr)
    {
        Whole = object.Object;
        return;
    }
    Mask = masks.For(object);
    if (Mask == nullptr)
    {
        Whole = ShowObject(object, masks.GetMask(), factory);
        return;
    }
    View.emplace(*object.Object, *Mask);
}

const Por::View::Unit& ShownObject::Get() const
{
    return View ? static_cast<const Por::View::Unit&>(*View) : *Whole;
}

} // namespace Host::Store::Detail
