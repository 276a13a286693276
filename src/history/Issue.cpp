#include "history/Issue.h"

namespace Tol::History::Plain
{

TOL_HISTORY_DEFINE_CLASS(Issue, Por::BaseObject, "Tol::History::Plain::Issue")
TOL_HISTORY_VALUE(Issue, Time, std::int64_t)
TOL_HISTORY_VALUE(Issue, Error, Common::Error)

void Issue::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    Detail::SchemaWriter schema(serializer);
    schema.Is(GetClassName());
    schema.Property("Time", std::int64_t{0}, {{u"Measure", u"seconds"}});
    schema.Property("Error", Common::Error());
}

} // namespace Tol::History::Plain
