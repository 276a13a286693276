// The process-wide trace: each call goes to the default output (stdout and stderr) when its level
// reaches the threshold, and to the registered sinks and C functions. Tracing is thread-safe;
// registration is not synchronised with tracing: register at start-up and unregister at shutdown,
// while no other thread traces.
#pragma once

#include "common/TraceLogic.h"
#include "common/WideString.h"

#include <cstdint>
#include <cstdio>

namespace Common
{

class Error;

using TraceTextFunction = void (*)(int level, std::uint32_t area, std::uint32_t code, WideStringView text);
using TraceFileFunction = void (*)(int level, std::uint32_t area, std::uint32_t code, WideStringView text,
                                   const char* file, unsigned line);
using TraceErrorFunction = void (*)(int level, const Error& error);
using ContextTraceTextFunction = void (*)(TraceContext context, int level, std::uint32_t area,
                                          std::uint32_t code, WideStringView text);
using ContextTraceFileFunction = void (*)(TraceContext context, int level, std::uint32_t area,
                                          std::uint32_t code, WideStringView text, const char* file,
                                          unsigned line);
using ContextTraceErrorFunction = void (*)(TraceContext context, int level, const Error& error);

// A sink made of plain functions. `Text` is required and identifies the registration; a missing `File`
// traces the text alone, a missing `Error` traces the message as text with the code split into area
// (high 16 bits) and code (low 16 bits). They are called only at or above the threshold.
struct TraceFunctions
{
    TraceTextFunction Text = nullptr;
    TraceFileFunction File = nullptr;
    TraceErrorFunction Error = nullptr;
};

struct ContextTraceFunctions
{
    ContextTraceTextFunction Text = nullptr;
    ContextTraceFileFunction File = nullptr;
    ContextTraceErrorFunction Error = nullptr;
};

void TraceText(TraceContext context, int level, std::uint32_t area, std::uint32_t code, WideStringView text);
void TraceText(int level, std::uint32_t area, std::uint32_t code, WideStringView text);
void TraceFile(TraceContext context, int level, std::uint32_t area, std::uint32_t code, WideStringView text,
               const char* file, unsigned line);
void TraceFile(int level, std::uint32_t area, std::uint32_t code, WideStringView text, const char* file,
               unsigned line);
void TraceError(TraceContext context, int level, const Error& error);
void TraceError(int level, const Error& error);

// Registering the same `Text` again replaces the other two functions. A null `Text` is a broken
// invariant ("func") and registers nothing.
void RegisterTrace(const TraceFunctions& functions);
void RegisterTrace(const ContextTraceFunctions& functions);
void UnregisterTrace(const TraceFunctions& functions);
void UnregisterTrace(const ContextTraceFunctions& functions);

// The sink is borrowed until unregistered; registering it twice has no effect. It is called in order of
// registration, below the threshold only if it says IsForced().
void RegisterTraceLogic(TraceLogic* logic);
void UnregisterTraceLogic(TraceLogic* logic);

// Messages below the threshold (2 at start) reach neither the default output nor unforced sinks.
// Read without a lock on every trace call: a change is seen by other threads soon, not at once.
int GetTraceThreshold();
void SetTraceThreshold(int threshold);

bool IsDefaultOutputDisabled();
void SetDefaultOutputDisabled(bool disabled);

// The default output writes one UTF-8 line per call: the level's letter (D 1, I 2, W 3, E 4 and 5, ? any
// other), area * 65536 + code as eight hexadecimal digits, ":", the text, a line feed; as in
// "W011A0012:text". Levels below 3 go to stdout, the others to stderr, each line in one write.
enum TraceOutputOption : std::uint32_t
{
    // Markup between "<" and ">" is dropped; "<<" writes "<"; a ">" outside markup stays.
    TraceOutputPlainText = 1,
    // Line feeds of the text are kept; without this option each becomes a blank.
    TraceOutputMultiLine = 2,
};
std::uint32_t GetTraceOutputOptions();
void SetTraceOutputOptions(std::uint32_t options);

namespace Detail
{
// Redirects the default output (null: back to stdout and stderr). The streams must outlive their use.
void SetTraceOutputStreams(std::FILE* belowWarning, std::FILE* fromWarning);
// Whether the composite sink exists, that is whether anything is registered.
bool HasTraceComposite();
} // namespace Detail

} // namespace Common
