#include "common/SafeAssert.h"

#include <execinfo.h>
#include <unistd.h>
#include <unwind.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Common
{
namespace
{

constexpr std::size_t TextCapacity = 540;
constexpr std::size_t DebugTextLimit = 538;
constexpr std::size_t ProgramCapacity = 256;
constexpr std::size_t ShortenedLength = 60;
constexpr std::size_t TokenTextLimit = 127;
constexpr int MaxFrames = 32;
constexpr int ReportingFrames = 2;
constexpr std::size_t StackBufferStep = 1024;

constexpr int EventType = 5;
constexpr int EventSubtype = 0;
constexpr int EventCode = 27;

constexpr const char* MessageBoxTitle = "Veltrix runtime check failure";
constexpr unsigned MessageBoxStyle = 0x212;
constexpr int MessageBoxAbort = 3;
constexpr int MessageBoxRetry = 4;

// The settings are read without a lock, as reporting must work from any thread and in any state; the
// relaxed atomics only keep the deliberate races defined.
constinit std::atomic<bool> Initialised{false};
constinit std::atomic<std::uint32_t> Flags{SafeAssertDefaultFlags};
constinit std::atomic<std::intptr_t> LogTarget{SafeAssertStderr};
constinit std::atomic<std::FILE*> LogFile{nullptr};
constinit std::atomic<SafeAssertEventHook> EventHook{nullptr};
constinit std::atomic<SafeAssertDebugOutput> DebugOutput{nullptr};
constinit std::atomic<SafeAssertMessageBoxHook> MessageBoxHook{nullptr};

enum class Answer
{
    Abort,
    Retry,
    Ignore,
};

void CloseLogFile()
{
    if (std::FILE* file = LogFile.exchange(nullptr, std::memory_order_relaxed))
    {
        std::fclose(file);
    }
}

void OpenLogTarget()
{
    const char* name = std::getenv("VELTRIX_SAFE_ASSERT_LOGFILE");
    if (name == nullptr)
    {
        return;
    }
    if (std::strcmp(name, "stdout") == 0)
    {
        LogTarget.store(SafeAssertStdout, std::memory_order_relaxed);
    }
    else if (std::strcmp(name, "stderr") == 0)
    {
        LogTarget.store(SafeAssertStderr, std::memory_order_relaxed);
    }
    else if (std::FILE* file = std::fopen(name, "a"))
    {
        // A file of an earlier racing initialisation stays open: another thread may be writing to it.
        LogFile.store(file, std::memory_order_relaxed);
        LogTarget.store(SafeAssertLogFile, std::memory_order_relaxed);
    }
}

std::uint32_t TokenFlag(const char* token)
{
    static constexpr struct
    {
        const char* Name;
        std::uint32_t Flag;
    } Tokens[] = {
        {"break", SafeAssertBreak}, {"debug", SafeAssertDebug},       {"log", SafeAssertLog},
        {"event", SafeAssertEvent}, {"msgbox", SafeAssertMessageBox}, {"abort", SafeAssertAbort},
        {"stack", SafeAssertStack},
    };
    for (const auto& entry : Tokens)
    {
        if (std::strcmp(token, entry.Name) == 0)
        {
            return entry.Flag;
        }
    }
    // One unknown word switches all reporting off, and no later word can bring it back.
    return SafeAssertReportingOff;
}

void ReadEnvironment()
{
    const char* value = std::getenv("VELTRIX_SAFE_ASSERT");
    if (value == nullptr || *value == '\0')
    {
        return;
    }

    const char* digits = value;
    if (std::strstr(value, "0x") != nullptr || std::strstr(value, "0X") != nullptr)
    {
        digits = value + 2;
    }
    char* end = nullptr;
    const long number = std::strtol(digits, &end, 16);
    if (*end == '\0' && number != 0)
    {
        const auto flags = static_cast<std::uint32_t>(number);
        Flags.store(flags, std::memory_order_relaxed);
        if ((flags & SafeAssertLog) != 0)
        {
            OpenLogTarget();
        }
        return;
    }

    char words[TokenTextLimit + 1] = {};
    std::strncpy(words, value, TokenTextLimit);
    std::uint32_t flags = 0;
    bool openLog = false;
    char* state = nullptr;
    for (char* token = strtok_r(words, " ", &state); token != nullptr; token = strtok_r(nullptr, " ", &state))
    {
        const std::uint32_t flag = TokenFlag(token);
        flags |= flag;
        openLog = openLog || flag == SafeAssertLog;
    }
    Flags.store(flags, std::memory_order_relaxed);
    if (openLog)
    {
        OpenLogTarget();
    }
}

void InitialiseOnce()
{
    if (Initialised.load(std::memory_order_relaxed))
    {
        return;
    }
    static const bool ClosingRegistered = (std::atexit(CloseLogFile), true);
    (void)ClosingRegistered;
    ReadEnvironment();
    Initialised.store(true, std::memory_order_relaxed);
}

void WriteAll(int descriptor, const char* data, std::size_t size)
{
    while (size > 0)
    {
        const ssize_t written = ::write(descriptor, data, size);
        if (written < 0)
        {
            if (errno == EINTR)
            {
                continue;
            }
            return;
        }
        data += written;
        size -= static_cast<std::size_t>(written);
    }
}

void WriteLine(std::FILE* stream, const char* text)
{
    std::fprintf(stream, "%s\n", text);
    // An abort may follow, and abort does not flush the streams.
    std::fflush(stream);
}

void WriteToLog(const char* text)
{
    const std::intptr_t target = LogTarget.load(std::memory_order_relaxed);
    switch (target)
    {
    case SafeAssertStdout:
        WriteLine(stdout, text);
        break;
    case SafeAssertStderr:
        WriteLine(stderr, text);
        break;
    case SafeAssertLogFile:
        if (std::FILE* file = LogFile.load(std::memory_order_relaxed))
        {
            WriteLine(file, text);
        }
        break;
    default:
        WriteAll(static_cast<int>(target), text, std::strlen(text));
        WriteAll(static_cast<int>(target), "\n", 1);
        break;
    }
}

void WriteToDebugger(const char* text)
{
    const SafeAssertDebugOutput output = DebugOutput.load(std::memory_order_relaxed);
    if (output == nullptr)
    {
        return;
    }
    char line[DebugTextLimit + 2];
    const std::size_t length = strnlen(text, DebugTextLimit);
    std::memcpy(line, text, length);
    line[length] = '\n';
    line[length + 1] = '\0';
    output(line);
}

void SendEvent(SafeAssertEventHook hook, const char* text)
{
    hook(EventType, EventSubtype, EventCode, text);
}

// Frame lines for the event hook, collected in one buffer; without memory the rest is left out.
class StackText
{
public:
    StackText() = default;
    StackText(const StackText&) = delete;
    StackText& operator=(const StackText&) = delete;
    ~StackText() { std::free(Data); }

    void Append(const char* line)
    {
        const std::size_t length = std::strlen(line);
        const std::size_t separator = Size == 0 ? 0 : 1;
        const std::size_t needed = Size + separator + length + 1;
        if (needed > Capacity)
        {
            const std::size_t capacity = (needed + StackBufferStep - 1) / StackBufferStep * StackBufferStep;
            char* grown = static_cast<char*>(std::realloc(Data, capacity));
            if (grown == nullptr)
            {
                return;
            }
            Data = grown;
            Capacity = capacity;
        }
        if (separator != 0)
        {
            Data[Size++] = '\n';
        }
        std::memcpy(Data + Size, line, length + 1);
        Size += length;
    }

    const char* Text() const { return Data; }

private:
    char* Data = nullptr;
    std::size_t Size = 0;
    std::size_t Capacity = 0;
};

void ReportStack(void* const* frames, int count, std::uint32_t flags)
{
    char** symbols = backtrace_symbols(frames, count);
    if (symbols == nullptr)
    {
        return;
    }
    const SafeAssertEventHook hook =
        (flags & SafeAssertEvent) != 0 ? EventHook.load(std::memory_order_relaxed) : nullptr;
    StackText joined;
    for (int index = ReportingFrames; index < count; ++index)
    {
        if ((flags & SafeAssertDebug) != 0)
        {
            WriteToDebugger(symbols[index]);
        }
        if ((flags & SafeAssertLog) != 0)
        {
            WriteToLog(symbols[index]);
        }
        if (hook != nullptr)
        {
            joined.Append(symbols[index]);
        }
    }
    std::free(symbols);
    if (hook != nullptr && joined.Text() != nullptr)
    {
        SendEvent(hook, joined.Text());
    }
}

bool DebuggerAttached()
{
    std::FILE* status = std::fopen("/proc/self/status", "r");
    if (status == nullptr)
    {
        return false;
    }
    long tracer = 0;
    char line[256];
    while (std::fgets(line, sizeof line, status) != nullptr)
    {
        if (std::strncmp(line, "TracerPid:", 10) == 0)
        {
            tracer = std::strtol(line + 10, nullptr, 10);
            break;
        }
    }
    std::fclose(status);
    return tracer != 0;
}

void BreakIntoDebugger()
{
    std::raise(SIGTRAP);
}

const char* LastCharacters(const char* text)
{
    const std::size_t length = std::strlen(text);
    return length > ShortenedLength ? text + length - ShortenedLength : text;
}

Answer ShowMessageBox(const char* expression, const char* file, int line)
{
    char program[ProgramCapacity];
    const ssize_t length = ::readlink("/proc/self/exe", program, sizeof program - 1);
    program[length < 0 ? 0 : length] = '\0';

    char text[TextCapacity];
    if (std::snprintf(text, sizeof text,
                      "Assertion failed!\n\nProgram: %s\nFile: %s\nLine: %i\n\nExpression: %s\n\n"
                      "(Press Retry to debug the application)",
                      LastCharacters(program), LastCharacters(file), line, LastCharacters(expression)) < 0)
    {
        return Answer::Retry;
    }

    const SafeAssertMessageBoxHook box = MessageBoxHook.load(std::memory_order_relaxed);
    if (box == nullptr)
    {
        // Nobody to ask, as for a service without a console session.
        WriteLine(stderr, text);
        return Answer::Ignore;
    }
    switch (box(text, MessageBoxTitle, MessageBoxStyle))
    {
    case MessageBoxAbort:
        return Answer::Abort;
    case MessageBoxRetry:
        return Answer::Retry;
    default:
        return Answer::Ignore;
    }
}

// The return addresses of the stack, the function this is inlined into first. The unwinder is called
// directly: a sanitizer's interceptor of backtrace() would add a frame of its own.
[[gnu::always_inline]] inline int CaptureStack(void** frames, int capacity)
{
    struct Walk
    {
        void** Frames;
        int Capacity;
        int Count;
    } walk{frames, capacity, 0};
    _Unwind_Backtrace(
        [](_Unwind_Context* context, void* argument) -> _Unwind_Reason_Code
        {
            auto* state = static_cast<Walk*>(argument);
            if (state->Count == state->Capacity)
            {
                return _URC_END_OF_STACK;
            }
            state->Frames[state->Count++] = reinterpret_cast<void*>(_Unwind_GetIP(context));
            return _URC_NO_REASON;
        },
        &walk);
    return walk.Count;
}

// Kept out of line so that the stack's first two frames are this function and its public caller.
[[gnu::noinline]] int Report(const char* text, const char* expression, const char* file, int line)
{
    InitialiseOnce();
    const std::uint32_t flags = Flags.load(std::memory_order_relaxed);
    if (flags == SafeAssertReportingOff)
    {
        return 0;
    }

    if (text != nullptr)
    {
        if ((flags & SafeAssertDebug) != 0)
        {
            WriteToDebugger(text);
        }
        if ((flags & SafeAssertLog) != 0)
        {
            WriteToLog(text);
        }
        if ((flags & SafeAssertEvent) != 0)
        {
            if (const SafeAssertEventHook hook = EventHook.load(std::memory_order_relaxed))
            {
                SendEvent(hook, text);
            }
        }
    }

    if ((flags & SafeAssertStack) != 0 && (flags & (SafeAssertDebug | SafeAssertLog | SafeAssertEvent)) != 0)
    {
        void* frames[MaxFrames];
        ReportStack(frames, CaptureStack(frames, MaxFrames), flags);
    }

    if ((flags & SafeAssertMessageBox) != 0 && expression != nullptr)
    {
        switch (ShowMessageBox(expression, file, line))
        {
        case Answer::Ignore:
            return 0;
        case Answer::Abort:
            std::abort();
        case Answer::Retry:
            if (DebuggerAttached())
            {
                BreakIntoDebugger();
                return 0;
            }
            break;
        }
    }
    else if ((flags & SafeAssertBreak) != 0 && DebuggerAttached())
    {
        BreakIntoDebugger();
        return 0;
    }

    if ((flags & SafeAssertAbort) != 0)
    {
        std::abort();
    }
    return 1;
}

// strerror_r comes in a GNU and a POSIX flavour; these pick the text out of either.
[[maybe_unused]] const char* ErrorText(const char* result, const char*)
{
    return result;
}

[[maybe_unused]] const char* ErrorText(int result, const char* buffer)
{
    return result == 0 ? buffer : "Unknown error";
}

} // namespace

[[gnu::noinline]] int SafeAssertFailure(const char* expression, const char* file, int line)
{
    if (expression == nullptr)
    {
        expression = "";
    }
    if (file == nullptr)
    {
        file = "";
    }
    char text[TextCapacity];
    // A long expression is cut to the buffer rather than lost; only a failed format drops the text.
    if (std::snprintf(text, sizeof text, "Assertion failed: %s, file %s, line %d", expression, file, line) <
        0)
    {
        return Report(nullptr, expression, file, line);
    }
    return Report(text, expression, file, line);
}

[[gnu::noinline]] int SafeAssertErrno(int error, const char* file, int line)
{
    if (file == nullptr)
    {
        file = "";
    }
    char system[256] = {};
    const char* reason = ErrorText(strerror_r(error, system, sizeof system), system);
    char text[TextCapacity];
    if (std::snprintf(text, sizeof text, "%s:%u: Unexpected error: %s", file, static_cast<unsigned>(line),
                      reason) < 0)
    {
        return Report(nullptr, nullptr, file, line);
    }
    return Report(text, nullptr, file, line);
}

std::uint32_t GetSafeAssertFlags()
{
    return Flags.load(std::memory_order_relaxed);
}

void SetSafeAssertFlags(std::uint32_t flags)
{
    Flags.store(flags, std::memory_order_relaxed);
}

void SetSafeAssertLogTarget(std::intptr_t target)
{
    LogTarget.store(target, std::memory_order_relaxed);
}

void SetSafeAssertEventHook(SafeAssertEventHook hook)
{
    EventHook.store(hook, std::memory_order_relaxed);
}

void SetSafeAssertDebugOutput(SafeAssertDebugOutput output)
{
    DebugOutput.store(output, std::memory_order_relaxed);
}

void SetSafeAssertMessageBox(SafeAssertMessageBoxHook box)
{
    MessageBoxHook.store(box, std::memory_order_relaxed);
}

namespace Detail
{

void InitialiseSafeAssertForTesting()
{
    InitialiseOnce();
}

void ResetSafeAssertForTesting()
{
    Initialised.store(false, std::memory_order_relaxed);
    Flags.store(SafeAssertDefaultFlags, std::memory_order_relaxed);
    LogTarget.store(SafeAssertStderr, std::memory_order_relaxed);
    CloseLogFile();
    EventHook.store(nullptr, std::memory_order_relaxed);
    DebugOutput.store(nullptr, std::memory_order_relaxed);
    MessageBoxHook.store(nullptr, std::memory_order_relaxed);
}

} // namespace Detail

} // namespace Common
