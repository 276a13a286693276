#include "common/Trace.h"

#include "common/Error.h"
#include "common/SafeAssert.h"
#include "common/Utf8.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cinttypes>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace Common
{
namespace
{

// Words read on every trace call and left unlocked on purpose.
std::atomic<int> TraceThreshold{2};
std::atomic<bool> DefaultOutputDisabled{false};
std::atomic<std::uint32_t> OutputOptions{0};
std::atomic<std::FILE*> BelowWarningStream{nullptr};
std::atomic<std::FILE*> FromWarningStream{nullptr};

constexpr int WarningLevel = 3;

// Adapts one registration of plain functions. A stub holds either plain or context functions; the
// plain forms of the stub call its context forms with a null context.
class StubLogic final : public TraceLogic
{
public:
    TraceFunctions Plain;
    ContextTraceFunctions WithContext;

    void TraceText(TraceContext context, int level, std::uint32_t area, std::uint32_t code,
                   WideStringView text) override
    {
        if (level < GetTraceThreshold())
        {
            return;
        }
        if (WithContext.Text != nullptr)
        {
            WithContext.Text(context, level, area, code, text);
        }
        else if (Plain.Text != nullptr)
        {
            Plain.Text(level, area, code, text);
        }
    }

    void TraceFile(TraceContext context, int level, std::uint32_t area, std::uint32_t code,
                   WideStringView text, const char* file, unsigned line) override
    {
        if (level < GetTraceThreshold())
        {
            return;
        }
        if (WithContext.File != nullptr)
        {
            WithContext.File(context, level, area, code, text, file, line);
        }
        else if (Plain.File != nullptr)
        {
            Plain.File(level, area, code, text, file, line);
        }
        else
        {
            TraceText(context, level, area, code, text);
        }
    }

    void TraceError(TraceContext context, int level, const Error& error) override
    {
        if (level < GetTraceThreshold())
        {
            return;
        }
        if (WithContext.Error != nullptr)
        {
            WithContext.Error(context, level, error);
        }
        else if (Plain.Error != nullptr)
        {
            Plain.Error(level, error);
        }
        else
        {
            const std::uint32_t code = error.GetCode();
            TraceText(context, level, code >> 16, code & 0xFFFF, error.GetMessage());
        }
    }

    void TraceText(int level, std::uint32_t area, std::uint32_t code, WideStringView text) override
    {
        TraceText(nullptr, level, area, code, text);
    }

    void TraceFile(int level, std::uint32_t area, std::uint32_t code, WideStringView text, const char* file,
                   unsigned line) override
    {
        TraceFile(nullptr, level, area, code, text, file, line);
    }

    void TraceError(int level, const Error& error) override { TraceError(nullptr, level, error); }
};

// The process-wide sink: registered sinks in order, then the stubs.
class CompositeTraceLogic final : public TraceLogic
{
public:
    std::vector<TraceLogic*> Sinks;
    std::map<std::uintptr_t, std::unique_ptr<StubLogic>> Stubs;

    bool IsEmpty() const { return Sinks.empty() && Stubs.empty(); }

    void TraceText(TraceContext context, int level, std::uint32_t area, std::uint32_t code,
                   WideStringView text) override
    {
        Dispatch(level, [&](TraceLogic& sink) { sink.TraceText(context, level, area, code, text); });
    }

    void TraceText(int level, std::uint32_t area, std::uint32_t code, WideStringView text) override
    {
        Dispatch(level, [&](TraceLogic& sink) { sink.TraceText(level, area, code, text); });
    }

    void TraceFile(TraceContext context, int level, std::uint32_t area, std::uint32_t code,
                   WideStringView text, const char* file, unsigned line) override
    {
        Dispatch(level,
                 [&](TraceLogic& sink) { sink.TraceFile(context, level, area, code, text, file, line); });
    }

    void TraceFile(int level, std::uint32_t area, std::uint32_t code, WideStringView text, const char* file,
                   unsigned line) override
    {
        Dispatch(level, [&](TraceLogic& sink) { sink.TraceFile(level, area, code, text, file, line); });
    }

    void TraceError(TraceContext context, int level, const Error& error) override
    {
        Dispatch(level, [&](TraceLogic& sink) { sink.TraceError(context, level, error); });
    }

    void TraceError(int level, const Error& error) override
    {
        Dispatch(level, [&](TraceLogic& sink) { sink.TraceError(level, error); });
    }

private:
    template <typename Call>
    void Dispatch(int level, const Call& call)
    {
        const bool belowThreshold = level < GetTraceThreshold();
        for (TraceLogic* sink : Sinks)
        {
            if (!belowThreshold || sink->IsForced())
            {
                call(*sink);
            }
        }
        // Stubs check the threshold themselves.
        for (const auto& entry : Stubs)
        {
            call(*entry.second);
        }
    }
};

// Written under RegistrationLock only; tracing reads it without the lock (see the header).
std::atomic<CompositeTraceLogic*> Composite{nullptr};
std::mutex RegistrationLock;

CompositeTraceLogic& MakeComposite()
{
    CompositeTraceLogic* composite = Composite.load(std::memory_order_relaxed);
    if (composite == nullptr)
    {
        composite = new CompositeTraceLogic;
        Composite.store(composite, std::memory_order_release);
    }
    return *composite;
}

void DeleteCompositeIfEmpty()
{
    CompositeTraceLogic* composite = Composite.load(std::memory_order_relaxed);
    if (composite != nullptr && composite->IsEmpty())
    {
        Composite.store(nullptr, std::memory_order_release);
        delete composite;
    }
}

template <typename Functions>
void RegisterStub(const Functions& functions, Functions StubLogic::*field)
{
    SAFE_ASSERT_TEXT(functions.Text != nullptr, "func");
    if (functions.Text == nullptr)
    {
        return;
    }
    std::lock_guard<std::mutex> guard(RegistrationLock);
    std::unique_ptr<StubLogic>& stub =
        MakeComposite().Stubs[reinterpret_cast<std::uintptr_t>(functions.Text)];
    if (stub == nullptr)
    {
        stub = std::make_unique<StubLogic>();
    }
    (*stub).*field = functions;
}

template <typename Function>
void UnregisterStub(Function text)
{
    std::lock_guard<std::mutex> guard(RegistrationLock);
    CompositeTraceLogic* composite = Composite.load(std::memory_order_relaxed);
    if (composite != nullptr)
    {
        composite->Stubs.erase(reinterpret_cast<std::uintptr_t>(text));
        DeleteCompositeIfEmpty();
    }
}

char LevelLetter(int level)
{
    switch (level)
    {
    case 1:
        return 'D';
    case 2:
        return 'I';
    case 3:
        return 'W';
    case 4:
    case 5:
        return 'E';
    default:
        return '?';
    }
}

// Appends the text under the output options.
void AppendBody(std::string& line, std::string_view text, std::uint32_t options)
{
    const bool plain = (options & TraceOutputPlainText) != 0;
    const bool multiLine = (options & TraceOutputMultiLine) != 0;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const char c = text[i];
        if (plain && c == '<')
        {
            if (i + 1 < text.size() && text[i + 1] == '<')
            {
                line += '<';
                ++i;
                continue;
            }
            const std::size_t end = text.find('>', i + 1);
            if (end == std::string_view::npos)
            {
                return; // unterminated markup: the rest is markup
            }
            i = end;
            continue;
        }
        line += c == '\n' && !multiLine ? ' ' : c;
    }
}

// One write per line, after whatever the stream still buffers, so lines of concurrent callers stay whole
// and in order with the stream's other output.
void WriteLine(std::FILE* stream, std::string_view line)
{
    flockfile(stream);
    std::fflush(stream);
    const int descriptor = fileno(stream);
    if (descriptor < 0)
    {
        std::fwrite(line.data(), 1, line.size(), stream);
        std::fflush(stream);
    }
    while (descriptor >= 0 && !line.empty())
    {
        const ssize_t written = write(descriptor, line.data(), line.size());
        if (written < 0 && errno == EINTR)
        {
            continue;
        }
        if (written <= 0)
        {
            break;
        }
        line.remove_prefix(static_cast<std::size_t>(written));
    }
    funlockfile(stream);
}

void DefaultOutput(int level, std::uint32_t area, std::uint32_t code, WideStringView text)
{
    char head[16];
    std::snprintf(head, sizeof head, "%c%08" PRIX32 ":", LevelLetter(level), area * 65536 + code);
    std::string utf8;
    WideToUtf8(utf8, text.data(), text.size());
    std::string line = head;
    AppendBody(line, utf8, OutputOptions.load(std::memory_order_relaxed));
    line += '\n';

    std::FILE* stream = level < WarningLevel ? BelowWarningStream.load(std::memory_order_relaxed)
                                             : FromWarningStream.load(std::memory_order_relaxed);
    if (stream == nullptr)
    {
        stream = level < WarningLevel ? stdout : stderr;
    }
    WriteLine(stream, line);
}

// Step one of every trace call: the default output when the level reaches the threshold; step two: the
// composite, when anything is registered.
template <typename Output, typename Forward>
void Trace(int level, const Output& output, const Forward& forward)
{
    if (level >= GetTraceThreshold() && !IsDefaultOutputDisabled())
    {
        output();
    }
    if (CompositeTraceLogic* composite = Composite.load(std::memory_order_acquire))
    {
        forward(*composite);
    }
}

void DefaultOutputOfError(int level, const Error& error)
{
    const std::uint32_t code = error.GetCode();
    DefaultOutput(level, code >> 16, code & 0xFFFF, error.GetMessage());
}

} // namespace

