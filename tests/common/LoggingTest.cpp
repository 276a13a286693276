#include "Platform/Logging.h"

#include "AssertCapture.h"
#include "LogCapture.h"
#include "Platform/LineTag.h"
#include "ScopedEnvironment.h"
#include "common/Error.h"
#include "common/Log.h"
#include "common/LoggingBind.h"
#include "common/Trace.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cinttypes>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace
{

using Common::Error;
using Testing::LogCapture;

std::string Tag(std::uint64_t tag)
{
    char text[17];
    std::snprintf(text, sizeof text, "%016" PRIX64, tag);
    return text;
}

TEST(LoggingLibraryTest, LogWithTagWritesLevelTagChannelSiteAndFormattedText)
{
    LogCapture capture;
    Common::ErrorLocation site;
    Logging_BuildLineTag(&site, "src/alerts/Reader.cpp", "Alerts::Reader::OnUpdated", 42);

    Logging_LogWithTag(Logging_GetContext("alerts"), 2, &site, "%s=%d", "count", 7);
    Logging_LogWithTag(nullptr, 4, &site, "first\nsecond\n");
    const std::string longText(2000, 'y');
    Logging_LogWithTag(nullptr, 1, nullptr, "%s!", longText.c_str());

    const std::string head = Tag(Platform::ComputeLineTag("src/alerts/Reader.cpp", 42));
    EXPECT_EQ(capture.Lines(),
              (std::vector<std::string>{
                  "2 " + head + " alerts src/alerts/Reader.cpp:42 Alerts::Reader::OnUpdated: count=7",
                  "4 " + head + " - src/alerts/Reader.cpp:42 Alerts::Reader::OnUpdated: first", "\tsecond",
                  "1 0000000000000000 - -:0 -: " + longText + "!"}));
}

TEST(LoggingLibraryTest, LogBufferWritesExactlyTheGivenBytesOnAContextInternedByName)
{
    LogCapture capture;
    Logging_LogBuffer(Logging_GetContext("alerts"), 3, "abcdef", 3);
    Logging_LogBuffer(nullptr, 4, "caf\xC3\xA9", 5);
    EXPECT_EQ(capture.Text(), "3 0000000000000000 alerts -:0 -: abc\n"
                              "4 0000000000000000 - -:0 -: caf\xC3\xA9\n");

    EXPECT_EQ(Logging_GetContext("alerts"), Logging_GetContext("alerts"));
    EXPECT_NE(Logging_GetContext("alerts"), Logging_GetContext("other"));
    EXPECT_EQ(Logging_GetContext(""), nullptr);
    EXPECT_EQ(Logging_GetContext(nullptr), nullptr);
}

TEST(LoggingLibraryTest, OutputFileComesFromTheCallThenTheVariable)
{
    const std::string path = ::testing::TempDir() + "VeltrixVariableLog." + std::to_string(getpid());
    std::remove(path.c_str());
    {
        const Testing::ScopedEnvironment variable("VELTRIX_LOG_FILE", path.c_str());
        {
            LogCapture capture;
            Logging_LogBuffer(nullptr, 2, "explicit", 8);
            EXPECT_EQ(capture.Lines().size(), 1u);
            EXPECT_EQ(Logging_SetOutputFile("/nonexistent-directory/log"), ENOENT);
        }
        Logging_LogBuffer(nullptr, 2, "variable", 8);
        Logging_SetOutputFile(nullptr); // closes the variable's file
    }
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    EXPECT_EQ(text.str(), "2 0000000000000000 - -:0 -: variable\n");
    std::remove(path.c_str());
}

TEST(LoggingLibraryTest, LogCarriesTheCompileTimeSiteAndAssertsOnANullFormat)
{
    LogCapture capture;
    const Common::ErrorLocation site = COMMON_LOCATION("Alerts::Util::LogText");
    Logging::Log(site, 2, nullptr, "%s: %s", "ACTIVATED", "type=BackupFailed");

    Testing::AssertCapture asserts;
    auto* log = &Logging::Log; // a call through a pointer escapes the compiler's format check
    log(site, 2, nullptr, nullptr);
    EXPECT_EQ(asserts.Expressions(), std::vector<std::string>{"format"});
    EXPECT_EQ(capture.Lines(),
              (std::vector<std::string>{"2 " + Tag(site.LineTag) +
                                        " - tests/common/LoggingTest.cpp:" + std::to_string(site.Line) +
                                        " Alerts::Util::LogText: ACTIVATED: type=BackupFailed"}));
}

// Each Bind test captures the log and keeps the trace's own default output quiet.
class LoggingBindTest : public ::testing::Test
{
protected:
    void SetUp() override { Common::SetDefaultOutputDisabled(true); }
    void TearDown() override { Common::SetDefaultOutputDisabled(Disabled); }

    LogCapture Capture;

private:
    bool Disabled = Common::IsDefaultOutputDisabled();
};

TEST_F(LoggingBindTest, TraceReachesTheLogWithItsChannel)
{
    Logging::Bind bind;
    Common::TraceText(2, 0x11A, 0x12, u"plain caf\u00e9");
    Common::TraceText(Logging_GetContext("alerts"), 3, 0, 1, u"on a channel");
    Common::TraceFile(4, 0xFA, 2, u"with a site", "src/por/Unit.cpp", 10);
    Common::TraceText(1, 0, 1, u"below the threshold");

    EXPECT_EQ(Capture.Lines(),
              (std::vector<std::string>{"2 0000000000000000 - -:0 -: 011A0012 plain caf\xC3\xA9",
                                        "3 0000000000000000 alerts -:0 -: 00000001 on a channel",
                                        "4 " + Tag(Platform::ComputeLineTag("src/por/Unit.cpp", 10)) +
                                            " - src/por/Unit.cpp:10 -: 00FA0002 with a site"}));
}

TEST_F(LoggingBindTest, ErrorIsLoggedAsOneRecordPerEntryOfItsChain)
{
    Logging::Bind bind;
    const Common::ErrorLocation causeSite = COMMON_LOCATION("Dml::Read");
    const Common::ErrorLocation headSite = COMMON_LOCATION("Alerts::Inspector::OnUpdated");
    Error error(headSite, 0x011A0010, u"Failed to handle DML object");
    error.SetSubError(Error(causeSite, 0x00FC0001, u"read failed"));

    Common::TraceError(4, error);

    EXPECT_EQ(Capture.Lines(), (std::vector<std::string>{
                                   "4 " + Tag(headSite.LineTag) +
                                       " - tests/common/LoggingTest.cpp:" + std::to_string(headSite.Line) +
                                       " Alerts::Inspector::OnUpdated: 011A0010 Failed to handle DML object",
                                   "4 " + Tag(causeSite.LineTag) +
                                       " - tests/common/LoggingTest.cpp:" + std::to_string(causeSite.Line) +
                                       " Dml::Read: caused by: 00FC0001 read failed"}));
}

TEST_F(LoggingBindTest, PlainFormsGoThroughTheContextFormsWithNoChannel)
{
    // Notes the context each context form receives before passing it on.
    struct ObservedBind : Logging::Bind
    {
        using Bind::TraceError;
        using Bind::TraceFile;
        using Bind::TraceText;
        void TraceText(Common::TraceContext context, int level, std::uint32_t area, std::uint32_t code,
                       Common::WideStringView text) override
        {
            Seen.push_back(context);
            Bind::TraceText(context, level, area, code, text);
        }
        void TraceFile(Common::TraceContext context, int level, std::uint32_t area, std::uint32_t code,
                       Common::WideStringView text, const char* file, unsigned line) override
        {
            Seen.push_back(context);
            Bind::TraceFile(context, level, area, code, text, file, line);
        }
        void TraceError(Common::TraceContext context, int level, const Common::Error& error) override
        {
            Seen.push_back(context);
            Bind::TraceError(context, level, error);
        }
        std::vector<Common::TraceContext> Seen;
    };
    ObservedBind bind;
    Logging_Context* channel = Logging_GetContext("alerts");

    Common::TraceText(2, 0, 1, u"a");
    Common::TraceFile(2, 0, 2, u"b", "f.cpp", 1);
    Common::TraceError(4, Common::Error(COMMON_LOCATION("Test"), 0x00FA0001, u"c"));
    Common::TraceError(channel, 4, Common::Error(COMMON_LOCATION("Test"), 0x00FA0001, u"d"));

    EXPECT_EQ(bind.Seen, (std::vector<Common::TraceContext>{nullptr, nullptr, nullptr, channel}));
    EXPECT_EQ(Capture.Lines().size(), 4u);
}

TEST_F(LoggingBindTest, OnlyTheFirstInstanceInstallsItselfAndItAloneUninstalls)
{
    ASSERT_FALSE(Common::Detail::HasTraceComposite());
    auto first = std::make_unique<Logging::Bind>();
    EXPECT_TRUE(Common::Detail::HasTraceComposite());
    {
        Logging::Bind second;
        Common::TraceText(2, 0, 1, u"once");
    }
    Common::TraceText(2, 0, 2, u"still bound");
    Logging::Bind third; // a later instance while the first lives: counted, not installed
    first.reset();
    EXPECT_FALSE(Common::Detail::HasTraceComposite());
    Common::TraceText(2, 0, 3, u"unbound");

    EXPECT_EQ(Capture.Lines(),
              (std::vector<std::string>{"2 0000000000000000 - -:0 -: 00000001 once",
                                        "2 0000000000000000 - -:0 -: 00000002 still bound"}));
}

} // namespace
