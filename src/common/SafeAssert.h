// The safe-assert facility: broken invariants are reported (debugger output, log target, event hook,
// message box, stack) as the process-wide flags say, and by default the program goes on. Code behind
// an assertion must survive the broken invariant.
#pragma once

#include <cstdint>

namespace Common
{

// Flag bits, also the tokens of VELTRIX_SAFE_ASSERT.
enum SafeAssertFlag : std::uint32_t
{
    SafeAssertBreak = 1,       // "break": break into an attached debugger
    SafeAssertDebug = 2,       // "debug": text to the debugger output
    SafeAssertLog = 4,         // "log": text to the log target
    SafeAssertEvent = 8,       // "event": text to the event hook
    SafeAssertMessageBox = 16, // "msgbox": the message box
    SafeAssertAbort = 32,      // "abort": abort the process
    SafeAssertStack = 64,      // "stack": add the call stack
};
inline constexpr std::uint32_t SafeAssertDefaultFlags = 0x4E;
inline constexpr std::uint32_t SafeAssertReportingOff = 0xFFFFFFFF;

// Log target selectors; any other value is a file descriptor that receives text and a line feed.
inline constexpr std::intptr_t SafeAssertStdout = -1;
inline constexpr std::intptr_t SafeAssertStderr = -2;
inline constexpr std::intptr_t SafeAssertLogFile = -3;

// Called with (5, 0, 27, text) for each report when the event bit is set.
using SafeAssertEventHook = void (*)(int type, int subtype, int code, const char* text);
// The debugger output of this platform; without one, debugger output goes nowhere.
using SafeAssertDebugOutput = void (*)(const char* text);
// Shows the message box; returns 3 for Abort, 4 for Retry, anything else is Ignore. Without one, the
// box's text goes to stderr and the answer is Ignore, as for a service without a console session.
using SafeAssertMessageBoxHook = int (*)(const char* text, const char* title, unsigned style);

// Reports "Assertion failed: <expression>, file <file>, line <line>". Returns 1 when the caller goes on
// normally, 0 when reporting is off or the user chose to ignore or break.
int SafeAssertFailure(const char* expression, const char* file, int line);
// Reports "<file>:<line>: Unexpected error: <system text of error>" with no expression.
int SafeAssertErrno(int error, const char* file, int line);

std::uint32_t GetSafeAssertFlags();
void SetSafeAssertFlags(std::uint32_t flags);
void SetSafeAssertLogTarget(std::intptr_t target);
void SetSafeAssertEventHook(SafeAssertEventHook hook);
void SetSafeAssertDebugOutput(SafeAssertDebugOutput output);
void SetSafeAssertMessageBox(SafeAssertMessageBoxHook box);

namespace Detail
{
// Returns every setting to its state at process start (hooks included) and closes the log file, so
// that the next failure reads the environment again.
void ResetSafeAssertForTesting();
// Reads the environment now, as the first failure would, without reporting anything.
void InitialiseSafeAssertForTesting();
} // namespace Detail

} // namespace Common

#define SAFE_ASSERT(expression)                                                                              \
    ((expression) ? (void)0 : (void)::Common::SafeAssertFailure(#expression, __FILE__, __LINE__))
// For the invariants whose reported text is not the expression itself.
#define SAFE_ASSERT_TEXT(condition, text)                                                                    \
    ((condition) ? (void)0 : (void)::Common::SafeAssertFailure(text, __FILE__, __LINE__))
#define SAFE_ASSERT_ERRNO(error) ((void)::Common::SafeAssertErrno((error), __FILE__, __LINE__))
