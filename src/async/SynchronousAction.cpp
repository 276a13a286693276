#include "async/SynchronousAction.h"

#include "async/Errors.h"
#include "async/TextDescription.h"
#include "common/CatalogIds.h"
#include "common/TextCatalog.h"

namespace Async
{
namespace
{

const TextDescription& WorkExceptionDescription()
{
    static const TextDescription description(COMMON_LOCATION("Async::SynchronousAction::Perform"),
                                             ErrorCodes::WorkFailed,
                                             Common::GetText(Common::Texts::AsyncWorkException),
                                             Common::GetText(Common::Texts::AsyncWorkStdException),
                                             Common::GetText(Common::Texts::AsyncWorkUnknownException));
    return description;
}

} // namespace

void ErrorContextApplier::ApplyContext(Common::Error& out, const Common::Error& error)
{
    out = error;
}

std::shared_ptr<Job> SynchronousAction::Perform(ActionHandler& handler)
{
    Common::Error result;
    try
    {
        const Common::Error executed = Execute();
        if (executed.GetCode() != 0)
        {
            ApplyContext(result, executed);
        }
    }
    catch (...)
    {
        result = SafeDescribeCurrentException(WorkExceptionDescription());
    }
    // Outside the try: a handler that throws is not to be reported to itself a second time.
    handler.Completed(result);
    return nullptr;
}

} // namespace Async
