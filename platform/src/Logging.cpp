#include "Platform/Logging.h"

#include "Platform/LineTag.h"

void Logging_BuildLineTag(Common::ErrorLocation* out, const char* file, const char* function, unsigned line)
{
    if (out == nullptr)
    {
        return;
    }
    *out = Common::ErrorLocation{Platform::ComputeLineTag(file, line), file, function, line};
}
