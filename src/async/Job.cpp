#include "async/Job.h"

#include "async/Errors.h"
#include "common/CatalogIds.h"
#include "common/TextCatalog.h"

#include <atomic>

namespace Async
{
namespace
{

std::atomic<std::uint32_t> NextJobId{1};

} // namespace

WorkDescription::WorkDescription()
    : Location(COMMON_LOCATION("Async::WorkDescription::WorkDescription")),
      Text(Common::GetText(Common::Texts::AsyncUndefinedJob))
{
}

Common::Error WorkDescription::ToError() const
{
    return Common::Error(Location, ErrorCodes::JobFailed, Text);
}

BaseJob::BaseJob() : Id(NextJobId.fetch_add(1, std::memory_order_relaxed)) {}

void BaseJob::Describe(WorkDescription& out) const
{
    out = WorkDescription(COMMON_LOCATION("Async::BaseJob::Describe"),
                          Common::GetText(Common::Texts::AsyncUnidentifiedJob));
}

} // namespace Async
