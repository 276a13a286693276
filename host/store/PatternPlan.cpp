#include "PatternPlan.h"

#include "KeyCode.h"
#include "dml/KeyPattern.h"
#include "dml/ObjectKey.h"
#include "por/Match.h"
#include "por/TraitUtil.h"
#include "por/Unit.h"
#include "por/UnitAccess.h"

#include <algorithm>

namespace Host::Store::Detail
{

PatternPlan::PatternPlan(Por::ConstUnitPtr pattern) : Pattern(std::move(pattern))
{
    if (Pattern == nullptr)
    {
        return;
    }
    if (Por::Util::HasTrait(*Pattern, "ObjectID"))
    {
        KeyCode = MakeKeyCode(*Pattern);
        return;
    }
    if (Dml::IsKeyPattern(*Pattern))
    {
        KeyCode = MakeKeyCode(Dml::GetObjectKey(*Pattern));
        return;
    }
    ClassCodes = GetClassCodes(*Pattern);
    NeedsMatch = !Por::Util::IsNil(*Pattern) || Por::Util::HasTraits(*Pattern);
}

void PatternPlan::CollectCandidates(const ObjectTable& table, std::vector<StoredObjectPtr>& out) const
{
    if (IsKeyLookup())
    {
        if (const StoredObjectPtr* found = table.Find(KeyCode))
        {
            out.push_back(*found);
        }
        return;
    }
    const ObjectTable::OrderedObjects* source = &table.GetAll();
    for (const std::string& code : ClassCodes)
    {
        const ObjectTable::OrderedObjects* objects = table.FindClass(code);
        if (objects == nullptr)
        {
            return; // a required class without objects: nothing can match
        }
        if (objects->size() < source->size())
        {
            source = objects;
        }
    }
    out.reserve(out.size() + source->size());
    for (const auto& entry : *source)
    {
        out.push_back(entry.second);
    }
}

bool PatternPlan::Matches(const StoredObject& object) const
{
    return !NeedsMatch || Por::Match(*object.Object, *Pattern);
}

bool PatternPlan::Selects(const StoredObject& object) const
{
    if (IsKeyLookup())
    {
        return object.KeyCode == KeyCode;
    }
    for (const std::string& code : ClassCodes)
    {
        if (std::find(object.ClassCodes.begin(), object.ClassCodes.end(), code) == object.ClassCodes.end())
        {
            return false;
        }
    }
    return Matches(object);
}

} // namespace Host::Store::Detail
