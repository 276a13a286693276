// Faulty scenario files are refused whole, before anything runs, with the file, the step or line, and
// the field named.
#include "common/Error.h"
#include "common/StringConversion.h"
#include "run/Scenario.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

namespace
{

std::string Refusal(const std::string& text)
{
    const std::string path = ::testing::TempDir() + "scenario-" + std::to_string(::getpid()) + ".json";
    std::ofstream(path) << text;
    try
    {
        Host::Run::ReadScenario(path);
    }
    catch (const Common::Error& error)
    {
        std::remove(path.c_str());
        const std::string message = Core::ConvertToUtf8(error.GetMessage());
        EXPECT_NE(message.find(path), std::string::npos) << message;
        return message;
    }
    std::remove(path.c_str());
    ADD_FAILURE() << "accepted: " << text;
    return {};
}

TEST(ScenarioFileTest, FaultsNameTheirPlace)
{
    EXPECT_NE(Refusal("{\"steps\": [\n  {\"at\": 1,, }\n]}").find("line 2"), std::string::npos);

    const std::string unknownKind = Refusal(R"({"steps": [{"at": 0, "create": {"State": {"$dwurd": 5}}}]})");
    EXPECT_NE(unknownKind.find("step 0, field \"create\""), std::string::npos) << unknownKind;
    EXPECT_NE(unknownKind.find("unknown kind 'dwurd'"), std::string::npos) << unknownKind;

    const std::string missing = Refusal(R"({"steps": [{"create": {}}]})");
    EXPECT_NE(missing.find("step 0, field \"at\": \"at\" is missing"), std::string::npos) << missing;

    const std::string backwards = Refusal(R"({"steps": [{"at": 5, "advance": 1}, {"at": 4, "advance": 1}]})");
    EXPECT_NE(backwards.find("step 1, field \"at\""), std::string::npos) << backwards;

    const std::string password = Refusal(R"({"steps": [{"at": 0, "password": {"scope": "_any_archive_"}}]})");
    EXPECT_NE(password.find("step 0, field \"password\": \"value\" is missing"), std::string::npos)
        << password;

    EXPECT_NE(Refusal(R"({"stepz": []})").find("field \"stepz\": no such field"), std::string::npos);
    EXPECT_NE(Refusal(R"({"steps": [{"at": 0, "create": {}, "delete": {}}]})").find("two actions"),
              std::string::npos);
    EXPECT_NE(Refusal(R"({"steps": [{"at": 0, "batch": [{"restart": true}]}]})").find("writes only"),
              std::string::npos);
}

TEST(ScenarioFileTest, AGoodFileReadsWhole)
{
    const std::string path = ::testing::TempDir() + "scenario-good.json";
    std::ofstream(path) << R"({"seed": 3, "machine": "4D414348-494E-4500-0000-000000000001",
        "passwords": {"_any_archive_": "x"},
        "steps": [{"at": 0, "create": {"A": 1.5e0, "$traits": {"Is": "T"}}}, {"at": 2.5, "advance": 10},
                  {"at": 2.5, "expect": {"active": [{"type": "T", "inspector": "I"}], "count": 1}}]})";
    // A bare number has no kind: even a good-looking file is checked unit by unit.
    EXPECT_THROW(Host::Run::ReadScenario(path), Common::Error);
    std::ofstream(path) << R"({"seed": 3, "steps": [{"at": 0, "create": {"A": {"$double": 1.5}}},
        {"at": 2.5, "advance": 10}, {"at": 2.5, "expect": {"active": [{"type": "T"}], "count": 1}}]})";
    const Host::Run::Scenario scenario = Host::Run::ReadScenario(path);
    std::remove(path.c_str());
    ASSERT_EQ(scenario.Steps.size(), 3u);
    EXPECT_EQ(scenario.Seed, 3u);
    EXPECT_EQ(scenario.Steps[1].AtMilliseconds, 2500u);
    EXPECT_EQ(scenario.Steps[1].Milliseconds, 10000u);
    EXPECT_EQ(scenario.Steps[2].Expect.Count, 1u);
}

} // namespace
