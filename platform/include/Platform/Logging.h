// The host's logging library: line tags computed at run time, records written one line each, and the
// tracer through which the system's trace reaches the log. Every function is thread-safe; records of
// concurrent callers never interleave within a line.
#pragma once

#include "Platform/Location.h"

#include <cstdarg>
#include <cstddef>
#include <cstdint>

#define PLATFORM_API extern "C" __attribute__((visibility("default")))

// A log channel. Opaque; null is the default channel. Channels are interned by name and live as long
// as the process, so a pointer may be kept anywhere.
struct Logging_Context;

// The library's tracer. Each operation receives the context it was obtained for. Texts are UTF-16 with
// a length (not terminated). The error form gets one record of an error chain: `depth` is 0 for the
// head and counts up along the causes; `location` may be null.
struct Logging_Tracer
{
    void (*TraceText)(Logging_Context* context, int level, std::uint32_t area, std::uint32_t code,
                      const char16_t* text, std::size_t length);
    void (*TraceFile)(Logging_Context* context, int level, std::uint32_t area, std::uint32_t code,
                      const char16_t* text, std::size_t length, const char* file, unsigned line);
    void (*TraceError)(Logging_Context* context, int level, std::uint32_t code, const char16_t* message,
                       std::size_t length, const Common::ErrorLocation* location, unsigned depth);
};

// Fills `out` with the site and a line tag computed from the repository-relative `file` and `line`;
// equal to the tag that the compile-time location of the same site carries.
PLATFORM_API void Logging_BuildLineTag(Common::ErrorLocation* out, const char* file, const char* function,
                                       unsigned line);

// Writes one record: the printf-style text at `level` for the site `location` (null: no site).
PLATFORM_API void Logging_LogWithTag(Logging_Context* context, int level,
                                     const Common::ErrorLocation* location, const char* format, ...)
    __attribute__((format(printf, 4, 5)));
PLATFORM_API void Logging_LogWithTagV(Logging_Context* context, int level,
                                      const Common::ErrorLocation* location, const char* format,
                                      std::va_list arguments) __attribute__((format(printf, 4, 0)));

// Writes one record of `length` bytes of ready UTF-8 text (no terminator needed), with no site.
PLATFORM_API void Logging_LogBuffer(Logging_Context* context, int level, const char* text,
                                    std::size_t length);

// The tracer for `context`; never null.
PLATFORM_API const Logging_Tracer* Logging_GetTracer(Logging_Context* context);

// The channel named `name`, made on first use; null or "" gives the default channel (null).
PLATFORM_API Logging_Context* Logging_GetContext(const char* name);

// Record lines look like this, one per record, fields separated by one blank:
//     <level> <line tag: 16 hex digits> <channel or -> <file or ->:<line> <function or ->: <text>
// A line feed inside the text continues the record on a line that starts with a tab; trailing line
// feeds are dropped. Records go to the file set here, else to the file named by VELTRIX_LOG_FILE (read
// at the first record after each change), else to stderr; files are appended to. Null `path` returns to
// that default. Returns 0, or the errno of a failed open (the output is then the default).
PLATFORM_API int Logging_SetOutputFile(const char* path);
