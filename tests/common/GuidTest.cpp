#include "common/Guid.h"

#include "AssertCapture.h"
#include "ThrownError.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <vector>

namespace
{

using Common::Guid;

const Guid Sample{0x0123ABCD, 0x4567, 0x89EF, {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}};

TEST(GuidTest, TextIsUpperCaseAndParsingTakesEitherCaseAtFullWidthOrLeavesTheGuidAlone)
{
    EXPECT_EQ(Common::GuidToString(Sample), "0123ABCD-4567-89EF-0123-456789ABCDEF");
    EXPECT_EQ(Common::GuidToWideString(Sample), u"0123ABCD-4567-89EF-0123-456789ABCDEF");
    Guid parsed;
    ASSERT_TRUE(Common::GuidFromString(Common::GuidToString(Sample).c_str(), parsed));
    EXPECT_EQ(parsed, Sample);
    ASSERT_TRUE(Common::GuidFromString("0123abcd-4567-89ef-0123-456789abcdef", parsed));
    EXPECT_EQ(parsed, Sample);
    ASSERT_TRUE(Common::GuidFromString("FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF", parsed));
    EXPECT_EQ(parsed.Data1, 0xFFFFFFFFu);
    EXPECT_EQ(parsed.Data2, 0xFFFFu);
    EXPECT_EQ(parsed.Data4[7], 0xFFu);

    // Malformed text fails quietly; null text is a broken invariant.
    Testing::AssertCapture capture;
    Guid untouched = Sample;
    for (const char* text : {"0123ABCD-4567", "not a guid", static_cast<const char*>(nullptr)})
    {
        EXPECT_FALSE(Common::GuidFromString(text, untouched));
    }
    EXPECT_EQ(capture.Expressions(), std::vector<std::string>{"t"});
    EXPECT_EQ(untouched, Sample);
}

TEST(GuidTest, ToGuidAcceptsOnlyTheCanonicalShape)
{
    EXPECT_EQ(Core::ToGuid(std::string("0123abcd-4567-89EF-0123-456789ABCDEF")), Sample);
    EXPECT_EQ(Core::ToGuid(Common::WideString(u"0123ABCD-4567-89EF-0123-456789ABCDEF")), Sample);
    for (const char* text :
         {"", "{0123ABCD-4567-89EF-0123-456789ABCDEF}", "0123ABCD-4567-89EF-0123-456789ABCDEX",
          "0x23ABCD-4567-89EF-0123-456789ABCDEF", "0123ABCD+4567-89EF-0123-456789ABCDEF"})
    {
        SCOPED_TRACE(text);
        const Common::Error error = Testing::ThrownError([&] { Core::ToGuid(std::string(text)); });
        EXPECT_EQ(error.GetCode(), 0x00E60005u);
        EXPECT_NE(error.GetMessage().find(Common::WideString(text, text + std::strlen(text))),
                  Common::WideString::npos);
        EXPECT_STREQ(error.GetLineTag().Function, "Core::ToGuid");
    }
}

TEST(GuidTest, GeneratedGuidsAreVersionFourAndDistinct)
{
    std::set<Guid> seen;
    for (int i = 0; i < 1000; ++i)
    {
        Guid guid;
        Common::GenerateGuid(guid);
        EXPECT_EQ(guid.Data3 & 0xF000, 0x4000);
        EXPECT_EQ(guid.Data4[0] & 0xC0, 0x80);
        seen.insert(guid);
    }
    EXPECT_EQ(seen.size(), 1000u);
}

} // namespace
