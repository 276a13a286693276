#include "history/ActivityBottleneck.h"

namespace Tol::History::Plain
{

TOL_HISTORY_DEFINE_CLASS(ActivityBottleneck, Por::BaseObject, "Tol::History::Plain::ActivityBottleneck")
TOL_HISTORY_VALUE(ActivityBottleneck, SourcePercent, std::uint16_t)
TOL_HISTORY_VALUE(ActivityBottleneck, EncodingPercent, std::uint16_t)
TOL_HISTORY_VALUE(ActivityBottleneck, DestinationPercent, std::uint16_t)
TOL_HISTORY_VALUE(ActivityBottleneck, SourceMs, std::uint64_t)
TOL_HISTORY_VALUE(ActivityBottleneck, EncodingMs, std::uint64_t)
TOL_HISTORY_VALUE(ActivityBottleneck, DestinationMs, std::uint64_t)

void ActivityBottleneck::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    Detail::SchemaWriter schema(serializer);
    schema.Is(GetClassName());
    schema.Property("SourcePercent", std::uint16_t{0});
    schema.Property("EncodingPercent", std::uint16_t{0});
    schema.Property("DestinationPercent", std::uint16_t{0});
    schema.Property("SourceMs", std::uint64_t{0});
    schema.Property("EncodingMs", std::uint64_t{0});
    schema.Property("DestinationMs", std::uint64_t{0});
}

} // namespace Tol::History::Plain
