// Host::Store::Detail::ObjectTable: the objects of a store with their indexes: by key code, by creation
// order, and by each class of an object's chain in creation order, with how many objects of each class
// keep their key at each path. Not locked: the store's lock guards it.
#pragma once

#include "StoredObject.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Host::Store::Detail
{

class ObjectTable
{
public:
    using OrderedObjects = std::map<std::uint64_t, StoredObjectPtr>;

    // The object of the key, or null.
    const StoredObjectPtr* Find(const std::string& keyCode) const;
    // Inserts the object, or replaces the one of its key (the old one's ordinal must be kept by the caller
    // for an update; a new ordinal moves it).
    void Put(StoredObjectPtr object);
    // Removes the object of the key and returns it (null when there is none).
    StoredObjectPtr Remove(const std::string& keyCode);

    // All objects in creation order.
    const OrderedObjects& GetAll() const { return All; }
    // The objects of one class in creation order, or null when the class has none.
    const OrderedObjects* FindClass(const std::string& classCode) const;
    std::size_t Size() const { return ByKey.size(); }
    // How many objects of the class ("": of the whole table) keep their key at `keyPath`.
    std::size_t CountKeyedAt(const std::string& classCode, const std::u16string& keyPath) const;

private:
    void Index(const StoredObjectPtr& object);
    void Unindex(const StoredObject& object);
    void CountOut(const std::string& classCode, const std::u16string& keyPath);

    std::unordered_map<std::string, StoredObjectPtr> ByKey;
    OrderedObjects All;
    std::unordered_map<std::string, OrderedObjects> ByClass;
    std::map<std::pair<std::string, std::u16string>, std::size_t> KeyPaths;
};

} // namespace Host::Store::Detail
