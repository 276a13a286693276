#include "common/LoggingBind.h"

#include "Platform/Logging.h"
#include "common/Error.h"
#include "common/Trace.h"

#include <mutex>

namespace Logging
{
namespace
{

std::mutex CountLock;
int InstanceCount = 0;

} // namespace

Bind::Bind()
{
    std::lock_guard<std::mutex> guard(CountLock);
    if (InstanceCount++ == 0)
    {
        Common::RegisterTraceLogic(this);
        Installed = true;
    }
}

// Only the installing instance unregisters, even if others still live: it is the one the trace knows.
Bind::~Bind()
{
    std::lock_guard<std::mutex> guard(CountLock);
    --InstanceCount;
    if (Installed)
    {
        Common::UnregisterTraceLogic(this);
    }
}

void Bind::TraceText(Common::TraceContext context, int level, std::uint32_t area, std::uint32_t code,
                     Common::WideStringView text)
{
    Logging_GetTracer(context)->TraceText(context, level, area, code, text.data(), text.size());
}

void Bind::TraceFile(Common::TraceContext context, int level, std::uint32_t area, std::uint32_t code,
                     Common::WideStringView text, const char* file, unsigned line)
{
    Logging_GetTracer(context)->TraceFile(context, level, area, code, text.data(), text.size(), file, line);
}

void Bind::TraceError(Common::TraceContext context, int level, const Common::Error& error)
{
    const Logging_Tracer* tracer = Logging_GetTracer(context);
    unsigned depth = 0;
    for (Common::Error entry = error; entry.GetCode() != 0; entry = entry.GetSubError(), ++depth)
    {
        const Common::WideString message = entry.GetMessage();
        const Common::ErrorLocation location = entry.GetLineTag();
        tracer->TraceError(context, level, entry.GetCode(), message.data(), message.size(), &location, depth);
    }
}

void Bind::TraceText(int level, std::uint32_t area, std::uint32_t code, Common::WideStringView text)
{
    TraceText(nullptr, level, area, code, text);
}

void Bind::TraceFile(int level, std::uint32_t area, std::uint32_t code, Common::WideStringView text,
                     const char* file, unsigned line)
{
    TraceFile(nullptr, level, area, code, text, file, line);
}

void Bind::TraceError(int level, const Common::Error& error)
{
    TraceError(nullptr, level, error);
}

} // namespace Logging
