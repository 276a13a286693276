#include "async/Errors.h"

#include "common/CatalogIds.h"
#include "common/ErrorKind.h"
#include "common/FormatText.h"
#include "common/TextCatalog.h"
#include "common/Utf8.h"

#include <atomic>

namespace Async::Errors
{
namespace
{

// Made once, published by compare-exchange; a thread that loses frees its own copy. Freed by static
// destruction.
class CachedError
{
public:
    constexpr CachedError(std::uint32_t code, const Common::WideTextId* text) : Code(code), Text(text) {}
    ~CachedError() { delete Published.load(std::memory_order_acquire); }

    const Common::Error& Get()
    {
        if (const Common::Error* error = Published.load(std::memory_order_acquire))
        {
            return *error;
        }
        const auto location = COMMON_LOCATION("Async::`anonymous-namespace'::CachedError::Get");
        auto* made = Text != nullptr ? new Common::Error(location, Code, Common::GetText(*Text))
                                     : new Common::Error(location, Code);
        const Common::Error* expected = nullptr;
        if (!Published.compare_exchange_strong(expected, made, std::memory_order_acq_rel))
        {
            delete made;
            return *expected;
        }
        return *made;
    }

private:
    std::uint32_t Code;
    const Common::WideTextId* Text;
    std::atomic<const Common::Error*> Published{nullptr};
};

constexpr Common::WideTextId InvalidResultText = Common::Texts::AsyncInvalidResult;
constexpr Common::WideTextId CanceledText = Common::Texts::AsyncCanceled;

CachedError InvalidResultError(ErrorCodes::InvalidResult, &InvalidResultText);
CachedError CanceledError(ErrorCodes::Canceled, &CanceledText);
CachedError StopMarkError(ErrorCodes::StopMark, nullptr);
CachedError BarrierMarkError(ErrorCodes::BarrierMark, nullptr);
CachedError SequenceBreakError(ErrorCodes::SequenceBreak, nullptr);
CachedError CycleBreakError(ErrorCodes::CycleBreak, nullptr);

Common::WideString Widen(std::string_view text)
{
    Common::WideString wide;
    Common::Utf8ToWide(wide, text.data(), text.size());
    return wide;
}

} // namespace

const Common::Error& InvalidResult()
{
    return InvalidResultError.Get();
}

Common::Error MakePendingJobEmptyError()
{
    return Common::Error(COMMON_LOCATION("Async::Errors::MakePendingJobEmptyError"),
                         ErrorCodes::InvalidResult, Common::TraceLevelErrorKind,
                         Common::GetText(Common::Texts::AsyncPendingJobEmpty), {1});
}

const Common::Error& Canceled()
{
    return CanceledError.Get();
}

Common::Error MakeCanceled(const Common::ErrorLocation& location)
{
    return Common::Error(location, ErrorCodes::Canceled, Common::GetText(Common::Texts::AsyncCanceled));
}

const Common::Error& StopMark()
{
    return StopMarkError.Get();
}

const Common::Error& BarrierMark()
{
    return BarrierMarkError.Get();
}

const Common::Error& SequenceBreak()
{
    return SequenceBreakError.Get();
}

const Common::Error& CycleBreak()
{
    return CycleBreakError.Get();
}

Common::Error MakeAsynchronizerClosed()
{
    return Common::Error(COMMON_LOCATION("Async::AsynchronizerImpl::BaseAsynchronizerJob::Consume"),
                         ErrorCodes::AsynchronizerClosed, Common::TraceLevelErrorKind,
                         Common::GetText(Common::Texts::AsyncAsynchronizerClosed), {1});
}

Common::Error CurrentException(const Common::ErrorLocation& location, std::u16string_view operation)
{
    try
    {
        throw;
    }
    catch (const Common::Error& error)
    {
        Common::Error described(
            location, ErrorCodes::Exception, Common::TraceLevelErrorKind,
            Common::FormatText(Common::GetText(Common::Texts::AsyncException), {operation}), {1});
        described.SetSubError(error);
        return described;
    }
    catch (const std::exception& exception)
    {
        const Common::WideString what = Widen(exception.what());
        return Common::Error(
            location, ErrorCodes::StdException, Common::TraceLevelErrorKind,
            Common::FormatText(Common::GetText(Common::Texts::AsyncStdException), {operation, what}), {1});
    }
    catch (...)
    {
        return Common::Error(
            location, ErrorCodes::UnknownException, Common::TraceLevelErrorKind,
            Common::FormatText(Common::GetText(Common::Texts::AsyncUnknownException), {operation}), {1});
    }
}

bool HasCode(const Common::Error& error, std::uint32_t code)
{
    for (Common::Error record = error; record.GetCode() != 0; record = record.GetSubError())
    {
        if (record.GetCode() == code)
        {
            return true;
        }
    }
    return false;
}

} // namespace Async::Errors
