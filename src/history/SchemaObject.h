// The machinery shared by the schema classes of Tol::History::Plain. TOL_HISTORY_CLASS declares, inside
// a class body, what every schema class has: the class name (also its "Is" value), the default object
// built once on first use (thread-safe), the function that writes it, a constructor making a copy of
// it, one over a unit (shared, not copied; a null handler throws), one over a branch of another
// object's tree, the category and the defaults of absent properties. TOL_HISTORY_DEFINE_CLASS and the
// property macros define them in the .cpp. Every declared property is optional: absent or nil, it reads
// as the schema's default; a value of another kind goes to the handler's PropertyProcessingError.
#pragma once

#include "history/SchemaWriter.h"
#include "por/BaseObject.h"
#include "por/PORDeserializer.h"
#include "por/PORSerializer.h"
#include "por/UnitAccess.h"
#include "por/serialize/ContainerIterator.h"
#include "por/serialize/Serialize.h"

#include <string_view>
#include <vector>

#define TOL_HISTORY_CLASS(Class)                                                                             \
public:                                                                                                      \
    static const char* GetClassName();                                                                       \
    static const Por::View::Unit& GetSchema();                                                               \
    static void WriteSchema(Por::Serialization::PorAwareSerializer& serializer);                             \
    Class();                                                                                                 \
    explicit Class(Por::UnitPtr unit, const Por::Construction::UnitFactory& factory = Por::GetUnitFactory(), \
                   Por::ErrorHandler* handler = nullptr);                                                    \
    Class(const Por::BaseObject& parent, Por::Construction::Unit& branch);                                   \
    std::string_view GetCategory() const override;                                                           \
    Por::UnitPtr DefaultValue(std::string_view name) const override;

#define TOL_HISTORY_DEFINE_CLASS(Class, Base, Name)                                                          \
    const char* Class::GetClassName()                                                                        \
    {                                                                                                        \
        return Name;                                                                                         \
    }                                                                                                        \
    const Por::View::Unit& Class::GetSchema()                                                                \
    {                                                                                                        \
        static const Por::ConstUnitPtr schema = Detail::BuildSchema(&Class::WriteSchema);                    \
        return *schema;                                                                                      \
    }                                                                                                        \
    Class::Class() : Class(Por::Util::Copy(GetSchema(), Por::GetUnitFactory())) {}                           \
    Class::Class(Por::UnitPtr unit, const Por::Construction::UnitFactory& factory,                           \
                 Por::ErrorHandler* handler)                                                                 \
        : Base(std::move(unit), factory, handler)                                                            \
    {                                                                                                        \
    }                                                                                                        \
    Class::Class(const Por::BaseObject& parent, Por::Construction::Unit& branch) : Base(parent, branch) {}   \
    std::string_view Class::GetCategory() const                                                              \
    {                                                                                                        \
        return Name;                                                                                         \
    }                                                                                                        \
    Por::UnitPtr Class::DefaultValue(std::string_view property) const                                        \
    {                                                                                                        \
        return Detail::DefaultValue(GetSchema(), property, Factory());                                       \
    }

