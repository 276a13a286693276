#include "common/Utf8.h"

#include "ThrownError.h"
#include "common/StringConversion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace
{

using Common::WideString;

struct DecodeCase
{
    const char* Name;
    std::string Bytes;
    WideString Expected;
    bool Clean;
    std::size_t Maximum = std::string::npos; // the whole of Bytes
};

TEST(Utf8Test, DecodesWithTheFormatsTolerance)
{
    const DecodeCase cases[] = {
        {"ascii", "abc", u"abc", true},
        {"two bytes", "\xC3\xA9", u"\u00E9", true},
        {"three bytes", "\xE2\x82\xAC", u"\u20AC", true},
        {"four bytes", "\xF0\x9F\x98\x80", u"\U0001F600", true},
        {"overlong two-byte NUL", std::string("\xC0\x80", 2), WideString(1, u'\0'), false},
        {"overlong three-byte", "\xE0\x81\xBF", u"\u007F", false},
        {"overlong four-byte", "\xF0\x8F\xBF\xBF", u"\uFFFF", false},
        {"beyond U+10FFFF", "\xF4\x90\x80\x80", u"\uFFFD", false},
        {"encoded lone surrogate", "\xED\xA0\x80", WideString(1, u'\xD800'), true},
        {"stray continuation", "a\x80z", u"a\uFFFDz", false},
        {"lead without continuation", "\xC3z", u"\uFFFDz", false},
        {"truncated at end", "a\xE2\x82", u"a\uFFFD\uFFFD", false},
        {"five-byte lead", "\xF8\x88\x80\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD", false},
        {"stops at NUL", std::string("ab\0cd", 5), u"ab", true},
        // A sequence cut by the maximum is not read past it.
        {"sequence cut by the maximum", "x\xC3\xA9", u"x\uFFFD", false, 2},
    };
    for (const DecodeCase& test : cases)
    {
        WideString out = u"stale";
        const bool clean =
            Common::Utf8ToWide(out, test.Bytes.data(), std::min(test.Bytes.size(), test.Maximum));
        EXPECT_EQ(out, test.Expected) << test.Name;
        EXPECT_EQ(clean, test.Clean) << test.Name;
    }
    WideString out = u"stale";
    EXPECT_TRUE(Common::Utf8ToWide(out, nullptr, 4));
    EXPECT_EQ(out, u"");
}

TEST(Utf8Test, EncodesPairsAndLoneSurrogates)
{
    std::string out;
    EXPECT_TRUE(Common::WideToUtf8(out, u"\u00E9\U0001F600", 10));
    EXPECT_EQ(out, "\xC3\xA9\xF0\x9F\x98\x80");
    const char16_t lone[] = {u'a', 0xDC00, 0xD800, u'b', 0};
    EXPECT_TRUE(Common::WideToUtf8(out, lone, 10));
    EXPECT_EQ(out, "a\xED\xB0\x80\xED\xA0\x80"
                   "b");
    // A high surrogate whose pair lies beyond the maximum is lone.
    EXPECT_TRUE(Common::WideToUtf8(out, u"\U0001F600", 1));
    EXPECT_EQ(out, "\xED\xA0\xBD");
}

TEST(Utf8Test, EveryUnitSequenceSurvivesARoundTrip)
{
    WideString all;
    for (char32_t unit = 1; unit < 0x10000; ++unit)
    {
        all.push_back(static_cast<char16_t>(unit));
    }
    std::string utf8;
    Common::WideToUtf8(utf8, all.c_str(), all.size());
    WideString back;
    // A high surrogate followed by a low one is written as one pair and read back as the same units.
    Common::Utf8ToWide(back, utf8.c_str(), utf8.size());
    EXPECT_EQ(back, all);
}

TEST(Utf8Test, ThrowingFormsReportTheirCodes)
{
    EXPECT_EQ(Core::ConvertFromUtf8("caf\xC3\xA9"), u"caf\u00E9");
    EXPECT_EQ(Core::ConvertToUtf8(u"caf\u00E9"), "caf\xC3\xA9");
    const Common::Error error = Testing::ThrownError([] { Core::ConvertFromUtf8("\xC0\x80"); });
    EXPECT_EQ(error.GetCode(), 0x00E60004u);
    EXPECT_EQ(error.GetMessage(),
              u"Internal error: Failed to convert the string from UTF-8 to a wide string.");
    EXPECT_STREQ(error.GetLineTag().Function, "Core::ConvertFromUtf8");
}

} // namespace
