#include "history/ActivityProgress.h"

namespace Tol::History::Plain
{

TOL_HISTORY_DEFINE_CLASS(ActivityProgress, Por::BaseObject, "Tol::History::Plain::ActivityProgress")

void ActivityProgress::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    Detail::SchemaWriter(serializer).Is(GetClassName());
}

TOL_HISTORY_DEFINE_CLASS(InfiniteProgress, ActivityProgress, "Tol::History::Plain::InfiniteProgress")

void InfiniteProgress::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    ActivityProgress::WriteSchema(serializer);
    Detail::SchemaWriter(serializer).Is(GetClassName());
}

TOL_HISTORY_DEFINE_CLASS(CoreProgress, ActivityProgress, "Tol::History::Plain::CoreProgress")
TOL_HISTORY_VALUE(CoreProgress, Total, std::uint32_t)
TOL_HISTORY_VALUE(CoreProgress, Current, std::uint32_t)
TOL_HISTORY_VALUE(CoreProgress, Message, Por::String)
TOL_HISTORY_VALUE(CoreProgress, ApplicationData, Por::Blob)
TOL_HISTORY_VALUE(CoreProgress, Timestamp, std::int64_t)

void CoreProgress::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    ActivityProgress::WriteSchema(serializer);
    Detail::SchemaWriter schema(serializer);
    schema.Is(GetClassName());
    schema.Is("Core::Progress");
    schema.Property("Total", std::uint32_t{0});
    schema.Property("Current", std::uint32_t{0});
    schema.Property("Message", Por::String());
    schema.Property("ApplicationData", Por::Blob());
    schema.Property("Timestamp", std::int64_t{0});
}

TOL_HISTORY_DEFINE_CLASS(ExtendedActivityProgress, CoreProgress,
                         "Tol::History::Plain::ExtendedActivityProgress")
TOL_HISTORY_VALUE(ExtendedActivityProgress, ItemName, Por::String)
TOL_HISTORY_VALUE(ExtendedActivityProgress, TotalItems, std::uint32_t)
TOL_HISTORY_VALUE(ExtendedActivityProgress, ItemsProcessed, std::uint32_t)
TOL_HISTORY_VALUE(ExtendedActivityProgress, ItemsDeleted, std::uint32_t)
TOL_HISTORY_VALUE(ExtendedActivityProgress, BytesProcessed, std::uint64_t)
TOL_HISTORY_VALUE(ExtendedActivityProgress, BytesSaved, std::uint64_t)
TOL_HISTORY_VALUE(ExtendedActivityProgress, BytesDeduped, std::uint64_t)
TOL_HISTORY_VALUE(ExtendedActivityProgress, ProgressSpeed, double)
TOL_HISTORY_VALUE(ExtendedActivityProgress, EstimatedTime, std::int64_t)
TOL_HISTORY_VALUE(ExtendedActivityProgress, ElapsedTime, std::int64_t)
TOL_HISTORY_UNIT(ExtendedActivityProgress, AdditionalContext)

void ExtendedActivityProgress::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    CoreProgress::WriteSchema(serializer);
    Detail::SchemaWriter schema(serializer);
    schema.Is(GetClassName());
    schema.Property("ItemName", Por::String());
    schema.Property("TotalItems", std::uint32_t{0});
    schema.Property("ItemsProcessed", std::uint32_t{0});
    schema.Property("ItemsDeleted", std::uint32_t{0});
    schema.Property("BytesProcessed", std::uint64_t{0}, {{u"Measure", u"byte"}});
    schema.Property("BytesSaved", std::uint64_t{0}, {{u"Measure", u"byte"}});
    schema.Property("BytesDeduped", std::uint64_t{0}, {{u"Measure", u"byte"}});
    schema.Property("ProgressSpeed", 0.0);
    schema.Property("EstimatedTime", std::int64_t{0});
    schema.Property("ElapsedTime", std::int64_t{0});
    schema.Unit("AdditionalContext", *serializer.GetFactory().CreateArray());
}

} // namespace Tol::History::Plain
