#include "common/TraceLogic.h"

namespace Common
{

void TraceLogic::TraceText(TraceContext, int level, std::uint32_t area, std::uint32_t code,
                           WideStringView text)
{
    TraceText(level, area, code, text);
}

void TraceLogic::TraceText(int, std::uint32_t, std::uint32_t, WideStringView) {}

void TraceLogic::TraceFile(TraceContext, int level, std::uint32_t area, std::uint32_t code,
                           WideStringView text, const char* file, unsigned line)
{
    TraceFile(level, area, code, text, file, line);
}

void TraceLogic::TraceFile(int, std::uint32_t, std::uint32_t, WideStringView, const char*, unsigned) {}

void TraceLogic::TraceError(TraceContext, int level, const Error& error)
{
    TraceError(level, error);
}

void TraceLogic::TraceError(int, const Error&) {}

bool TraceLogic::IsForced() const
{
    return false;
}

} // namespace Common
