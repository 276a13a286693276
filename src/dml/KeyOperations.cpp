#include "dml/KeyOperations.h"

#include "por/UnitAccess.h"

namespace Dml::Operation
{

DML_DEFINE_OPERATION(DeleteObject, Definition)

void DeleteObject::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    Definition::WriteSchema(serializer);
    Detail::WriteIs(serializer, TypeName);
    Detail::WriteUnitProperty(serializer, "Key");
}

Por::UnitPtr DeleteObject::GetKey() const
{
    return GetUnitProperty("Key");
}

void DeleteObject::SetKey(const Por::View::Unit& key)
{
    SetUnitProperty("Key", key);
}

DML_DEFINE_OPERATION(UpdateObject, Definition)

void UpdateObject::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    Definition::WriteSchema(serializer);
    Detail::WriteIs(serializer, TypeName);
    Detail::WriteUnitProperty(serializer, "Key");
    Detail::WriteUnitProperty(serializer, "Patch");
}

Por::UnitPtr UpdateObject::GetKey() const
{
    return GetUnitProperty("Key");
}

void UpdateObject::SetKey(const Por::View::Unit& key)
{
    SetUnitProperty("Key", key);
}

Por::UnitPtr UpdateObject::GetPatch() const
{
    return GetUnitProperty("Patch");
}

void UpdateObject::SetPatch(const Por::View::Unit& patch)
{
    SetUnitProperty("Patch", patch);
}

} // namespace Dml::Operation
