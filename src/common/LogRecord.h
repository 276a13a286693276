// StructuredLogs::LogRecord: a log line built from tags, a message and named values. A record that is
// destroyed without having been logged logs itself at level 3 with the tag "ForgottenLog", so a
// forgotten record still reaches the log, flagged. One record belongs to one thread at a time.
#pragma once

#include "common/ErrorLocation.h"
#include "common/TraceLogic.h"

#include <string>
#include <utility>
#include <vector>

namespace StructuredLogs
{

class LogRecord
{
public:
    explicit LogRecord(std::string message = {}) : Message(std::move(message)) {}
    // The moved-from record counts as logged: only the new one may still be forgotten.
    LogRecord(LogRecord&& other) noexcept;
    LogRecord(const LogRecord&) = delete;
    LogRecord& operator=(const LogRecord&) = delete;
    ~LogRecord();

    // The text of the record, and the record counts as logged. Each tag as "[tag] ", then "msg: " and the
    // message if it isn't empty. Values follow: with one, ", key: value" (no ", " after an empty message);
    // with several, every pair starts a line of its own and all lines but the last end with ",":
    //     [tag] msg: text,\nkey1: value1,\nkey2: value2
    std::string ToText();

    // Writes ToText() through the "%s" format at `level` for the site `location`.
    void Log(const Common::ErrorLocation& location, int level, Common::TraceContext context = nullptr);

    std::string Message;
    std::vector<std::string> Tags;
    std::vector<std::pair<std::string, std::string>> Values;
    bool Logged = false;
};

} // namespace StructuredLogs
