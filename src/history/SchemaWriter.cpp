#include "history/SchemaWriter.h"

#include "por/Errors.h"
#include "por/PORSerializer.h"

namespace Tol::History::Plain::Detail
{

void SchemaWriter::Is(std::string_view className)
{
    Writer.WriteTrait(u"Is", Por::Widen(className));
}

void SchemaWriter::Unit(std::string_view name, const Por::View::Unit& value)
{
    Open(name);
    Writer.WriteUnit(::Serialization::Names::Value, value);
    Close({});
}

void SchemaWriter::Object(std::string_view name, SchemaFunction writeSchema)
{
    Open(name);
    Writer.BeginClass(::Serialization::Names::Value);
    writeSchema(Writer);
    Writer.End();
    Close({});
}

void SchemaWriter::Open(std::string_view name)
{
    Writer.BeginValue(Por::Widen(name));
}

void SchemaWriter::Close(std::initializer_list<Trait> traits)
{
    // Every declared property may be absent or nil.
    Writer.WriteTrait(u"Nil");
    for (const Trait& trait : traits)
    {
        if (trait.Value.has_value())
        {
            Writer.WriteTrait(trait.Name, *trait.Value);
        }
        else
        {
            Writer.WriteTrait(trait.Name);
        }
    }
    Writer.End();
}

Por::ConstUnitPtr BuildSchema(SchemaFunction writeSchema)
{
    Por::Serialization::PORSerializer writer;
    writer.BeginClass(::Serialization::Names::Root);
    writeSchema(writer);
    writer.End();
    return writer.Result();
}

} // namespace Tol::History::Plain::Detail
