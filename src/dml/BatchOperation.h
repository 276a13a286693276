// Dml::Operation::BatchOperation: the one unit handed to the store for a batch of operations, in
// order, under "Operations". A schema class (see OperationDefinition.h for the members every one has).
#pragma once

#include "dml/OperationDefinition.h"

#include <vector>

namespace Dml::Operation
{

class BatchOperation : public Definition
{
    DML_OPERATION_CLASS(BatchOperation)

    // The operation units, shared with the batch; empty while unset.
    std::vector<Por::UnitPtr> GetOperations() const;
    // An array of copies of the operations (null handles are skipped).
    void SetOperations(const std::vector<Por::ConstUnitPtr>& operations);
};

} // namespace Dml::Operation
