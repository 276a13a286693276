// The operations that carry a whole object: create (failing on an existing key), create unless it
// exists, store or update, store or consolidate, consolidate if it exists. Each adds "Object" to the
// base. Schema classes (see OperationDefinition.h for the members every one has).
#pragma once

#include "dml/OperationDefinition.h"

#define DML_OBJECT_OPERATION(Class)                                                                          \
    class Class : public Definition                                                                          \
    {                                                                                                        \
        DML_OPERATION_CLASS(Class)                                                                           \
                                                                                                             \
        /* The object, shared with the operation; null while unset. */                                       \
        Por::UnitPtr GetObject() const;                                                                      \
        void SetObject(const Por::View::Unit& object);                                                       \
    };

namespace Dml::Operation
{

DML_OBJECT_OPERATION(CreateObject)
DML_OBJECT_OPERATION(CreateIfNotExist)
DML_OBJECT_OPERATION(StoreOrUpdate)
DML_OBJECT_OPERATION(StoreOrConsolidate)
DML_OBJECT_OPERATION(ConsolidateIfExists)

} // namespace Dml::Operation

#undef DML_OBJECT_OPERATION
