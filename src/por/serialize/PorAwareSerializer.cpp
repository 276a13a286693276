#include "por/serialize/PorAwareSerializer.h"

#include "common/CatalogIds.h"
#include "por/Errors.h"

namespace Por::Serialization
{

void WriteUnit(::Serialization::Serializer& serializer, Name name, const View::Unit& unit)
{
    PorAwareSerializer* writer = Common::DynamicCast<PorAwareSerializer>(serializer);
    if (writer == nullptr)
    {
        throw MakeError(COMMON_LOCATION("Por::Serialization::WriteUnit"), ErrorCodes::General,
                        Common::Texts::PorInternalError);
    }
    writer->WriteUnit(name, unit);
}

} // namespace Por::Serialization
