#include "async/StepControl.h"

#include "async/Errors.h"
#include "async/TextDescription.h"
#include "common/CatalogIds.h"
#include "common/ErrorKind.h"
#include "common/FormatText.h"
#include "common/SafeAssert.h"
#include "common/TextCatalog.h"
#include "common/Utf8.h"

#include <atomic>

namespace Async
{
namespace
{

constexpr Common::WideStringView StepOperation = u"Step";

long Increment(long& generation)
{
    return std::atomic_ref<long>(generation).fetch_add(1, std::memory_order_acq_rel) + 1;
}

long Read(long& generation)
{
    // A compare-exchange of 0 with 0 is a read that orders like the increments.
    long value = 0;
    std::atomic_ref<long>(generation).compare_exchange_strong(value, 0, std::memory_order_acq_rel);
    return value;
}

Common::Error MakeStepError(const Common::ErrorLocation& location, std::uint32_t code,
                            Common::WideStringView format,
                            std::initializer_list<Common::WideStringView> arguments)
{
    return Common::Error(location, code, Common::TraceLevelErrorKind, Common::FormatText(format, arguments),
                         {1});
}

} // namespace

void StepControl::SafeStepCompletionDetails::DescribeException(Common::Error& out,
                                                               const Common::Error& error) const
{
    out =
        MakeStepError(COMMON_LOCATION("Async::StepControl::SafeStepCompletionDetails::DescribeException"),
                      ErrorCodes::Exception, Common::GetText(Common::Texts::AsyncException), {StepOperation});
    out.SetSubError(error);
}

void StepControl::SafeStepCompletionDetails::DescribeStdException(Common::Error& out,
                                                                  const std::exception& exception) const
{
    Common::WideString what;
    const char* text = exception.what();
    Common::Utf8ToWide(what, text, std::char_traits<char>::length(text));
    out = MakeStepError(
        COMMON_LOCATION("Async::StepControl::SafeStepCompletionDetails::DescribeStdException"),
        ErrorCodes::StdException, Common::GetText(Common::Texts::AsyncStdException), {StepOperation, what});
}

void StepControl::SafeStepCompletionDetails::DescribeUnknownException(Common::Error& out) const
{
    out = MakeStepError(
        COMMON_LOCATION("Async::StepControl::SafeStepCompletionDetails::DescribeUnknownException"),
        ErrorCodes::UnknownException, Common::GetText(Common::Texts::AsyncUnknownException), {StepOperation});
}

StepControl::StepControl() : Generation(std::make_shared<long>(0)) {}

void StepControl::Initialize(ActionHandler* owner, StepHandler* rollback, DescriptiveEntity* entity)
{
    Owner = owner;
    Rollback = rollback;
    Entity = entity;
}

void StepControl::Next(Action& action, StepHandler* handler)
{
    Increment(*Generation);
    Current = handler;
    Control.Run(action, *this, Entity);
}

void StepControl::Complete()
{
    Increment(*Generation);
    Deliver(Common::Success);
}

void StepControl::Cancel()
{
    Control.Cancel();
}

void StepControl::Completed(const Common::Error& result)
{
    Result = result;
    if (Current != nullptr && (result.GetCode() == 0 || Current->AcceptsFailure()))
    {
        Notify();
        return;
    }
    Finish(result);
}

void StepControl::Finish(const Common::Error& result)
{
    Increment(*Generation);
    if (result.GetCode() != 0 && Rollback != nullptr)
    {
        Result = result;
        Current = Rollback;
        Process();
        return;
    }
    Deliver(result);
}

void StepControl::GetKeepAlive(std::shared_ptr<void>& out)
{
    out = shared_from_this();
}

void StepControl::Process()
{
    const std::shared_ptr<long> generation = Generation;
    const long mark = Increment(*generation);

    StepHandler* handler = Current;
    Current = nullptr;
    const Common::Error result = std::move(Result);
    Result = Common::Success;

    Common::Error stepResult;
    try
    {
        if (handler != nullptr)
        {
            handler->Handle(stepResult, result);
        }
        else
        {
            SAFE_ASSERT_TEXT(false, "Current && \"Logic broken\"");
            stepResult = Errors::InvalidResult();
        }
    }
    catch (...)
    {
        stepResult = SafeDescribeCurrentException(SafeStepCompletionDetails());
    }

    if (Read(*generation) != mark)
    {
        // The handler started a step or finished the chain: this object may be gone.
        SAFE_ASSERT_TEXT(stepResult == Common::Success, "stepResult == Common::Success && \"Logic broken\"");
        return;
    }
    Deliver(stepResult.GetCode() == ErrorCodes::StopMark ? Common::Success : stepResult);
}

void StepControl::Deliver(const Common::Error& result)
{
    ActionHandler* owner = Owner;
    SAFE_ASSERT_TEXT(owner != nullptr, "Owner && \"Step chain ended before it was started.\"");
    if (owner != nullptr)
    {
        // The last touch of this object: the owner may release it.
        owner->Completed(result);
    }
}

} // namespace Async
