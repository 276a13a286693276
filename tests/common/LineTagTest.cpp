#include "Platform/Logging.h"
#include "common/ErrorLocation.h"

#include <gtest/gtest.h>

namespace
{

// Computed by the compiler: usable where only constants are.
static_assert(Common::MakeLineTag("src/common/Error.cpp", 20) -
                  Common::MakeLineTag("src/common/Error.cpp", 10) ==
              10);

TEST(LineTagTest, CompileTimeTagEqualsTheLoggingLibrarysAndItsPathIsRelativeToTheRepository)
{
    const Common::ErrorLocation site = COMMON_LOCATION("LineTagTest::Site");
    Common::ErrorLocation logged;
    Logging_BuildLineTag(&logged, __FILE__, "LineTagTest::Site", __LINE__ - 2);
    EXPECT_EQ(site.LineTag, logged.LineTag);
    EXPECT_EQ(site.Line, logged.Line);
    EXPECT_STREQ(site.Function, logged.Function);
    EXPECT_STREQ(site.File, "tests/common/LineTagTest.cpp");
}

TEST(LineTagTest, TagsOfOneFileDifferByTheirDistanceInLines)
{
    const Common::ErrorLocation first = COMMON_LOCATION("A");

    const Common::ErrorLocation second = COMMON_LOCATION("B");
    EXPECT_EQ(second.LineTag - first.LineTag, 2u);
    EXPECT_NE(Common::MakeLineTag("src/a.cpp", 1), Common::MakeLineTag("src/b.cpp", 1));
    // Wrapping arithmetic: the tag is the file's constant plus the line, modulo 2^64.
    EXPECT_EQ(Common::MakeLineTag("x", 0) + 0xFFFFFFFFull, Common::MakeLineTag("x", 0xFFFFFFFF));
}

} // namespace
