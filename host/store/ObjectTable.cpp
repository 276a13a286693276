#include "ObjectTable.h"

namespace Host::Store::Detail
{

const StoredObjectPtr* ObjectTable::Find(const std::string& keyCode) const
{
    const auto found = ByKey.find(keyCode);
    return found != ByKey.end() ? &found->second : nullptr;
}

void ObjectTable::Put(StoredObjectPtr object)
{
    auto [place, inserted] = ByKey.try_emplace(object->KeyCode);
    if (!inserted)
    {
        Unindex(*place->second);
    }
    place->second = std::move(object);
    Index(place->second);
}

StoredObjectPtr ObjectTable::Remove(const std::string& keyCode)
{
    const auto found = ByKey.find(keyCode);
    if (found == ByKey.end())
    {
        return nullptr;
    }
    StoredObjectPtr removed = std::move(found->second);
    ByKey.erase(found);
    Unindex(*removed);
    return removed;
}

const ObjectTable::OrderedObjects* ObjectTable::FindClass(const std::string& classCode) const
{
    const auto found = ByClass.find(classCode);
    return found != ByClass.end() ? &found->second : nullptr;
}

void ObjectTable::Index(const StoredObjectPtr& object)
{
    All.emplace(object->Ordinal, object);
    for (const std::string& code : object->ClassCodes)
    {
        ByClass[code].emplace(object->Ordinal, object);
    }
}

void ObjectTable::Unindex(const StoredObject& object)
{
    All.erase(object.Ordinal);
    for (const std::string& code : object.ClassCodes)
    {
        const auto found = ByClass.find(code);
        if (found != ByClass.end())
        {
            found->second.erase(object.Ordinal);
            if (found->second.empty())
            {
                ByClass.erase(found);
            }
        }
    }
}

} // namespace Host::Store::Detail
