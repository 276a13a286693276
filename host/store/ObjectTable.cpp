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

std::size_t ObjectTable::CountKeyedAt(const std::string& classCode, const std::u16string& keyPath) const
{
    const auto found = KeyPaths.find({classCode, keyPath});
    return found != KeyPaths.end() ? found->second : 0;
}

void ObjectTable::Index(const StoredObjectPtr& object)
{
    All.emplace(object->Ordinal, object);
    ++KeyPaths[{std::string(), object->KeyPath}];
    for (const std::string& code : object->ClassCodes)
    {
        ByClass[code].emplace(object->Ordinal, object);
        ++KeyPaths[{code, object->KeyPath}];
    }
}

void ObjectTable::CountOut(const std::string& classCode, const std::u16string& keyPath)
{
    const auto found = KeyPaths.find({classCode, keyPath});
    if (found != KeyPaths.end() && --found->second == 0)
    {
        KeyPaths.erase(found);
    }
}

void ObjectTable::Unindex(const StoredObject& object)
{
    All.erase(object.Ordinal);
    CountOut(std::string(), object.KeyPath);
    for (const std::string& code : object.ClassCodes)
    {
        CountOut(code, object.KeyPath);
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
