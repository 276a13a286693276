#include "StoredObject.h"

#include "KeyCode.h"
#include "dml/ObjectKey.h"

namespace Host::Store::Detail
{

void DescribeObject(const Por::View::Unit& unit, StoredObject& stored)
{
    stored.KeyCode = MakeKeyCode(Dml::GetObjectKey(unit));
    stored.KeyPath.clear();
    if (const std::optional<Por::PathWithUnit> location = Dml::FindObjectKeyLocation(unit))
    {
        // A key held in a trait's value is no part of the tree: no mask can hide it.
        if (location->GetPath().find(u'^') == Common::WideString::npos)
        {
            stored.KeyPath = location->GetPath();
        }
    }
    stored.ClassCodes = GetClassCodes(unit);
}

} // namespace Host::Store::Detail
