// Dml::Operation::Definition: the base of the write operations handed to the store, plain objects over
// a composite whose "Is" traits name the class chain ("Dml::Operation::Definition" and the class). Each
// class has a schema (its default object, built once, thread-safe) in which every property is nil or
// zero and bears "Nil"; the base adds "ID", a guid bearing "PrimaryKey". Properties declared as units
// hold any unit: setting one stores a copy, without the "IsEmpty" and "ptr_mark" marks of a pointer.
// Objects are not copyable; one thread at a time.
#pragma once

#include "common/Guid.h"
#include "common/NonCopyable.h"
#include "por/BaseObject.h"
#include "por/ErrorHandler.h"
#include "por/Forward.h"
#include "por/UnitFactory.h"
#include "por/serialize/PorAwareSerializer.h"

#include <string_view>

// The members every operation class declares: the class name (also its "Is" value and category), the
// schema and its writer, a constructor making a copy of the schema, and one over an existing unit
// (shared, not copied; a null handler means the throwing one).
#define DML_OPERATION_CLASS(Class)                                                                           \
public:                                                                                                      \
    static constexpr const char* TypeName = "Dml::Operation::" #Class;                                       \
    static const Por::View::Unit& GetClassSchema();                                                          \
    static void WriteSchema(Por::Serialization::PorAwareSerializer& serializer);                             \
    explicit Class(const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());                   \
    Class(Por::UnitPtr unit, const Por::Construction::UnitFactory& factory,                                  \
          Por::ErrorHandler* handler = nullptr);                                                             \
    const Por::View::Unit& GetSchemaEntry() const override;                                                  \
    std::string_view GetCategory() const override;

// Defines the members of DML_OPERATION_CLASS for a class derived from `Base`.
#define DML_DEFINE_OPERATION(Class, Base)                                                                    \
    const Por::View::Unit& Class::GetClassSchema()                                                           \
    {                                                                                                        \
        static const Por::ConstUnitPtr schema = ::Dml::Operation::Detail::BuildSchema(&Class::WriteSchema);  \
        return *schema;                                                                                      \
    }                                                                                                        \
    Class::Class(const Por::Construction::UnitFactory& factory)                                              \
        : Class(Por::Util::Copy(GetClassSchema(), factory), factory)                                         \
    {                                                                                                        \
    }                                                                                                        \
    Class::Class(Por::UnitPtr unit, const Por::Construction::UnitFactory& factory,                           \
                 Por::ErrorHandler* handler)                                                                 \
        : Base(std::move(unit), factory, handler)                                                            \
    {                                                                                                        \
    }                                                                                                        \
    const Por::View::Unit& Class::GetSchemaEntry() const                                                     \
    {                                                                                                        \
        return GetClassSchema();                                                                             \
    }                                                                                                        \
    std::string_view Class::GetCategory() const                                                              \
    {                                                                                                        \
        return TypeName;                                                                                     \
    }

namespace Dml::Operation
{

class Definition : public Por::BaseObject, Common::NonCopyable
{
public:
    static constexpr const char* TypeName = "Dml::Operation::Definition";
    static const Por::View::Unit& GetClassSchema();
    static void WriteSchema(Por::Serialization::PorAwareSerializer& serializer);

    explicit Definition(const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
    Definition(Por::UnitPtr unit, const Por::Construction::UnitFactory& factory,
               Por::ErrorHandler* handler = nullptr);
    ~Definition() override;

    // The schema of the object's class.
    virtual const Por::View::Unit& GetSchemaEntry() const;
    std::string_view GetCategory() const override;
    // A copy of the schema's value of the property; nil for a name the schema does not declare.
    Por::UnitPtr DefaultValue(std::string_view name) const override;

    // The zero guid while unset.
    Common::Guid GetID() const;
    // Writes the guid in place, so "ID" keeps its "PrimaryKey".
    void SetID(const Common::Guid& id);

protected:
    // The unit of a property declared as a unit, shared with the object; null while unset (absent, or
    // still marked "Nil").
    Por::UnitPtr GetUnitProperty(std::string_view name) const;
    // Stores a copy of `value` without the marks of a pointer.
    void SetUnitProperty(std::string_view name, const Por::View::Unit& value);
};

namespace Detail
{

using SchemaFunction = void (*)(Por::Serialization::PorAwareSerializer& serializer);

// The default object of a class: a composite written by `writeSchema`.
Por::ConstUnitPtr BuildSchema(SchemaFunction writeSchema);
// Adds a class name to the "Is" traits of the schema being written.
void WriteIs(Por::Serialization::PorAwareSerializer& serializer, std::string_view className);
// A property declared as a unit: nil, bearing "Nil".
void WriteUnitProperty(Por::Serialization::PorAwareSerializer& serializer, std::string_view name);

} // namespace Detail
} // namespace Dml::Operation
