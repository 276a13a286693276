#include "async/DelegatingActionHandler.h"

#include "async/Errors.h"
#include "common/SafeAssert.h"

namespace Async
{

void DelegatingActionHandler::Completed(const Common::Error& result)
{
    Common::Error processed;
    try
    {
        ProcessResult(processed, result);
    }
    catch (const Common::Error& error)
    {
        processed = error;
        processed.SetSubError(result);
    }
    catch (...)
    {
        // Not to be lost either: the next handler must still hear of the run.
        processed = Errors::CurrentException(COMMON_LOCATION("Async::DelegatingActionHandler::Completed"),
                                             u"Process result");
        processed.SetSubError(result);
    }
    ActionHandler* const next = Handler;
    SAFE_ASSERT_TEXT(next != nullptr, "Handler && \"Invalid Delegating Action Handler state.\"");
    if (next != nullptr)
    {
        next->Completed(processed);
    }
}

void DelegatingActionHandler::ProcessResult(Common::Error& out, const Common::Error& result)
{
    out = result;
}

} // namespace Async
