#include "dml/ObjectOperations.h"

#include "por/UnitAccess.h"

#define DML_DEFINE_OBJECT_OPERATION(Class)                                                                   \
    DML_DEFINE_OPERATION(Class, Definition)                                                                  \
    void Class::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)                              \
    {                                                                                                        \
        Definition::WriteSchema(serializer);                                                                 \
        Detail::WriteIs(serializer, TypeName);                                                               \
        Detail::WriteUnitProperty(serializer, "Object");                                                     \
    }                                                                                                        \
    Por::UnitPtr Class::GetObject() const                                                                    \
    {                                                                                                        \
        return GetUnitProperty("Object");                                                                    \
    }                                                                                                        \
    void Class::SetObject(const Por::View::Unit& object)                                                     \
    {                                                                                                        \
        SetUnitProperty("Object", object);                                                                   \
    }

namespace Dml::Operation
{

DML_DEFINE_OBJECT_OPERATION(CreateObject)
DML_DEFINE_OBJECT_OPERATION(CreateIfNotExist)
DML_DEFINE_OBJECT_OPERATION(StoreOrUpdate)
DML_DEFINE_OBJECT_OPERATION(StoreOrConsolidate)
DML_DEFINE_OBJECT_OPERATION(ConsolidateIfExists)

} // namespace Dml::Operation
