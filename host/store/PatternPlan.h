// Host::Store::Detail::PatternPlan: how a read's pattern is served. A key pattern (its root, or the key
// it declares, bears "ObjectID") is a lookup of one key and is never matched; a pattern whose root
// requires "Is" values reads only the smallest of those classes and matches there; any other pattern
// matches every object, and an empty one takes them all. When every object of those classes keeps its
// key in a root field that the pattern asks to equal a plain value, the read is the lookup of that one
// key, matched (a plan and an instance read by their "ID" cost a lookup, not a class scan).
#pragma once

#include "ObjectTable.h"
#include "StoredObject.h"
#include "por/Forward.h"

#include <string>
#include <vector>

namespace Host::Store::Detail
{

class PatternPlan
{
public:
    // `pattern` may be null: everything. Keeps the pattern for matching.
    explicit PatternPlan(Por::ConstUnitPtr pattern);

    // The objects that may match, in creation order (for a key, the one object). Under the store's lock.
    void CollectCandidates(const ObjectTable& table, std::vector<StoredObjectPtr>& out) const;
    // Whether a candidate matches; throws what Por::Match throws for a malformed pattern.
    bool Matches(const StoredObject& object) const;
    // Whether any object, candidate or not, is selected (a candidate's test with the index's own check).
    bool Selects(const StoredObject& object) const;
    bool IsKeyLookup() const { return !KeyCode.empty(); }

private:
    // A root field of the pattern that asks for a value whose key code is equal exactly when the value is.
    struct FieldValue
    {
        std::u16string Path;
        std::string Code;
    };

    // The one object of a field's key when every object of `source` keeps its key in that field.
    const FieldValue* FindKeyField(const ObjectTable& table, const std::string& classCode,
                                   std::size_t count) const;

    Por::ConstUnitPtr Pattern;
    std::string KeyCode;
    std::vector<std::string> ClassCodes;
    std::vector<FieldValue> FieldValues;
    bool NeedsMatch = false;
};

} // namespace Host::Store::Detail
