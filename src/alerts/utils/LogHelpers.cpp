#include "alerts/utils/LogHelpers.h"

#include "Platform/Logging.h"
#include "alerts/AlertErrors.h"
#include "common/CatalogIds.h"
#include "common/FormatText.h"
#include "common/Log.h"
#include "common/TextCatalog.h"
#include "common/Utf8.h"
#include "por/UnitPrinter.h"

#include <string>

namespace Alerts
{
namespace
{

constexpr const char* ChannelName = "alerts";

Common::WideString Widen(std::string_view text)
{
    Common::WideString wide;
    Common::Utf8ToWide(wide, text.data(), text.size());
    return wide;
}

void WriteLine(const Common::ErrorLocation& site, int level, std::string_view name, std::string_view text)
{
    std::string line;
    line.reserve(name.size() + 2 + text.size());
    line += name;
    line += ": ";
    line += text;
    Logging::Log(site, level, Util::GetAlertsChannel(), "%s", line.c_str());
}

// One record per entry of the chain, head first, each under its own site, as the trace binding does.
void WriteError(int level, const Common::Error& error)
{
    const Common::TraceContext channel = Util::GetAlertsChannel();
    const Logging_Tracer* tracer = Logging_GetTracer(channel);
    unsigned depth = 0;
    for (Common::Error entry = error; entry.GetCode() != 0; entry = entry.GetSubError(), ++depth)
    {
        const Common::WideString message = entry.GetMessage();
        const Common::ErrorLocation location = entry.GetLineTag();
        tracer->TraceError(channel, level, entry.GetCode(), message.data(), message.size(), &location, depth);
    }
}

Common::Error Wrap(const Common::ErrorLocation& site, std::uint32_t code, const Common::WideString& text,
                   const Common::Error& cause)
{
    Common::Error wrapped(site, code, text);
    wrapped.SetSubError(cause);
    WriteError(LogLevels::Error, wrapped);
    return wrapped;
}

std::string ActivatedBody(std::string_view type, const Common::Guid& id, Common::WideStringView tenantID,
                          const Por::View::Unit& meta)
{
    const std::string idText = Common::GuidToString(id);
    const std::string tenantText = Util::Utf8Text(tenantID);
    const std::string metaText = Util::UnitText(meta);
    return Common::FormatText(Common::GetText(Common::Texts::AlertsActivatedBody),
                              {type, idText, tenantText, metaText});
}

} // namespace

void LogIgnoreByPattern(std::string_view pattern)
{
    std::string text = "pattern='";
    text += pattern;
    text += '\'';
    WriteLine(COMMON_LOCATION("Alerts::LogIgnoreByPattern"), LogLevels::Info, "IGNORE", text);
}

void LogTimeoutCallback(std::string_view text)
{
    WriteLine(COMMON_LOCATION("Alerts::LogTimeoutCallback"), LogLevels::Info, "TIMEOUTCALLBACK", text);
}

namespace Util
{

Common::TraceContext GetAlertsChannel()
{
    // Channels live as long as the process, so the pointer may be kept.
    static const Common::TraceContext channel = Logging_GetContext(ChannelName);
    return channel;
}

void LogText(std::string_view name, int level, std::string_view text)
{
    WriteLine(COMMON_LOCATION("Alerts::Util::LogText"), level, name, text);
}

void LogActivated(std::string_view type, const Common::Guid& id, Common::WideStringView tenantID,
                  const Por::View::Unit& meta)
{
    LogText("ACTIVATED", LogLevels::Info, ActivatedBody(type, id, tenantID, meta));
}

void LogActivateAfter(std::uint64_t delayMilliseconds, std::string_view type, const Common::Guid& id,
                      Common::WideStringView tenantID, const Por::View::Unit& meta)
{
    const std::string delay = std::to_string(delayMilliseconds);
    const std::string event =
        Common::FormatText(Common::GetText(Common::Texts::AlertsActivateAfterEvent), {delay});
    LogText(event, LogLevels::Info, ActivatedBody(type, id, tenantID, meta));
}

void LogDeactivated(std::string_view type, const Common::Guid& id)
{
    const std::string idText = Common::GuidToString(id);
    LogText("DEACTIVATED", LogLevels::Info,
            Common::FormatText(Common::GetText(Common::Texts::AlertsDeactivatedBody), {type, idText}));
}

void LogCleanup(std::string_view addon, std::string_view pattern)
{
    LogText("CLEANUP", LogLevels::Info,
            Common::FormatText(Common::GetText(Common::Texts::AlertsCleanupBody), {addon, pattern}));
}

void LogNotFound(std::string_view name, int level, std::string_view path, const Por::View::Unit& object)
{
    const std::string objectText = UnitText(object);
    LogText(name, level,
            Common::FormatText(Common::GetText(Common::Texts::AlertsFieldNotFound), {path, objectText}));
}

Common::Error LogDmlReadFailure(const Common::ErrorLocation& site, std::string_view addon,
                                const Dml::ViewSpec& spec, const Common::Error& error)
{
    const Common::WideString specText = Widen(SpecText(spec));
    return Wrap(
        site, ErrorCodes::DmlReadFailure,
        Common::FormatText(Common::GetText(Common::Texts::AlertsDmlReadFailed), Widen(addon), specText),
        error);
}

Common::Error LogObjectFailure(const Common::ErrorLocation& site, std::string_view addon,
                               const Por::View::Unit& object, const Common::Error& error)
{
    const Common::WideString objectText = Widen(UnitText(object));
    return Wrap(
        site, ErrorCodes::ObjectFailure,
        Common::FormatText(Common::GetText(Common::Texts::AlertsObjectFailed), Widen(addon), objectText),
        error);
}

Common::Error LogInternalFailure(const Common::ErrorLocation& site, std::string_view addon,
                                 const Common::Error& error)
{
    return Wrap(site, ErrorCodes::InternalError,
                Common::FormatText(Common::GetText(Common::Texts::AlertsInternalError), Widen(addon)), error);
}

Common::Error LogTimeoutFailure(const Common::ErrorLocation& site, std::string_view type,
                                const Common::Error& error)
{
    return Wrap(site, ErrorCodes::TimeoutCallbackFailure,
                Common::FormatText(Common::GetText(Common::Texts::AlertsTimeoutCallbackFailed), Widen(type)),
                error);
}

void LogCleanupResult(const Common::ErrorLocation& site, std::string_view addon, std::string_view pattern,
                      const Common::Error& error)
{
    if (error.GetCode() == 0)
    {
        LogCleanup(addon, pattern);
        return;
    }
    Wrap(
        site, ErrorCodes::CleanupFailure,
        Common::FormatText(Common::GetText(Common::Texts::AlertsCleanupFailed), Widen(addon), Widen(pattern)),
        error);
}

void LogRecord(const Common::ErrorLocation& site, StructuredLogs::LogRecord& record)
{
    record.Log(site, LogLevels::Error, GetAlertsChannel());
}

std::string UnitText(const Por::View::Unit& unit)
{
    std::string text = Por::Util::UnitToString(unit);
    if (!text.empty() && text.back() == '\n')
    {
        text.pop_back();
    }
    return text;
}

std::string SpecText(const Dml::ViewSpec& spec)
{
    std::string text = "pattern=";
    text += spec.Pattern != nullptr ? UnitText(*spec.Pattern) : Por::Util::UnitToString(nullptr);
    text += "\noptions=";
    text += spec.Options != nullptr ? UnitText(*spec.Options) : Por::Util::UnitToString(nullptr);
    return text;
}

std::string Utf8Text(Common::WideStringView text)
{
    std::string utf8;
    Common::WideToUtf8(utf8, text.data(), text.size());
    return utf8;
}

} // namespace Util
} // namespace Alerts
