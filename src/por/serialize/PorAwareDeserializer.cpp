#include "por/serialize/PorAwareDeserializer.h"

#include "common/CatalogIds.h"
#include "por/Errors.h"
#include "por/UnitAccess.h"
#include "por/serialize/Serialize.h"

namespace Por
{
namespace Util::Detail
{

void EnsureBranchLoaderIsValid(const Construction::UnitFactory* factory)
{
    if (factory == nullptr)
    {
        throw MakeError(COMMON_LOCATION("Por::Util::Detail::EnsureBranchLoaderIsValid"), ErrorCodes::General,
                        Common::Texts::PorUnitFactoryNotFound);
    }
}

} // namespace Util::Detail

namespace Serialization
{
namespace
{

PorAwareDeserializer& UnitAware(::Serialization::Deserializer& deserializer, const char* function)
{
    PorAwareDeserializer* reader = Common::DynamicCast<PorAwareDeserializer>(deserializer);
    if (reader == nullptr)
    {
        throw MakeError(COMMON_LOCATION(function), ErrorCodes::General, Common::Texts::PorInternalError);
    }
    return *reader;
}

} // namespace

const Construction::UnitFactory& GetUnitFactoryOf(::Serialization::Deserializer& deserializer)
{
    const Construction::UnitFactory* factory =
        UnitAware(deserializer, "Por::Serialization::GetUnitFactoryOf").GetFactory();
    Util::Detail::EnsureBranchLoaderIsValid(factory);
    return *factory;
}

UnitPtr ReadUnit(::Serialization::Deserializer& deserializer, Name name)
{
    PorAwareDeserializer& reader = UnitAware(deserializer, "Por::Serialization::ReadUnit");
    const Construction::UnitFactory& factory = GetUnitFactoryOf(reader);
    reader.BeginValue(name);
    ::Serialization::Detail::ReadBracket bracket(reader);
    // Inside the value bracket any name means the value itself.
    if (!reader.HasValue(::Serialization::Names::Value))
    {
        return nullptr;
    }
    return Util::Copy(reader.AcquireUnit(), factory);
}

} // namespace Serialization
} // namespace Por
