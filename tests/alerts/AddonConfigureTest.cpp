// Configure and the module's globals: the first provider is taken silently and so is the same one
// again; a different one is a broken invariant and still wins; asking before any was set is a broken
// invariant answered by a local provider whose loader only reports that it is the null one.
#include "AddonTesting.h"
#include "addons/AddonLoaderProvider.h"
#include "addons/AddonLoaderProviderClient.h"
#include "alerts/AddonNames.h"
#include "alerts/InspectorAddons.h"
#include "common/AssertCapture.h"
#include "common/Trace.h"
#include "common/TraceLogic.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

constexpr const char* SetTwice = "AddonLoaderProviderClient: global instance is being set more than once.";
constexpr const char* NotSet =
    "AddonLoaderProviderClient: global instance is not set but someone wants to acquire it. using local "
    "instance.";

// Keeps every text traced while registered, whatever its level.
class TraceRecorder final : public Common::TraceLogic
{
public:
    TraceRecorder() { Common::RegisterTraceLogic(this); }
    ~TraceRecorder() override { Common::UnregisterTraceLogic(this); }

    using TraceLogic::TraceText;
    void TraceText(int level, std::uint32_t, std::uint32_t, Common::WideStringView text) override
    {
        Texts.emplace_back(level, Common::WideString(text));
    }
    bool IsForced() const override { return true; }

    std::vector<std::pair<int, Common::WideString>> Texts;
};

class AddonConfigureTest : public ::testing::Test
{
protected:
    void SetUp() override { Core::Detail::ResetAddonGlobalsForTesting(); }
    void TearDown() override { Core::Detail::ResetAddonGlobalsForTesting(); }

    Alerts::ActivityFailingInspectorAddon First{Alerts::AddonNames::ActivityFailing, 1};
    Alerts::IncompleteMachineInfoInspectorAddon Second{Alerts::AddonNames::IncompleteMachineInfo, 1};
    Core::AddonLoaderProvider Provider;
    Core::AddonLoaderProvider OtherProvider;
};

TEST_F(AddonConfigureTest, TheSameProviderIsTakenSilentlyAndADifferentOneIsReportedAndStillWins)
{
    Testing::AssertCapture asserts;
    First.Configure({&Provider, 4});
    Second.Configure({&Provider, 2});
    EXPECT_TRUE(asserts.Expressions().empty());
    EXPECT_EQ(&Core::AddonLoaderProviderClient::GetGlobalInstance(), &Provider);
    // The trace level is the module's: the last Configure sets it.
    EXPECT_EQ(Core::AddonLoaderProviderClient::GetGlobalTraceLevel(), 2u);

    Second.Configure({&OtherProvider, 1});
    EXPECT_EQ(asserts.Expressions(), std::vector<std::string>{SetTwice});
    EXPECT_EQ(&Core::AddonLoaderProviderClient::GetGlobalInstance(), &OtherProvider);
}

// The provider set after the fallback is taken silently.
TEST_F(AddonConfigureTest, AskingBeforeConfigureIsReportedAndGivesTheNullLoader)
{
    Testing::AssertCapture asserts;
    Core::AddonLoaderProvider& local = Core::AddonLoaderProviderClient::GetGlobalInstance();
    EXPECT_EQ(&Core::AddonLoaderProviderClient::GetGlobalInstance(), &local);
    EXPECT_EQ(asserts.Expressions(), (std::vector<std::string>{NotSet, NotSet}));
    EXPECT_EQ(Core::AddonLoaderProviderClient::GetGlobalTraceLevel(), 0u);

    TraceRecorder trace;
    AddonTesting::RecordingSink sink;
    local.GetLoader().Load("other-module", sink);
    EXPECT_TRUE(sink.Addons.empty());
    ASSERT_EQ(trace.Texts.size(), 1u);
    EXPECT_EQ(trace.Texts[0].first, 3);
    EXPECT_EQ(trace.Texts[0].second, u"Null AddonLoader is being used.");

    First.Configure({&Provider, 1});
    EXPECT_EQ(asserts.Expressions(), (std::vector<std::string>{NotSet, NotSet}));
    EXPECT_EQ(&Core::AddonLoaderProviderClient::GetGlobalInstance(), &Provider);
}

} // namespace
