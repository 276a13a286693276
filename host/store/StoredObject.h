// Host::Store::StoredObject: one object as the store keeps it. The unit is immutable once stored and is
// shared with readers, so a report or a notification hands it out without copying. A write makes a new
// StoredObject; the old one lives on as long as a reader still holds it.
#pragma once

#include "por/Forward.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Host::Store
{

struct StoredObject
{
    // The object, stamped with its "DmlTimeStamp".
    Por::ConstUnitPtr Object;
    // The key's code (KeyCode.h) and the path of the key in the object ("" when the key is the root or a
    // trait's value, so it can't be masked away).
    std::string KeyCode;
    std::u16string KeyPath;
    // The codes of the object's "Is" values.
    std::vector<std::string> ClassCodes;
    // Creation order, kept by updates: the order of reports without sorting.
    std::uint64_t Ordinal = 0;
    std::int64_t TimeStamp = 0;
};

using StoredObjectPtr = std::shared_ptr<const StoredObject>;

} // namespace Host::Store

namespace Host::Store::Detail
{

// Fills the key code, key path and class codes of `stored` from its unit. Throws 0xFC000A when the
// unit declares no key.
void DescribeObject(const Por::View::Unit& unit, StoredObject& stored);

} // namespace Host::Store::Detail
