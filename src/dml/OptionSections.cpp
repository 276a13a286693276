#include "dml/OptionSections.h"

#include "dml/Errors.h"
#include "por/ItemProcessor.h"
#include "por/Values.h"

namespace Dml::Query::Detail
{

Por::UnitPtr MakeDefault(Por::ValueKind kind, const Por::Construction::UnitFactory& factory)
{
    switch (kind)
    {
    case Por::ValueKind::Boolean:
        return factory.CreateBoolean(false);
    case Por::ValueKind::Byte:
        return factory.CreateByte(0);
    case Por::ValueKind::SByte:
        return factory.CreateSByte(0);
    case Por::ValueKind::Word:
        return factory.CreateWord(0);
    case Por::ValueKind::SWord:
        return factory.CreateSWord(0);
    case Por::ValueKind::DWord:
        return factory.CreateDWord(0);
    case Por::ValueKind::SDWord:
        return factory.CreateSDWord(0);
    case Por::ValueKind::QWord:
        return factory.CreateQWord(0);
    case Por::ValueKind::SQWord:
        return factory.CreateSQWord(0);
    case Por::ValueKind::Double:
        return factory.CreateDouble(0.0);
    case Por::ValueKind::Blob:
        return factory.CreateBlob({});
    case Por::ValueKind::Guid:
        return factory.CreateGuid(Common::NullGuid);
    case Por::ValueKind::String:
        return factory.CreateString({});
    case Por::ValueKind::Error:
        return factory.CreateError(Common::Success);
    case Por::ValueKind::Array:
        return factory.CreateArray();
    case Por::ValueKind::Composite:
        return factory.CreateComposite();
    case Por::ValueKind::Nil:
    case Por::ValueKind::Unknown:
        break;
    }
    return factory.CreateNil();
}

Por::Construction::Unit& Buildable(Por::Modification::Unit& options)
{
    auto* buildable = dynamic_cast<Por::Construction::Unit*>(&options);
    if (buildable == nullptr)
    {
        throw Errors::MakeGeneral(COMMON_LOCATION("Dml::Query::Detail::Buildable"));
    }
    return *buildable;
}

Por::Modification::Unit& GetOrCreate(Por::Modification::Unit& options, std::string_view name,
                                     Por::ValueKind kind, const Por::Construction::UnitFactory& factory)
{
    Por::Modification::Unit* found = nullptr;
    auto take = Por::MakeProcessor<Por::Modification::Property>([&](Por::Modification::Property& property)
                                                                { found = &property.GetValue(); });
    if (Por::Util::GetComposite(options).Find(name, take))
    {
        return *found;
    }
    return Por::Util::AddProperty(Buildable(options), name, MakeDefault(kind, factory), factory);
}

void ReplaceOption(Por::Modification::Unit& options, std::string_view name, Por::UnitPtr value,
                   const Por::Construction::UnitFactory& factory)
{
    Por::Util::AddProperty(Buildable(options), name, std::move(value), factory);
}

void Append(Por::Modification::Unit& array, Por::UnitPtr item)
{
    Por::Modification::ArrayValue& items = Por::Util::GetArray(array);
    if (auto* owning = dynamic_cast<Por::Construction::ArrayValue*>(&items))
    {
        owning->PushBack(std::move(item));
    }
    else
    {
        items.PushBack(*item);
    }
}

} // namespace Dml::Query::Detail