void TraceText(TraceContext context, int level, std::uint32_t area, std::uint32_t code, WideStringView text)
{
    Trace(
        level, [&] { DefaultOutput(level, area, code, text); },
        [&](TraceLogic& composite) { composite.TraceText(context, level, area, code, text); });
}

void TraceText(int level, std::uint32_t area, std::uint32_t code, WideStringView text)
{
    Trace(
        level, [&] { DefaultOutput(level, area, code, text); },
        [&](TraceLogic& composite) { composite.TraceText(level, area, code, text); });
}

void TraceFile(TraceContext context, int level, std::uint32_t area, std::uint32_t code, WideStringView text,
               const char* file, unsigned line)
{
    Trace(
        level, [&] { DefaultOutput(level, area, code, text); },
        [&](TraceLogic& composite) { composite.TraceFile(context, level, area, code, text, file, line); });
}

void TraceFile(int level, std::uint32_t area, std::uint32_t code, WideStringView text, const char* file,
               unsigned line)
{
    Trace(
        level, [&] { DefaultOutput(level, area, code, text); },
        [&](TraceLogic& composite) { composite.TraceFile(level, area, code, text, file, line); });
}

void TraceError(TraceContext context, int level, const Error& error)
{
    Trace(
        level, [&] { DefaultOutputOfError(level, error); },
        [&](TraceLogic& composite) { composite.TraceError(context, level, error); });
}

