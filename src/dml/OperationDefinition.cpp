#include "dml/OperationDefinition.h"

#include "por/Errors.h"
#include "por/PORSerializer.h"
#include "por/TraitUtil.h"
#include "por/UnitAccess.h"
#include "por/Values.h"

namespace Dml::Operation
{
namespace
{
constexpr std::string_view IdName = "ID";
} // namespace

const Por::View::Unit& Definition::GetClassSchema()
{
    static const Por::ConstUnitPtr schema = Detail::BuildSchema(&Definition::WriteSchema);
    return *schema;
}

void Definition::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    Detail::WriteIs(serializer, TypeName);
    serializer.BeginValue(Por::Widen(IdName));
    serializer.Write(::Serialization::Names::Value, Common::NullGuid);
    serializer.WriteTrait(u"Nil");
    serializer.WriteTrait(u"PrimaryKey");
    serializer.End();
}

Definition::Definition(const Por::Construction::UnitFactory& factory)
    : Definition(Por::Util::Copy(GetClassSchema(), factory), factory)
{
}

Definition::Definition(Por::UnitPtr unit, const Por::Construction::UnitFactory& factory,
                       Por::ErrorHandler* handler)
    : Por::BaseObject(std::move(unit), factory, handler)
{
}

Definition::~Definition() = default;

const Por::View::Unit& Definition::GetSchemaEntry() const
{
    return GetClassSchema();
}

std::string_view Definition::GetCategory() const
{
    return TypeName;
}

Por::UnitPtr Definition::DefaultValue(std::string_view name) const
{
    const Por::View::Unit* value = Por::Util::FindPropertyValue(GetSchemaEntry(), name);
    return value != nullptr ? Por::Util::Copy(*value, Factory()) : Factory().CreateNil();
}

Common::Guid Definition::GetID() const
{
    return Get<Common::Guid>(IdName);
}

void Definition::SetID(const Common::Guid& id)
{
    if (Por::Construction::Unit* unit = Por::Util::FindPropertyValue(Branch(), IdName);
        unit != nullptr && Por::GetValueTypeIndex(*unit) == Por::ValueKind::Guid)
    {
        Por::Util::SetValue(*unit, id);
        ClearNil(IdName);
        return;
    }
    // An object read from elsewhere may lack the property: it comes back with its key mark.
    Por::UnitPtr value = MakeUnit(id);
    Por::Util::AddTrait(*value, "PrimaryKey", Factory());
    SetUnit(IdName, std::move(value));
}

Por::UnitPtr Definition::GetUnitProperty(std::string_view name) const
{
    const Por::Construction::Property* property = Por::Util::GetComposite(Branch()).FindProperty(name);
    if (property == nullptr || !IsSet(name))
    {
        return nullptr;
    }
    return property->GetValuePointer();
}

void Definition::SetUnitProperty(std::string_view name, const Por::View::Unit& value)
{
    Por::UnitPtr copy = Por::Util::Copy(value, Factory());
    Por::Util::RemoveTrait(*copy, "IsEmpty");
    Por::Util::RemoveTrait(*copy, "ptr_mark");
    SetUnit(name, std::move(copy));
}

namespace Detail
{

Por::ConstUnitPtr BuildSchema(SchemaFunction writeSchema)
{
    Por::Serialization::PORSerializer writer;
    writer.BeginClass(::Serialization::Names::Root);
    writeSchema(writer);
    writer.End();
    return writer.Result();
}

void WriteIs(Por::Serialization::PorAwareSerializer& serializer, std::string_view className)
{
    serializer.WriteTrait(u"Is", Por::Widen(className));
}

void WriteUnitProperty(Por::Serialization::PorAwareSerializer& serializer, std::string_view name)
{
    serializer.BeginValue(Por::Widen(name));
    serializer.WriteUnit(::Serialization::Names::Value, *serializer.GetFactory().CreateNil());
    serializer.WriteTrait(u"Nil");
    serializer.End();
}

} // namespace Detail
} // namespace Dml::Operation
