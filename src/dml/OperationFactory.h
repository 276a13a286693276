// Dml::Operation::OperationFactory: collects write operations into one batch for the store. Each call
// clones its arguments, makes the operation with a fresh random "ID" and the class it touches as "Type"
// traits, and appends it; the batch carries one "Type" per class collected. The single-operation
// builders (Make...) return one such operation without collecting it. One thread at a time.
#pragma once

#include "common/NonCopyable.h"
#include "dml/ViewSpec.h"
#include "por/Forward.h"
#include "por/UnitFactory.h"
#include "por/ValueKind.h"

#include <set>
#include <vector>

namespace Dml::Operation
{

class OperationFactory : Common::NonCopyable
{
public:
    // With the process's unit factory.
    OperationFactory();

    // Object operations: the class is the string of the "Type" trait of the object's key (an empty one
    // when it has none). A null object throws 0x00AC0003, one without key 0x00FC000A.
    void CreateObject(const Por::ConstUnitPtr& object);
    void CreateIfNotExist(const Por::ConstUnitPtr& object);
    void StoreOrUpdate(const Por::ConstUnitPtr& object);
    void StoreOrConsolidate(const Por::ConstUnitPtr& object);
    void ConsolidateIfExists(const Por::ConstUnitPtr& object);
    // Key operations: the class is the "Type" of the key given. Null arguments throw 0x00AC0003.
    void DeleteObject(const Por::ConstUnitPtr& key);
    void UpdateObject(const Por::ConstUnitPtr& key, const Por::ConstUnitPtr& patch);
    // Pattern operations: the classes are the pattern's "Is" values. A null pattern or options handle
    // leaves its property unset; a null patch throws 0x00AC0003.
    void DeleteByPattern(const ViewSpec& spec);
    void DeleteByPattern(const Por::ConstUnitPtr& pattern, const Por::ConstUnitPtr& options);
    void UpdateByPattern(const Por::ConstUnitPtr& pattern, const Por::ConstUnitPtr& patch);

    // The batch of what was collected, in call order; the factory keeps it.
    Por::ConstUnitPtr MakeOperation() const;
    // The batch, leaving the factory empty.
    Por::ConstUnitPtr Finish();

    const std::vector<Por::ConstUnitPtr>& GetOperations() const { return Operations; }
    const std::set<Por::String>& GetClasses() const { return Classes; }

    // The single operations, each with a fresh "ID" and its "Type" traits.
    static Por::ConstUnitPtr
    MakeCreateObject(const Por::ConstUnitPtr& object,
                     const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
    static Por::ConstUnitPtr
    MakeCreateIfNotExist(const Por::ConstUnitPtr& object,
                         const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
    static Por::ConstUnitPtr
    MakeStoreOrUpdate(const Por::ConstUnitPtr& object,
                      const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
    static Por::ConstUnitPtr
    MakeStoreOrConsolidate(const Por::ConstUnitPtr& object,
                           const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
    static Por::ConstUnitPtr
    MakeConsolidateIfExists(const Por::ConstUnitPtr& object,
                            const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
    static Por::ConstUnitPtr
    MakeDeleteObject(const Por::ConstUnitPtr& key,
                     const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
    static Por::ConstUnitPtr
    MakeUpdateObject(const Por::ConstUnitPtr& key, const Por::ConstUnitPtr& patch,
                     const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
    static Por::ConstUnitPtr
    MakeDeleteByPattern(const Por::ConstUnitPtr& pattern, const Por::ConstUnitPtr& options,
                        const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
    static Por::ConstUnitPtr
    MakeUpdateByPattern(const Por::ConstUnitPtr& pattern, const Por::ConstUnitPtr& patch,
                        const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());

private:
    // Appends the operation and inserts its non-empty "Type" values into the classes.
    void Collect(Por::ConstUnitPtr operation);

    const Por::Construction::UnitFactory& Factory;
    std::vector<Por::ConstUnitPtr> Operations;
    std::set<Por::String> Classes;
};

} // namespace Dml::Operation
