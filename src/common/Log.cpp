#include "common/Log.h"

#include "Platform/Logging.h"
#include "common/SafeAssert.h"

#include <cstdarg>

namespace Logging
{

void Log(const Common::ErrorLocation& location, int level, Common::TraceContext context, const char* format,
         ...)
{
    SAFE_ASSERT_TEXT(format != nullptr, "format");
    if (format == nullptr)
    {
        return;
    }
    std::va_list arguments;
    va_start(arguments, format);
    Logging_LogWithTagV(context, level, &location, format, arguments);
    va_end(arguments);
}

} // namespace Logging
