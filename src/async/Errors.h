// The errors of the job runtime (module 0x00F9). Errors that recur without a text, or with a constant
// text, are cached: made once on first use and shared, so cancelling and failing allocate nothing.
#pragma once

#include "common/Error.h"

#include <cstdint>
#include <exception>
#include <string_view>

namespace Async
{

namespace ErrorCodes
{
inline constexpr std::uint32_t InvalidResult = 0x00F90001;
inline constexpr std::uint32_t Canceled = 0x00F90002;
inline constexpr std::uint32_t StopMark = 0x00F90003;
inline constexpr std::uint32_t JobFailed = 0x00F90004;
inline constexpr std::uint32_t AsynchronizerClosed = 0x00F90005;
inline constexpr std::uint32_t Exception = 0x00F90006;
inline constexpr std::uint32_t StdException = 0x00F90007;
inline constexpr std::uint32_t UnknownException = 0x00F90008;
inline constexpr std::uint32_t BarrierMark = 0x00F9000A;
inline constexpr std::uint32_t WorkFailed = 0x00F9000B;
inline constexpr std::uint32_t SequenceBreak = 0x00F9000E;
inline constexpr std::uint32_t CycleBreak = 0x00F9000F;
inline constexpr std::uint32_t NullFinishHandler = 0x00F90015;
} // namespace ErrorCodes

namespace Errors
{

// 0x00F90001 "ASYNC: The operation result is invalid.", cached.
const Common::Error& InvalidResult();
// 0x00F90001 "Pending job is empty", TraceLevel 1.
Common::Error MakePendingJobEmptyError();
// 0x00F90002 "ASYNC: The operation has been canceled.": the cached one, and one raised at a site.
const Common::Error& Canceled();
Common::Error MakeCanceled(const Common::ErrorLocation& location);
// Marks without text, cached: stop here (0x00F90003), barrier (0x00F9000A), leave the sequence
// (0x00F9000E), leave the cycle (0x00F9000F).
const Common::Error& StopMark();
const Common::Error& BarrierMark();
const Common::Error& SequenceBreak();
const Common::Error& CycleBreak();
// 0x00F90005, TraceLevel 1.
Common::Error MakeAsynchronizerClosed();

// The exception in flight as an error of an operation: a Common::Error becomes the sub-error of
// 0x00F90006, a standard exception gives 0x00F90007 with its what(), anything else 0x00F90008; all carry
// TraceLevel 1. Call only inside a catch block.
Common::Error CurrentException(const Common::ErrorLocation& location, std::u16string_view operation);

// True if a record of the chain has `code`.
bool HasCode(const Common::Error& error, std::uint32_t code);

} // namespace Errors
} // namespace Async
