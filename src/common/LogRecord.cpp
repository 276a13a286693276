#include "common/LogRecord.h"

#include "Platform/Logging.h"
#include "common/Log.h"

namespace StructuredLogs
{
namespace
{

constexpr int ForgottenLevel = 3;

} // namespace

LogRecord::LogRecord(LogRecord&& other) noexcept
    : Message(std::move(other.Message)), Tags(std::move(other.Tags)), Values(std::move(other.Values)),
      Logged(other.Logged)
{
    other.Logged = true;
}

LogRecord::~LogRecord()
{
    if (Logged)
    {
        return;
    }
    // Logging must never throw out of a destructor; a record lost to a failed allocation stays lost.
    try
    {
        Tags.emplace_back("ForgottenLog");
        const std::string text = ToText();
        Common::ErrorLocation location;
        Logging_BuildLineTag(&location, __FILE__, "StructuredLogs::LogRecord::~LogRecord", __LINE__);
        Logging_LogWithTag(nullptr, ForgottenLevel, &location, "%s", text.c_str());
    }
    catch (...)
    {
    }
}

std::string LogRecord::ToText()
{
    std::string text;
    for (const std::string& tag : Tags)
    {
        text += '[';
        text += tag;
        text += "] ";
    }
    if (!Message.empty())
    {
        text += "msg: ";
        text += Message;
    }
    const bool severalLines = Values.size() > 1;
    for (std::size_t i = 0; i < Values.size(); ++i)
    {
        if (i > 0 || !Message.empty())
        {
            text += severalLines ? "," : ", ";
        }
        if (severalLines && !text.empty())
        {
            text += '\n';
        }
        text += Values[i].first;
        text += ": ";
        text += Values[i].second;
    }
    Logged = true;
    return text;
}

void LogRecord::Log(const Common::ErrorLocation& location, int level, Common::TraceContext context)
{
    const std::string text = ToText();
    Logging::Log(location, level, context, "%s", text.c_str());
}

} // namespace StructuredLogs
