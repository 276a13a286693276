#include "dml/OperationFactory.h"

#include "dml/BatchOperation.h"
#include "dml/Errors.h"
#include "dml/ExtractIsValues.h"
#include "dml/KeyOperations.h"
#include "dml/ObjectKey.h"
#include "dml/ObjectOperations.h"
#include "dml/PatternOperations.h"
#include "por/TraitUtil.h"
#include "por/UnitAccess.h"

namespace Dml::Operation
{
namespace
{

constexpr std::string_view TypeTrait = "Type";

const Por::View::Unit& Require(const Por::ConstUnitPtr& unit, const Common::ErrorLocation& location)
{
    if (unit == nullptr)
    {
        throw Errors::MakeNullPointer(location);
    }
    return *unit;
}

// The string of the "Type" trait; empty without one.
Por::String TypeOf(const Por::View::Unit& key)
{
    const Por::View::Unit* type = Por::Util::FindUniqueTraitByName(key, TypeTrait);
    return type != nullptr ? Por::Util::GetValueOr<Por::String>(*type, {}) : Por::String();
}

// Gives the operation a fresh "ID" and its classes as "Type" traits, and hands out its root.
Por::ConstUnitPtr Complete(Definition& operation, const std::set<Por::String>& types)
{
    Common::Guid id;
    Common::GenerateGuid(id);
    operation.SetID(id);
    const Por::UnitPtr& root = operation.Root();
    for (const Por::String& type : types)
    {
        Por::Util::AddTrait(*root, TypeTrait, operation.Factory().CreateString(type), operation.Factory());
    }
    return root;
}

template <typename Operation>
Por::ConstUnitPtr MakeObjectOperation(const Por::ConstUnitPtr& object,
                                      const Por::Construction::UnitFactory& factory)
{
    const Por::String type = TypeOf(GetObjectPtrKey(object));
    Operation operation(factory);
    operation.SetObject(*object);
    return Complete(operation, {type});
}

std::set<Por::String> IsValuesOf(const Por::ConstUnitPtr& pattern)
{
    std::set<Por::String> values;
    if (pattern != nullptr)
    {
        Impl::ExtractIsValues(values).Extract(*pattern);
    }
    return values;
}

} // namespace

OperationFactory::OperationFactory() : Factory(Por::GetUnitFactory()) {}

void OperationFactory::CreateObject(const Por::ConstUnitPtr& object)
{
    Collect(MakeCreateObject(object, Factory));
}

void OperationFactory::CreateIfNotExist(const Por::ConstUnitPtr& object)
{
    Collect(MakeCreateIfNotExist(object, Factory));
}

void OperationFactory::StoreOrUpdate(const Por::ConstUnitPtr& object)
{
    Collect(MakeStoreOrUpdate(object, Factory));
}

void OperationFactory::StoreOrConsolidate(const Por::ConstUnitPtr& object)
{
    Collect(MakeStoreOrConsolidate(object, Factory));
}

void OperationFactory::ConsolidateIfExists(const Por::ConstUnitPtr& object)
{
    Collect(MakeConsolidateIfExists(object, Factory));
}

void OperationFactory::DeleteObject(const Por::ConstUnitPtr& key)
{
    Collect(MakeDeleteObject(key, Factory));
}

void OperationFactory::UpdateObject(const Por::ConstUnitPtr& key, const Por::ConstUnitPtr& patch)
{
    Collect(MakeUpdateObject(key, patch, Factory));
}

void OperationFactory::DeleteByPattern(const ViewSpec& spec)
{
    Collect(MakeDeleteByPattern(spec.Pattern, spec.Options, Factory));
}

void OperationFactory::DeleteByPattern(const Por::ConstUnitPtr& pattern, const Por::ConstUnitPtr& options)
{
    Collect(MakeDeleteByPattern(pattern, options, Factory));
}

void OperationFactory::UpdateByPattern(const Por::ConstUnitPtr& pattern, const Por::ConstUnitPtr& patch)
{
    Collect(MakeUpdateByPattern(pattern, patch, Factory));
}

Por::ConstUnitPtr OperationFactory::MakeOperation() const
{
    BatchOperation batch(Factory);
    batch.SetOperations(Operations);
    return Complete(batch, Classes);
}

Por::ConstUnitPtr OperationFactory::Finish()
{
    Por::ConstUnitPtr batch = MakeOperation();
    std::vector<Por::ConstUnitPtr>().swap(Operations);
    std::set<Por::String>().swap(Classes);
    return batch;
}

void OperationFactory::Collect(Por::ConstUnitPtr operation)
{
    std::set<Por::String> types;
    Impl::ExtractIsValues(types).Extract(*operation, TypeTrait);
    types.erase(Por::String());
    Classes.insert(types.begin(), types.end());
    Operations.push_back(std::move(operation));
}

Por::ConstUnitPtr OperationFactory::MakeCreateObject(const Por::ConstUnitPtr& object,
                                                     const Por::Construction::UnitFactory& factory)
{
    return MakeObjectOperation<Operation::CreateObject>(object, factory);
}

Por::ConstUnitPtr OperationFactory::MakeCreateIfNotExist(const Por::ConstUnitPtr& object,
                                                         const Por::Construction::UnitFactory& factory)
{
    return MakeObjectOperation<Operation::CreateIfNotExist>(object, factory);
}

Por::ConstUnitPtr OperationFactory::MakeStoreOrUpdate(const Por::ConstUnitPtr& object,
                                                      const Por::Construction::UnitFactory& factory)
{
    return MakeObjectOperation<Operation::StoreOrUpdate>(object, factory);
}

Por::ConstUnitPtr OperationFactory::MakeStoreOrConsolidate(const Por::ConstUnitPtr& object,
                                                           const Por::Construction::UnitFactory& factory)
{
    return MakeObjectOperation<Operation::StoreOrConsolidate>(object, factory);
}

Por::ConstUnitPtr OperationFactory::MakeConsolidateIfExists(const Por::ConstUnitPtr& object,
                                                            const Por::Construction::UnitFactory& factory)
{
    return MakeObjectOperation<Operation::ConsolidateIfExists>(object, factory);
}

Por::ConstUnitPtr OperationFactory::MakeDeleteObject(const Por::ConstUnitPtr& key,
                                                     const Por::Construction::UnitFactory& factory)
{
    const Por::View::Unit& keyUnit =
        Require(key, COMMON_LOCATION("Dml::Operation::OperationFactory::DeleteObject"));
    Operation::DeleteObject operation(factory);
    operation.SetKey(keyUnit);
    return Complete(operation, {TypeOf(keyUnit)});
}

Por::ConstUnitPtr OperationFactory::MakeUpdateObject(const Por::ConstUnitPtr& key,
                                                     const Por::ConstUnitPtr& patch,
                                                     const Por::Construction::UnitFactory& factory)
{
    const auto location = COMMON_LOCATION("Dml::Operation::OperationFactory::UpdateObject");
    const Por::View::Unit& keyUnit = Require(key, location);
    const Por::View::Unit& patchUnit = Require(patch, location);
    Operation::UpdateObject operation(factory);
    operation.SetKey(keyUnit);
    operation.SetPatch(patchUnit);
    return Complete(operation, {TypeOf(keyUnit)});
}

Por::ConstUnitPtr OperationFactory::MakeDeleteByPattern(const Por::ConstUnitPtr& pattern,
                                                        const Por::ConstUnitPtr& options,
                                                        const Por::Construction::UnitFactory& factory)
{
    Operation::DeleteByPattern operation(factory);
    if (pattern != nullptr)
    {
        operation.SetPattern(*pattern);
    }
    if (options != nullptr)
    {
        operation.SetOptions(*options);
    }
    return Complete(operation, IsValuesOf(pattern));
}

Por::ConstUnitPtr OperationFactory::MakeUpdateByPattern(const Por::ConstUnitPtr& pattern,
                                                        const Por::ConstUnitPtr& patch,
                                                        const Por::Construction::UnitFactory& factory)
{
    const Por::View::Unit& patchUnit =
        Require(patch, COMMON_LOCATION("Dml::Operation::OperationFactory::UpdateByPattern"));
    Operation::UpdateByPattern operation(factory);
    if (pattern != nullptr)
    {
        operation.SetPattern(*pattern);
    }
    operation.SetPatch(patchUnit);
    return Complete(operation, IsValuesOf(pattern));
}

} // namespace Dml::Operation
