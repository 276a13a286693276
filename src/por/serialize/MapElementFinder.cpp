#include "por/serialize/MapElementFinder.h"

#include "por/Compare.h"
#include "por/UnitAccess.h"
#include "por/Values.h"

namespace Por::Serialization
{

MapElementFinder::MapElementFinder(const View::Unit& map) : Items(Util::GetArray(map)) {}

const View::Unit* MapElementFinder::Find(const View::Unit& key) const
{
    for (std::size_t i = 0; i < Items.Size(); ++i)
    {
        const View::CompositeValue* item = Util::FindComposite(Items.Get(i));
        const View::Property* first = item != nullptr ? item->Find("first") : nullptr;
        const View::Property* second = item != nullptr ? item->Find("second") : nullptr;
        if (first != nullptr && second != nullptr && UnitValueEqual(first->GetValue(), key))
        {
            return &second->GetValue();
        }
    }
    return nullptr;
}

} // namespace Por::Serialization
