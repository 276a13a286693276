// Common::TraceLogic: a sink of the process-wide trace, which gets texts and errors with a level (a
// larger level is more severe). Each operation has a context form and a plain form; the base's context
// forms call the plain ones, which ignore the message, so a sink overrides the plain forms (adding
// `using TraceLogic::TraceText;` and so on). Sinks are called on whichever thread traces.
#pragma once

#include "common/NonCopyable.h"
#include "common/WideString.h"

#include <cstdint>

struct Logging_Context;

namespace Common
{

class Error;

// The context of a trace call is a channel of the host's logging library; null is the default channel.
// The trace itself never looks into it: it only travels to the sinks.
using TraceContext = Logging_Context*;

class TraceLogic : NonCopyable
{
public:
    virtual ~TraceLogic() = default;

    // `area` and `code` are the two halves of an error code: the line's code is area * 65536 + code.
    virtual void TraceText(TraceContext context, int level, std::uint32_t area, std::uint32_t code,
                           WideStringView text);
    virtual void TraceText(int level, std::uint32_t area, std::uint32_t code, WideStringView text);

    // A text with its place in the source; `file` is a program literal.
    virtual void TraceFile(TraceContext context, int level, std::uint32_t area, std::uint32_t code,
                           WideStringView text, const char* file, unsigned line);
    virtual void TraceFile(int level, std::uint32_t area, std::uint32_t code, WideStringView text,
                           const char* file, unsigned line);

    virtual void TraceError(TraceContext context, int level, const Error& error);
    virtual void TraceError(int level, const Error& error);

    // True if the sink wants the messages below the trace threshold too.
    virtual bool IsForced() const;
};

} // namespace Common