void TraceError(int level, const Error& error)
{
    Trace(
        level, [&] { DefaultOutputOfError(level, error); },
        [&](TraceLogic& composite) { composite.TraceError(level, error); });
}

void RegisterTrace(const TraceFunctions& functions)
{
    RegisterStub(functions, &StubLogic::Plain);
}

void RegisterTrace(const ContextTraceFunctions& functions)
{
    RegisterStub(functions, &StubLogic::WithContext);
}

void UnregisterTrace(const TraceFunctions& functions)
{
    UnregisterStub(functions.Text);
}

void UnregisterTrace(const ContextTraceFunctions& functions)
{
    UnregisterStub(functions.Text);
}

void RegisterTraceLogic(TraceLogic* logic)
{
    SAFE_ASSERT(logic != nullptr);
    if (logic == nullptr)
    {
        return;
    }
    std::lock_guard<std::mutex> guard(RegistrationLock);
    std::vector<TraceLogic*>& sinks = MakeComposite().Sinks;
    if (std::find(sinks.begin(), sinks.end(), logic) == sinks.end())
    {
        sinks.push_back(logic);
    }
}

void UnregisterTraceLogic(TraceLogic* logic)
{
    std::lock_guard<std::mutex> guard(RegistrationLock);
    CompositeTraceLogic* composite = Composite.load(std::memory_order_relaxed);
    if (composite != nullptr)
    {
        std::erase(composite->Sinks, logic);
        DeleteCompositeIfEmpty();
    }
}

int GetTraceThreshold()
{
    return TraceThreshold.load(std::memory_order_relaxed);
}

void SetTraceThreshold(int threshold)
{
    TraceThreshold.store(threshold, std::memory_order_relaxed);
}

bool IsDefaultOutputDisabled()
{
    return DefaultOutputDisabled.load(std::memory_order_relaxed);
}

void SetDefaultOutputDisabled(bool disabled)
{
    DefaultOutputDisabled.store(disabled, std::memory_order_relaxed);
}

std::uint32_t GetTraceOutputOptions()
{
    return OutputOptions.load(std::memory_order_relaxed);
}

void SetTraceOutputOptions(std::uint32_t options)
{
    OutputOptions.store(options, std::memory_order_relaxed);
}

namespace Detail
{

void SetTraceOutputStreams(std::FILE* belowWarning, std::FILE* fromWarning)
{
    BelowWarningStream.store(belowWarning, std::memory_order_relaxed);
    FromWarningStream.store(fromWarning, std::memory_order_relaxed);
}

bool HasTraceComposite()
{
    return Composite.load(std::memory_order_acquire) != nullptr;
}

} // namespace Detail
} // namespace Common
