#include "async/StepHandler.h"

#include "common/SafeAssert.h"

namespace Async::Detail
{

void HandleWithoutObject(Common::Error& next, const Common::Error& result)
{
    SAFE_ASSERT_TEXT(result != Common::Success, "result != Common::Success && \"Logic broken\"");
    SAFE_ASSERT_TEXT(
        false, "!\"Don't think about rollback in the middle of action. Initialize it from the begining.\"");
    next = result;
}

} // namespace Async::Detail