// A property of one of the unit value kinds.
#define TOL_HISTORY_VALUE(Class, Property, Type)                                                             \
    Type Class::Get##Property() const                                                                        \
    {                                                                                                        \
        return Detail::GetValue<Type>(*this, Class::GetSchema(), #Property);                                 \
    }                                                                                                        \
    void Class::Set##Property(const Type& value)                                                             \
    {                                                                                                        \
        Set(#Property, value);                                                                               \
    }

// A property holding an object of a nested schema class; the getter's object shares this tree.
#define TOL_HISTORY_OBJECT(Class, Property, Type)                                                            \
    Type Class::Get##Property() const                                                                        \
    {                                                                                                        \
        return Type(*this, Detail::GetObjectBranch(*this, Class::GetSchema(), #Property));                   \
    }                                                                                                        \
    void Class::Set##Property(const Type& value)                                                             \
    {                                                                                                        \
        SetUnit(#Property, value.Copy(Factory()));                                                           \
    }

// A property holding a record written through the serialisation contract.
#define TOL_HISTORY_RECORD(Class, Property, Type)                                                            \
    Type Class::Get##Property() const                                                                        \
    {                                                                                                        \
        return Detail::GetRecord<Type>(*this, #Property);                                                    \
    }                                                                                                        \
    void Class::Set##Property(const Type& value)                                                             \
    {                                                                                                        \
        SetUnit(#Property, Detail::MakeRecordUnit(*this, #Property, value));                                 \
    }

// A property holding any unit; the getter shares it with the object (null when absent).
#define TOL_HISTORY_UNIT(Class, Property)                                                                    \
    Por::UnitPtr Class::Get##Property() const                                                                \
    {                                                                                                        \
        return Detail::GetUnit(*this, #Property);                                                            \
    }                                                                                                        \
    void Class::Set##Property(const Por::View::Unit& value)                                                  \
    {                                                                                                        \
        SetUnit(#Property, Por::Util::Copy(value, Factory()));                                               \
    }

// A property holding an array of objects of a schema class; the getter's objects share this tree.
#define TOL_HISTORY_OBJECTS(Class, Property, Type)                                                           \
    ::Serialization::ValueIterator<Type> Class::Get##Property() const                                        \
    {                                                                                                        \
        return ::Serialization::ValueIterator<Type>(Detail::GetObjects<Type>(*this, #Property));             \
    }                                                                                                        \
    void Class::Set##Property(const std::vector<Type>& values)                                               \
    {                                                                                                        \
        SetUnit(#Property, Detail::MakeArray(values, Factory()));                                            \
    }

namespace Tol::History::Plain::Detail
{

// The property's value, or null when it is absent or nil.
const Por::View::Unit* FindValue(const Por::BaseObject& object, std::string_view name);

template <Por::UnitValue T>
T GetValue(const Por::BaseObject& object, const Por::View::Unit& schema, std::string_view name)
{
    if (const Por::View::Unit* value = FindValue(object, name))
    {
        T result{};
        const Common::Error error = Por::Util::TryGetValue<T>(*value, result);
        if (error.GetCode() == 0)
        {
            return result;
        }
        object.Handler().PropertyProcessingError(name, error);
    }
    const Por::View::Unit* fallback = Por::Util::FindPropertyValue(schema, name);
    return fallback != nullptr ? Por::Util::GetValueOr<T>(*fallback, T{}) : T{};
}

// The composite of a nested object. When it is absent, nil or of another kind (that one reported to the
// handler first), the schema's default, marked "Nil", takes its place, so the object keeps its shape.
Por::Construction::Unit& GetObjectBranch(const Por::BaseObject& object, const Por::View::Unit& schema,
                                         std::string_view name);

// The property's unit as it stands in the tree, or null.
Por::UnitPtr GetUnit(const Por::BaseObject& object, std::string_view name);

// Record reading: failures go to the handler's PropertyProcessingError; then, as for an absent
// property, the record is default.
template <typename Record>
Record GetRecord(const Por::BaseObject& object, std::string_view name)
{
    Record record{};
    Por::UnitPtr unit = GetUnit(object, name);
    if (unit == nullptr || Por::Util::IsNil(*unit))
    {
        return record;
    }
    try
    {
        Por::Serialization::PORDeserializer reader(std::move(unit), &object.Factory());
        ::Serialization::Read(reader, ::Serialization::Names::Root, record);
    }
    catch (const Common::Error& error)
    {
        object.Handler().PropertyProcessingError(name, error);
        return Record{};
    }
    return record;
}

// `written` with the properties of the old value that it lacks, so fields the record does not know
// survive a change of the record.
Por::UnitPtr KeepUnknownFields(const Por::BaseObject& object, std::string_view name, Por::UnitPtr written);

template <typename Record>
Por::UnitPtr MakeRecordUnit(const Por::BaseObject& object, std::string_view name, const Record& record)
{
    Por::Serialization::PORSerializer writer(object.Factory());
    ::Serialization::Write(writer, ::Serialization::Names::Root, record);
    return KeepUnknownFields(object, name, writer.Result());
}

// The elements of an array property; absent or nil is empty, another kind goes to the
// handler and reads as empty.
std::vector<Por::Construction::Unit*> GetElements(const Por::BaseObject& object, std::string_view name);

template <typename Object>
std::vector<Object> GetObjects(const Por::BaseObject& object, std::string_view name)
{
    std::vector<Object> objects;
    for (Por::Construction::Unit* element : GetElements(object, name))
    {
        objects.emplace_back(object, *element);
    }
    return objects;
}

// An array of copies of the objects' branches, Nil marks included.
template <typename Object>
Por::UnitPtr MakeArray(const std::vector<Object>& objects, const Por::Construction::UnitFactory& factory)
{
    Por::UnitPtr array = factory.CreateArray();
    for (const Object& object : objects)
    {
        Por::Util::GetArray(*array).PushBack(object.Copy(factory));
    }
    return array;
}

// A copy of the schema's value of the property; nil for a name the schema does not declare.
Por::UnitPtr DefaultValue(const Por::View::Unit& schema, std::string_view name,
                          const Por::Construction::UnitFactory& factory);

} // namespace Tol::History::Plain::Detail
