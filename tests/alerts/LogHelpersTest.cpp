#include "alerts/utils/LogHelpers.h"

#include "AlertTesting.h"
#include "dml/ViewSpec.h"

#include <gtest/gtest.h>

#include <functional>

namespace
{

using AlertTesting::LogCapture;

const Common::Guid AlertId{0xFEDCBA98, 0x7654, 0x3210, {0x80, 0x70, 0x60, 0x50, 0x40, 0x30, 0x20, 0x10}};

Por::Unit PlanMeta()
{
    return AlertTesting::With("PlanName", u"Daily");
}

TEST(LogHelpersTest, EventLinesHaveTheirFormatsLevelsAndChannel)
{
    LogCapture log;
    Alerts::Util::LogActivated("BackupFailed", AlertId, u"tenant", PlanMeta().Get());
    Alerts::Util::LogActivateAfter(300000, "BackupQueued", AlertId, u"", PlanMeta().Get());
    Alerts::Util::LogDeactivated("BackupFailed", AlertId);
    Alerts::Util::LogCleanup("Inspector of alert BackupDidNotStart", "pattern text");
    Alerts::LogIgnoreByPattern("ignored");
    Alerts::LogTimeoutCallback("fired");
    Alerts::Util::LogNotFound("Add-on", 1, ".Details.CommandID", Por::Unit::Composite().Get());
    Alerts::Util::LogText("Name", 3, "text");
    Alerts::Util::LogCleanupResult(COMMON_LOCATION("LogHelpersTest::Cleanup"), "A", "p", Common::Success);

    const auto lines = log.Lines(true);
    ASSERT_EQ(lines.size(), 9u);
    const std::string meta = "\nmeta=Root (Composite)\n  PlanName (Common::String) = Daily";
    const std::pair<int, std::string> expected[] = {
        {2, "ACTIVATED: type=BackupFailed id=FEDCBA98-7654-3210-8070-605040302010 tenantID=tenant" + meta},
        {2, "ACTIVATE_AFTER 300000ms: type=BackupQueued id=FEDCBA98-7654-3210-8070-605040302010 tenantID=" +
                meta},
        {2, "DEACTIVATED: type=BackupFailed id=FEDCBA98-7654-3210-8070-605040302010"},
        {2, "CLEANUP: addon=Inspector of alert BackupDidNotStart\npattern=pattern text"},
        {2, "IGNORE: pattern='ignored'"},
        {2, "TIMEOUTCALLBACK: fired"},
        {1, "Add-on: .Details.CommandID not found in Root (Composite)"},
        {3, "Name: text"},
        {2, "CLEANUP: addon=A\npattern=p"},
    };
    for (std::size_t i = 0; i < lines.size(); ++i)
    {
        EXPECT_EQ(lines[i].Level, expected[i].first) << i;
        EXPECT_EQ(lines[i].Text, expected[i].second) << i;
        EXPECT_EQ(lines[i].Channel, "alerts") << i;
    }
    // The two host events sign with their own sites, not with the shared writer's.
    EXPECT_EQ(lines[4].Function, "Alerts::LogIgnoreByPattern");
    EXPECT_EQ(lines[5].Function, "Alerts::LogTimeoutCallback");
    EXPECT_NE(lines[4].Tag, lines[0].Tag);
    EXPECT_NE(lines[5].Tag, lines[4].Tag);
}

TEST(LogHelpersTest, ErrorWrappersPutTheCauseUnderTheirOwnErrorAndLogTheChainAtTheSite)
{
    const Common::ErrorLocation site = COMMON_LOCATION("LogHelpersTest::Site");
    const Common::Error cause(COMMON_LOCATION("LogHelpersTest::Cause"), 0x00FC0038, std::string_view("none"));
    const Dml::ViewSpec spec{AlertTesting::With("Type", 1u).Result(), nullptr};
    const Por::Unit object = PlanMeta();

    struct Case
    {
        std::function<Common::Error()> Wrap;
        std::uint32_t Code;
        std::u16string Message;
    };
    const Case cases[] = {
        {[&] { return Alerts::Util::LogDmlReadFailure(site, "A", spec, cause); }, 0x011A0012,
         u"Read objects from DML failed in inspector (add-on: 'A', spec: 'pattern=Root (Composite)\n  Type "
         u"(dword) = 1\noptions=Null unit')."},
        {[&] { return Alerts::Util::LogObjectFailure(site, "A", object.Get(), cause); }, 0x011A0010,
         u"Failed to handle DML object in Alerts inspector (add-on: 'A', object: 'Root (Composite)\n  "
         u"PlanName "
         u"(Common::String) = Daily')."},
        {[&] { return Alerts::Util::LogInternalFailure(site, "A", cause); }, 0x011A000F,
         u"Internal error in Alerts inspector (add-on: 'A')."},
        {[&] { return Alerts::Util::LogTimeoutFailure(site, "BackupQueued", cause); }, 0x011A0011,
         u"Internal error in timeout callback in inspector (type: 'BackupQueued')."},
    };
    for (const Case& test : cases)
    {
        LogCapture log;
        const Common::Error wrapped = test.Wrap();
        EXPECT_EQ(wrapped.GetCode(), test.Code);
        EXPECT_EQ(wrapped.GetMessage(), test.Message);
        EXPECT_EQ(wrapped.GetLineTag().LineTag, site.LineTag);
        EXPECT_EQ(wrapped.GetSubError().GetCode(), 0x00FC0038u);

        const auto lines = log.Lines(true);
        ASSERT_EQ(lines.size(), 2u);
        EXPECT_EQ(lines[0].Level, 4);
        EXPECT_EQ(lines[0].Channel, "alerts");
        EXPECT_EQ(lines[0].Tag, site.LineTag);
        char code[16];
        std::snprintf(code, sizeof code, "%08X ", test.Code);
        EXPECT_EQ(lines[0].Text.rfind(code, 0), 0u) << lines[0].Text;
        EXPECT_EQ(lines[1].Text, "caused by: 00FC0038 none");
    }
}

// A cleanup that succeeded logs its event (above).
TEST(LogHelpersTest, CleanupResultLogsTheWrappedErrorOnFailure)
{
    const Common::ErrorLocation site = COMMON_LOCATION("LogHelpersTest::Cleanup");
    LogCapture log;
    Alerts::Util::LogCleanupResult(site, "A", "p", Common::Error(site, 0x00F90002));
    const auto lines = log.Lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].Level, 4);
    EXPECT_EQ(lines[0].Tag, site.LineTag);
    EXPECT_EQ(lines[0].Text, "011A003C Failed to cleanup alerts by pattern (add-on: 'A', pattern: 'p').");
    EXPECT_EQ(lines[1].Text, "caused by: 00F90002 ");
}

TEST(LogHelpersTest, StructuredRecordsGoOutAtLevelFourAndCountAsLogged)
{
    LogCapture log;
    const Common::ErrorLocation site = COMMON_LOCATION("LogHelpersTest::Record");
    {
        StructuredLogs::LogRecord record("message");
        record.Values.emplace_back("key", "value");
        Alerts::Util::LogRecord(site, record);
        EXPECT_TRUE(record.Logged);
    }
    const auto lines = log.Lines();
    ASSERT_EQ(lines.size(), 1u); // no second, forgotten copy from the destructor
    EXPECT_EQ(lines[0].Level, 4);
    EXPECT_EQ(lines[0].Tag, site.LineTag);
    EXPECT_EQ(lines[0].Text, "msg: message, key: value");
}

} // namespace
