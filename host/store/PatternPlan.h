// Host::Store::Detail::PatternPlan: how a read's pattern is served. A key pattern (its root, or the key
// it declares, bears "ObjectID") is a lookup of one key and is never matched; a pattern whose root
// requires "Is" values reads only the smallest of those classes and matches there; any other pattern
// matches every object, and an empty one takes them all.
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
    Por::ConstUnitPtr Pattern;
    std::string KeyCode;
    std::vector<std::string> ClassCodes;
    bool NeedsMatch = false;
};

} // namespace Host::Store::Detail
