#include "PatternPlan.h"

#include "KeyCode.h"
#include "dml/KeyPattern.h"
#include "dml/ObjectKey.h"
#include "por/Match.h"
#include "por/Path.h"
#include "por/TraitUtil.h"
#include "por/Unit.h"
#include "por/UnitAccess.h"
#include "por/Visitor.h"

#include <algorithm>

namespace Host::Store::Detail
{
namespace
{

// Kinds whose equality under matching is equality of their blob form: no double (0.0 and -0.0, NaN), no
// composites or arrays (a pattern's composite matches a superset).
bool IsExactKind(Por::ValueKind kind)
{
    switch (kind)
    {
    case Por::ValueKind::Boolean:
    case Por::ValueKind::Byte:
    case Por::ValueKind::SByte:
    case Por::ValueKind::Word:
    case Por::ValueKind::SWord:
    case Por::ValueKind::DWord:
    case Por::ValueKind::SDWord:
    case Por::ValueKind::QWord:
    case Por::ValueKind::SQWord:
    case Por::ValueKind::Blob:
    case Por::ValueKind::Guid:
    case Por::ValueKind::String:
        return true;
    default:
        return false;
    }
}

} // namespace

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
    const Por::ResolvedValue root = Por::Resolve(*Pattern);
    if (root.Kind != Por::ValueKind::Composite)
    {
        return;
    }
    // A field with operators (traits) may match other values than its own: only plain ones narrow.
    auto collect = Por::MakeProcessor<const Por::View::Property>(
        [&](const Por::View::Property& property)
        {
            const Por::View::Unit& value = property.GetValue();
            if (!Por::Util::HasTraits(value) && IsExactKind(Por::Resolve(value).Kind))
            {
                FieldValues.push_back(
                    {Por::Util::MakePropertyPath(u"", property.GetName()), MakeKeyCode(value)});
            }
        });
    root.As<Por::View::CompositeValue>().ForEach(collect);
}

const PatternPlan::FieldValue*
PatternPlan::FindKeyField(const ObjectTable& table, const std::string& classCode, std::size_t count) const
{
    for (const FieldValue& field : FieldValues)
    {
        if (table.CountKeyedAt(classCode, field.Path) == count)
        {
            return &field;
        }
    }
    return nullptr;
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
    const std::string* sourceClass = nullptr;
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
            sourceClass = &code;
        }
    }
    // Any match of the field keeps the same value, so with the key there it is the object of that key.
    if (const FieldValue* field =
            FindKeyField(table, sourceClass != nullptr ? *sourceClass : std::string(), source->size()))
    {
        if (const StoredObjectPtr* found = table.Find(field->Code))
        {
            out.push_back(*found);
        }
        return;
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
