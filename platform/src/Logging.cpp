#include "Platform/Logging.h"

#include "Platform/LineTag.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

struct Logging_Context
{
    std::string Name;
};

namespace
{

// Output state; the mutex also makes each record one write, so concurrent records never interleave.
struct Output
{
    std::mutex Lock;
    std::string ExplicitPath;
    int Descriptor = -1; // -1: not chosen yet since the last change
    bool OwnsDescriptor = false;
    std::map<std::string, std::unique_ptr<Logging_Context>, std::less<>> Contexts;
};

// Never destroyed: records may be written from static destructors of other libraries.
Output& State()
{
    static Output* state = new Output;
    return *state;
}

int OpenForAppend(const char* path)
{
    return open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
}

void CloseOutput(Output& state)
{
    if (state.OwnsDescriptor)
    {
        close(state.Descriptor);
    }
    state.Descriptor = -1;
    state.OwnsDescriptor = false;
}

int ChooseDescriptor(Output& state)
{
    if (state.Descriptor >= 0)
    {
        return state.Descriptor;
    }
    const char* path =
        state.ExplicitPath.empty() ? std::getenv("VELTRIX_LOG_FILE") : state.ExplicitPath.c_str();
    if (path != nullptr && *path != '\0')
    {
        const int descriptor = OpenForAppend(path);
        if (descriptor >= 0)
        {
            state.Descriptor = descriptor;
            state.OwnsDescriptor = true;
            return descriptor;
        }
    }
    state.Descriptor = STDERR_FILENO;
    return state.Descriptor;
}

void WriteAll(int descriptor, std::string_view bytes)
{
    while (!bytes.empty())
    {
        const ssize_t written = write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
        {
            continue;
        }
        if (written <= 0)
        {
            return;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

void AppendField(std::string& line, const char* text)
{
    line += text == nullptr || *text == '\0' ? "-" : text;
}

// Builds the record's lines (see the header) and writes them at once.
void WriteRecord(Logging_Context* context, int level, const Common::ErrorLocation* location,
                 std::string_view text)
{
    while (!text.empty() && text.back() == '\n')
    {
        text.remove_suffix(1);
    }
    char head[64];
    std::snprintf(head, sizeof head, "%d %016" PRIX64 " ", level,
                  location == nullptr ? 0 : location->LineTag);
    std::string line = head;
    AppendField(line, context == nullptr ? nullptr : context->Name.c_str());
    line += ' ';
    AppendField(line, location == nullptr ? nullptr : location->File);
    line += ':';
    line += std::to_string(location == nullptr ? 0 : location->Line);
    line += ' ';
    AppendField(line, location == nullptr ? nullptr : location->Function);
    line += ": ";
    for (const char c : text)
    {
        line += c;
        if (c == '\n')
        {
            line += '\t';
        }
    }
    line += '\n';

    Output& state = State();
    std::lock_guard<std::mutex> guard(state.Lock);
    WriteAll(ChooseDescriptor(state), line);
}

void AppendUtf8(std::string& out, const char16_t* text, std::size_t length)
{
    for (std::size_t i = 0; text != nullptr && i < length; ++i)
    {
        std::uint32_t unit = text[i];
        if (unit >= 0xD800 && unit < 0xDC00 && i + 1 < length && text[i + 1] >= 0xDC00 &&
            text[i + 1] < 0xE000)
        {
            unit = 0x10000 + ((unit - 0xD800) << 10) + (text[i + 1] - 0xDC00);
            ++i;
        }
        // A lone surrogate is written in its three-byte form, as the system's own encoder does.
        if (unit < 0x80)
        {
            out += static_cast<char>(unit);
        }
        else if (unit < 0x800)
        {
            out += static_cast<char>(0xC0 | (unit >> 6));
            out += static_cast<char>(0x80 | (unit & 0x3F));
        }
        else if (unit < 0x10000)
        {
            out += static_cast<char>(0xE0 | (unit >> 12));
            out += static_cast<char>(0x80 | ((unit >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (unit & 0x3F));
        }
        else
        {
            out += static_cast<char>(0xF0 | (unit >> 18));
            out += static_cast<char>(0x80 | ((unit >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((unit >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (unit & 0x3F));
        }
    }
}

// Trace records carry the code in front of the text, as the trace's own output does.
std::string CodedText(std::uint32_t code, const char16_t* text, std::size_t length)
{
    char head[16];
    std::snprintf(head, sizeof head, "%08" PRIX32 " ", code);
    std::string line = head;
    AppendUtf8(line, text, length);
    return line;
}

void TracerText(Logging_Context* context, int level, std::uint32_t area, std::uint32_t code,
                const char16_t* text, std::size_t length)
{
    WriteRecord(context, level, nullptr, CodedText(area * 65536 + code, text, length));
}

void TracerFile(Logging_Context* context, int level, std::uint32_t area, std::uint32_t code,
                const char16_t* text, std::size_t length, const char* file, unsigned line)
{
    Common::ErrorLocation location;
    Logging_BuildLineTag(&location, file, nullptr, line);
    WriteRecord(context, level, &location, CodedText(area * 65536 + code, text, length));
}

void TracerError(Logging_Context* context, int level, std::uint32_t code, const char16_t* message,
                 std::size_t length, const Common::ErrorLocation* location, unsigned depth)
{
    std::string text = depth == 0 ? "" : "caused by: ";
    text += CodedText(code, message, length);
    WriteRecord(context, level, location, text);
}

const Logging_Tracer Tracer = {TracerText, TracerFile, TracerError};

} // namespace

void Logging_BuildLineTag(Common::ErrorLocation* out, const char* file, const char* function, unsigned line)
{
    if (out == nullptr)
    {
        return;
    }
    *out = Common::ErrorLocation{Platform::ComputeLineTag(file, line), file, function, line};
}

void Logging_LogWithTag(Logging_Context* context, int level, const Common::ErrorLocation* location,
                        const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    Logging_LogWithTagV(context, level, location, format, arguments);
    va_end(arguments);
}

void Logging_LogWithTagV(Logging_Context* context, int level, const Common::ErrorLocation* location,
                         const char* format, std::va_list arguments)
{
    if (format == nullptr)
    {
        return;
    }
    char small[512];
    std::va_list copy;
    va_copy(copy, arguments);
    const int size = std::vsnprintf(small, sizeof small, format, copy);
    va_end(copy);
    if (size < 0)
    {
        return;
    }
    if (static_cast<std::size_t>(size) < sizeof small)
    {
        WriteRecord(context, level, location, std::string_view(small, static_cast<std::size_t>(size)));
        return;
    }
    std::string large(static_cast<std::size_t>(size) + 1, '\0');
    std::vsnprintf(large.data(), large.size(), format, arguments);
    large.pop_back();
    WriteRecord(context, level, location, large);
}

void Logging_LogBuffer(Logging_Context* context, int level, const char* text, std::size_t length)
{
    WriteRecord(context, level, nullptr,
                text == nullptr ? std::string_view() : std::string_view(text, length));
}

const Logging_Tracer* Logging_GetTracer(Logging_Context*)
{
    return &Tracer;
}

Logging_Context* Logging_GetContext(const char* name)
{
    if (name == nullptr || *name == '\0')
    {
        return nullptr;
    }
    Output& state = State();
    std::lock_guard<std::mutex> guard(state.Lock);
    auto found = state.Contexts.find(std::string_view(name));
    if (found == state.Contexts.end())
    {
        found = state.Contexts.emplace(name, std::make_unique<Logging_Context>(Logging_Context{name})).first;
    }
    return found->second.get();
}

int Logging_SetOutputFile(const char* path)
{
    Output& state = State();
    std::lock_guard<std::mutex> guard(state.Lock);
    CloseOutput(state);
    state.ExplicitPath.clear();
    if (path == nullptr)
    {
        return 0;
    }
    const int descriptor = OpenForAppend(path);
    if (descriptor < 0)
    {
        return errno;
    }
    state.ExplicitPath = path;
    state.Descriptor = descriptor;
    state.OwnsDescriptor = true;
    return 0;
}
