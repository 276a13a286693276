#include "WriteTransaction.h"

#include "Consolidation.h"
#include "KeyCode.h"
#include "ViewOptions.h"
#include "dml/BatchOperation.h"
#include "dml/Errors.h"
#include "dml/KeyOperations.h"
#include "dml/ObjectKey.h"
#include "dml/ObjectOperations.h"
#include "dml/PatternOperations.h"
#include "por/Merge.h"
#include "por/TraitUtil.h"
#include "por/Unit.h"
#include "por/UnitAccess.h"
#include "por/UnitFactory.h"

#include <algorithm>
#include <string_view>

namespace Host::Store::Detail
{
namespace
{

constexpr std::string_view TimeStampName = "DmlTimeStamp";

bool IsOfClass(const Por::View::Unit& unit, std::string_view typeName)
{
    // Class names are ASCII: each character widens to one unit.
    return Por::Util::HasTraitWithValue(unit, "Is", Por::String(typeName.begin(), typeName.end()));
}

// A unit property of an operation, as a copy without the marks that carrying it through a pointer
// field leaves on its root; null when absent or marked empty.
Por::UnitPtr TakePayload(const Por::View::Unit& operation, std::string_view name,
                         const Por::Construction::UnitFactory& factory)
{
    const Por::View::Unit* value = Por::Util::FindPropertyValue(operation, name);
    // An unset property is the schema's nil marked "Nil" (or an empty pointer's nil marked "IsEmpty").
    if (value == nullptr || (Por::Util::IsNil(*value) &&
                             (Por::Util::HasTrait(*value, "Nil") || Por::Util::HasTrait(*value, "IsEmpty"))))
    {
        return nullptr;
    }
    Por::UnitPtr copy = Por::Util::Copy(*value, factory);
    Por::Util::RemoveTrait(*copy, "IsReference");
    Por::Util::RemoveTrait(*copy, "ptr_mark");
    return copy;
}

Por::UnitPtr RequirePayload(const Por::View::Unit& operation, std::string_view name,
                            const Por::Construction::UnitFactory& factory)
{
    Por::UnitPtr payload = TakePayload(operation, name, factory);
    if (payload == nullptr)
    {
        throw Dml::Errors::MakeUnexpectedObject(COMMON_LOCATION("Host::Store::Detail::RequirePayload"),
                                                &operation);
    }
    return payload;
}

// The key a request names: a unit marked as a key (or key pattern) is one; an object gives its own.
const Por::View::Unit& ResolveKey(const Por::View::Unit& unit)
{
    if (Por::Util::HasTrait(unit, "ObjectID") || !Dml::HasObjectKey(unit))
    {
        return unit;
    }
    return Dml::GetObjectKey(unit);
}

// The value of the key's "Type" trait, which names the object's class in messages.
const Por::View::Unit* FindSubject(const Por::View::Unit& key)
{
    try
    {
        return Por::Util::FindUniqueTraitByName(key, "Type");
    }
    catch (const Common::Error&)
    {
        return nullptr;
    }
}

// Only a composite can carry the store's time stamp.
void RequireComposite(const Por::View::Unit& object)
{
    if (!Por::Util::IsComposite(object))
    {
        throw Dml::Errors::MakeUnexpectedObject(COMMON_LOCATION("Host::Store::Detail::RequireComposite"),
                                                &object);
    }
}

} // namespace

WriteTransaction::WriteTransaction(ObjectTable& table, StoreCounters& counters,
                                   const Por::Construction::UnitFactory& factory)
    : Table(table), Counters(counters), Factory(factory)
{
}

WriteTransaction::~WriteTransaction()
{
    if (Committed)
    {
        return;
    }
    for (auto change = Changes.rbegin(); change != Changes.rend(); ++change)
    {
        if (change->Before != nullptr)
        {
            Table.Put(change->Before);
        }
        else
        {
            Table.Remove(change->After->KeyCode);
        }
    }
}

void WriteTransaction::Register(const Por::View::Unit& request)
{
    bool applied = false;
    ApplyOperation(request, applied);
    if (!applied)
    {
        Store(request, WhenExists::Fail, WhenMissing::Create);
    }
}

void WriteTransaction::Update(const Por::View::Unit& key, const Por::View::Unit& patch)
{
    const Por::View::Unit& named = ResolveKey(key);
    const StoredObjectPtr* stored = Table.Find(MakeKeyCode(named));
    if (stored == nullptr)
    {
        throw Dml::Errors::MakeUpdateMissingObject(
            COMMON_LOCATION("Host::Store::Detail::WriteTransaction::Update"), FindSubject(named), &named,
            &patch);
    }
    UpdateStored(*stored, named, patch);
}

void WriteTransaction::Unregister(const Por::View::Unit& key)
{
    const Por::View::Unit& named = ResolveKey(key);
    const StoredObjectPtr* stored = Table.Find(MakeKeyCode(named));
    if (stored == nullptr)
    {
        throw Dml::Errors::MakeDeleteMissingObject(
            COMMON_LOCATION("Host::Store::Detail::WriteTransaction::Unregister"), &named);
    }
    Put(*stored, nullptr);
}

std::vector<PersistedChange> WriteTransaction::MakePersistedChanges() const
{
    std::vector<PersistedChange> changes;
    changes.reserve(Changes.size());
    for (const Change& change : Changes)
    {
        if (change.After != nullptr)
        {
            changes.push_back({change.After->KeyCode, change.After->Ordinal, change.After->Object});
        }
        else
        {
            changes.push_back({change.Before->KeyCode, change.Before->Ordinal, nullptr});
        }
    }
    return changes;
}

void WriteTransaction::ApplyOperation(const Por::View::Unit& operation, bool& applied)
{
    applied = true;
    if (IsOfClass(operation, Dml::Operation::CreateObject::TypeName))
    {
        Store(*RequirePayload(operation, "Object", Factory), WhenExists::Fail, WhenMissing::Create);
    }
    else if (IsOfClass(operation, Dml::Operation::CreateIfNotExist::TypeName))
    {
        Store(*RequirePayload(operation, "Object", Factory), WhenExists::Skip, WhenMissing::Create);
    }
    else if (IsOfClass(operation, Dml::Operation::StoreOrUpdate::TypeName))
    {
        Store(*RequirePayload(operation, "Object", Factory), WhenExists::Replace, WhenMissing::Create);
    }
    else if (IsOfClass(operation, Dml::Operation::StoreOrConsolidate::TypeName))
    {
        Store(*RequirePayload(operation, "Object", Factory), WhenExists::Consolidate, WhenMissing::Create);
    }
    else if (IsOfClass(operation, Dml::Operation::ConsolidateIfExists::TypeName))
    {
        Store(*RequirePayload(operation, "Object", Factory), WhenExists::Consolidate, WhenMissing::Skip);
    }
    else if (IsOfClass(operation, Dml::Operation::DeleteObject::TypeName))
    {
        Unregister(*RequirePayload(operation, "Key", Factory));
    }
    else if (IsOfClass(operation, Dml::Operation::UpdateObject::TypeName))
    {
        Update(*RequirePayload(operation, "Key", Factory), *RequirePayload(operation, "Patch", Factory));
    }
    else if (IsOfClass(operation, Dml::Operation::DeleteByPattern::TypeName))
    {
        const Por::UnitPtr options = TakePayload(operation, "Options", Factory);
        DeleteByPattern(TakePayload(operation, "Pattern", Factory), options.get());
    }
    else if (IsOfClass(operation, Dml::Operation::UpdateByPattern::TypeName))
    {
        UpdateByPattern(TakePayload(operation, "Pattern", Factory),
                        *RequirePayload(operation, "Patch", Factory));
    }
    else if (IsOfClass(operation, Dml::Operation::BatchOperation::TypeName))
    {
        const Por::View::Unit* operations = Por::Util::FindPropertyValue(operation, "Operations");
        const Por::View::ArrayValue* array =
            operations != nullptr ? Por::Util::FindArray(*operations) : nullptr;
        if (array != nullptr)
        {
            auto apply = Por::MakeProcessor<const Por::View::Unit>(
                [this](const Por::View::Unit& item)
                {
                    bool done = false;
                    ApplyOperation(item, done);
                    if (!done)
                    {
                        throw Dml::Errors::MakeUnexpectedObject(
                            COMMON_LOCATION("Host::Store::Detail::WriteTransaction::ApplyOperation"), &item);
                    }
                });
            array->ForEach(apply);
        }
    }
    else
    {
        applied = false;
    }
}

void WriteTransaction::Store(const Por::View::Unit& object, WhenExists exists, WhenMissing missing)
{
    RequireComposite(object);
    const Por::View::Unit& key = Dml::GetObjectKey(object);
    const StoredObjectPtr* stored = Table.Find(MakeKeyCode(key));
    if (stored == nullptr)
    {
        if (missing == WhenMissing::Create)
        {
            Put(nullptr, Stamp(Por::Util::Copy(object, Factory), 0));
        }
        return;
    }
    switch (exists)
    {
    case WhenExists::Fail:
        throw Dml::Errors::MakeObjectAlreadyExists(
            COMMON_LOCATION("Host::Store::Detail::WriteTransaction::Store"), &key);
    case WhenExists::Skip:
        return;
    case WhenExists::Replace:
        Put(*stored, Stamp(Por::Util::Copy(object, Factory), (*stored)->Ordinal));
        return;
    case WhenExists::Consolidate:
        Put(*stored, Stamp(Consolidate(*(*stored)->Object, object, Factory), (*stored)->Ordinal));
        return;
    }
}

void WriteTransaction::UpdateStored(const StoredObjectPtr& stored, const Por::View::Unit& key,
                                    const Por::View::Unit& patch)
{
    Por::UnitPtr merged;
    try
    {
        merged = Por::Util::InternalMerge(*stored->Object, patch, Factory, true, false);
        RequireComposite(*merged);
        // The key is the object's identity: a patch may not move the object to another one.
        if (MakeKeyCode(Dml::GetObjectKey(*merged)) != stored->KeyCode)
        {
            throw Dml::Errors::MakeObjectKeyNotFound(
                COMMON_LOCATION("Host::Store::Detail::WriteTransaction::UpdateStored"));
        }
    }
    catch (const Common::Error& cause)
    {
        Common::Error error = Dml::Errors::MakeUpdateInvalidPatch(
            COMMON_LOCATION("Host::Store::Detail::WriteTransaction::UpdateStored"), &key, &patch);
        error.SetSubError(cause);
        throw error;
    }
    Put(stored, Stamp(std::move(merged), stored->Ordinal));
}

void WriteTransaction::DeleteByPattern(const Por::ConstUnitPtr& pattern, const Por::View::Unit* options)
{
    const PatternPlan plan(pattern);
    const ViewOptions view(options);
    std::vector<StoredObjectPtr> selected;
    plan.CollectCandidates(Table, selected);
    view.Select(plan, selected);
    for (const StoredObjectPtr& object : selected)
    {
        Put(object, nullptr);
    }
}

void WriteTransaction::UpdateByPattern(const Por::ConstUnitPtr& pattern, const Por::View::Unit& patch)
{
    const PatternPlan plan(pattern);
    std::vector<StoredObjectPtr> selected;
    plan.CollectCandidates(Table, selected);
    std::erase_if(selected, [&plan](const StoredObjectPtr& object) { return !plan.Matches(*object); });
    for (const StoredObjectPtr& object : selected)
    {
        UpdateStored(object, Dml::GetObjectKey(*object->Object), patch);
    }
}

StoredObjectPtr WriteTransaction::Stamp(Por::UnitPtr unit, std::uint64_t ordinal)
{
    RequireComposite(*unit);
    auto stored = std::make_shared<StoredObject>();
    stored->TimeStamp = ++Counters.LastTimeStamp;
    stored->Ordinal = ordinal != 0 ? ordinal : ++Counters.LastOrdinal;
    Por::Util::AddProperty(*unit, TimeStampName, Factory.CreateSQWord(stored->TimeStamp), Factory);
    DescribeObject(*unit, *stored);
    stored->Object = std::move(unit);
    return stored;
}

void WriteTransaction::Put(StoredObjectPtr before, StoredObjectPtr after)
{
    if (after != nullptr)
    {
        Table.Put(after);
    }
    else
    {
        Table.Remove(before->KeyCode);
    }
    Changes.push_back({std::move(before), std::move(after)});
}

} // namespace Host::Store::Detail
