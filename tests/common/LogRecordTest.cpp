#include "common/LogRecord.h"

#include "LogCapture.h"
#include "Platform/LineTag.h"

#include <gtest/gtest.h>

#include <cinttypes>
#include <string>
#include <utility>
#include <vector>

namespace
{

using StructuredLogs::LogRecord;
using Testing::LogCapture;

LogRecord MakeRecord(std::vector<std::string> tags, std::string message,
                     std::vector<std::pair<std::string, std::string>> values)
{
    LogRecord record(std::move(message));
    record.Tags = std::move(tags);
    record.Values = std::move(values);
    return record;
}

TEST(LogRecordTest, TextHasTagsMessageAndValuesOnOneLineOrOnePairPerLine)
{
    const struct
    {
        const char* Name;
        std::vector<std::string> Tags;
        std::string Message;
        std::vector<std::pair<std::string, std::string>> Values;
        std::string Expected;
    } cases[] = {
        {"tags only", {"a", "b"}, "", {}, "[a] [b] "},
        {"message only", {}, "hello", {}, "msg: hello"},
        {"one value", {"t"}, "hello", {{"k", "v"}}, "[t] msg: hello, k: v"},
        {"one value without message", {"t"}, "", {{"k", "v"}}, "[t] k: v"},
        {"several values",
         {},
         "hello",
         {{"a", "1"}, {"b", "2"}, {"c", ""}},
         "msg: hello,\na: 1,\nb: 2,\nc: "},
        {"several values after tags", {"t"}, "", {{"a", "1"}, {"b", "2"}}, "[t] \na: 1,\nb: 2"},
        {"several values alone", {}, "", {{"a", "1"}, {"b", "2"}}, "a: 1,\nb: 2"},
    };
    for (const auto& test : cases)
    {
        SCOPED_TRACE(test.Name);
        LogRecord record = MakeRecord(test.Tags, test.Message, test.Values);
        EXPECT_FALSE(record.Logged);
        EXPECT_EQ(record.ToText(), test.Expected);
        EXPECT_TRUE(record.Logged);
    }
}

TEST(LogRecordTest, LoggedRecordIsWrittenVerbatimOnceAndAForgottenOneLogsItselfFlaggedAtLevelThree)
{
    LogCapture capture;
    const Common::ErrorLocation site = COMMON_LOCATION("Alerts::Inspector::Start");
    {
        LogRecord record("100% done %s");
        record.Log(site, 4);
    }
    {
        LogRecord record("shown");
        record.ToText(); // whoever took the text logged it
    }
    {
        LogRecord moved = MakeRecord({"alerts"}, "lost", {{"id", "42"}});
        LogRecord record(std::move(moved)); // the moved-from record must stay silent
    }

    const std::vector<std::string> lines = capture.Lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_NE(lines[0].find(" Alerts::Inspector::Start: msg: 100% done %s"), std::string::npos) << lines[0];
    EXPECT_EQ(lines[0].rfind("4 ", 0), 0u);
    const std::string& line = lines[1];
    const std::string file = "src/common/LogRecord.cpp:";
    const std::size_t fileAt = line.find(" - " + file);
    ASSERT_NE(fileAt, std::string::npos) << line;
    const unsigned siteLine = static_cast<unsigned>(std::stoul(line.substr(fileAt + 3 + file.size())));
    char tag[17];
    std::snprintf(tag, sizeof tag, "%016" PRIX64,
                  Platform::ComputeLineTag("src/common/LogRecord.cpp", siteLine));
    EXPECT_EQ(line, "3 " + std::string(tag) + " - " + file + std::to_string(siteLine) +
                        " StructuredLogs::LogRecord::~LogRecord: [alerts] [ForgottenLog] msg: lost, id: 42");
}

} // namespace
