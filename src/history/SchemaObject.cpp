#include "history/SchemaObject.h"

#include "por/Errors.h"
#include "por/TraitUtil.h"
#include "por/Values.h"

namespace Tol::History::Plain::Detail
{
namespace
{

Por::Construction::Property* FindProperty(const Por::BaseObject& object, std::string_view name)
{
    return Por::Util::GetComposite(object.Branch()).FindProperty(name);
}

// Tells the handler that a property holds a value of another kind than the schema's.
void ReportKind(const Por::BaseObject& object, std::string_view name, Por::ValueKind expected,
                const Por::View::Unit& value)
{
    object.Handler().PropertyProcessingError(name, Por::Util::Detail::MakePropertyTypeMismatchError(
                                                       name, expected, Por::GetValueTypeIndex(value)));
}

} // namespace

const Por::View::Unit* FindValue(const Por::BaseObject& object, std::string_view name)
{
    const Por::Construction::Property* property = FindProperty(object, name);
    if (property == nullptr || Por::Util::IsNil(property->GetValue()))
    {
        return nullptr;
    }
    return &property->GetValue();
}

Por::Construction::Unit& GetObjectBranch(const Por::BaseObject& object, const Por::View::Unit& schema,
                                         std::string_view name)
{
    if (Por::Construction::Property* property = FindProperty(object, name))
    {
        Por::Construction::Unit& value = property->GetValue();
        if (Por::Util::IsComposite(value))
        {
            return value;
        }
        if (!Por::Util::IsNil(value))
        {
            ReportKind(object, name, Por::ValueKind::Composite, value);
        }
    }
    // The default carries the schema's "Nil" mark, so ToUnit leaves it out until something is set.
    return Por::Util::AddProperty(object.Branch(), name, DefaultValue(schema, name, object.Factory()),
                                  object.Factory());
}

Por::UnitPtr GetUnit(const Por::BaseObject& object, std::string_view name)
{
    const Por::Construction::Property* property = FindProperty(object, name);
    return property != nullptr ? property->GetValuePointer() : nullptr;
}

Por::UnitPtr KeepUnknownFields(const Por::BaseObject& object, std::string_view name, Por::UnitPtr written)
{
    const Por::View::Unit* old = FindValue(object, name);
    const Por::View::CompositeValue* fields = old != nullptr ? Por::Util::FindComposite(*old) : nullptr;
    if (fields == nullptr)
    {
        return written;
    }
    Por::Construction::CompositeValue& target = Por::Util::GetComposite(*written);
    auto keep = Por::MakeProcessor<const Por::View::Property>(
        [&](const Por::View::Property& field)
        {
            if (target.Find(field.GetName()) == nullptr)
            {
                Por::Util::AddProperty(*written, field.GetName(), field.GetValue(), object.Factory());
            }
        });
    fields->ForEach(keep);
    return written;
}

std::vector<Por::Construction::Unit*> GetElements(const Por::BaseObject& object, std::string_view name)
{
    std::vector<Por::Construction::Unit*> elements;
    Por::Construction::Property* property = FindProperty(object, name);
    if (property == nullptr || Por::Util::IsNil(property->GetValue()))
    {
        return elements;
    }
    Por::Construction::Unit& value = property->GetValue();
    if (!Por::Util::IsArray(value))
    {
        ReportKind(object, name, Por::ValueKind::Array, value);
        return elements;
    }
    Por::Construction::ArrayValue& array = Por::Util::GetArray(value);
    for (std::size_t i = 0; i < array.Size(); ++i)
    {
        elements.push_back(array.GetPointer(i).get());
    }
    return elements;
}

Por::UnitPtr DefaultValue(const Por::View::Unit& schema, std::string_view name,
                          const Por::Construction::UnitFactory& factory)
{
    const Por::View::Unit* value = Por::Util::FindPropertyValue(schema, name);
    return value != nullptr ? Por::Util::Copy(*value, factory) : factory.CreateNil();
}

} // namespace Tol::History::Plain::Detail
