#include "dml/PatternOperations.h"

#include "por/UnitAccess.h"

namespace Dml::Operation
{

DML_DEFINE_OPERATION(DeleteByPattern, Definition)

void DeleteByPattern::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    Definition::WriteSchema(serializer);
    Detail::WriteIs(serializer, TypeName);
    Detail::WriteUnitProperty(serializer, "Pattern");
    Detail::WriteUnitProperty(serializer, "Options");
}

Por::UnitPtr DeleteByPattern::GetPattern() const
{
    return GetUnitProperty("Pattern");
}

void DeleteByPattern::SetPattern(const Por::View::Unit& pattern)
{
    SetUnitProperty("Pattern", pattern);
}

Por::UnitPtr DeleteByPattern::GetOptions() const
{
    return GetUnitProperty("Options");
}

void DeleteByPattern::SetOptions(const Por::View::Unit& options)
{
    SetUnitProperty("Options", options);
}

DML_DEFINE_OPERATION(UpdateByPattern, Definition)

void UpdateByPattern::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    Definition::WriteSchema(serializer);
    Detail::WriteIs(serializer, TypeName);
    Detail::WriteUnitProperty(serializer, "Pattern");
    Detail::WriteUnitProperty(serializer, "Patch");
}

Por::UnitPtr UpdateByPattern::GetPattern() const
{
    return GetUnitProperty("Pattern");
}

void UpdateByPattern::SetPattern(const Por::View::Unit& pattern)
{
    SetUnitProperty("Pattern", pattern);
}

Por::UnitPtr UpdateByPattern::GetPatch() const
{
    return GetUnitProperty("Patch");
}

void UpdateByPattern::SetPatch(const Por::View::Unit& patch)
{
    SetUnitProperty("Patch", patch);
}

} // namespace Dml::Operation
