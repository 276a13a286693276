#include "common/FormatText.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Common
{
namespace
{

struct FormatCase
{
    const char* Format;
    std::vector<std::string_view> Arguments;
    const char* Expected;
};

TEST(FormatText, ReplacesPlaceholdersInOnePass)
{
    const FormatCase cases[] = {
        FormatCase{"{1} {0}", {"a", "b"}, "b a"}, FormatCase{"{0}{0}-{0}", {"a"}, "aa-a"},
        // The first index without an argument ends formatting; what follows stays as is.
        FormatCase{"x {2} y {0}", {"a", "b"}, "x {2} y {0}"},
        FormatCase{"{0} {2} {1}", {"a", "b"}, "a {2} {1}"}, FormatCase{"{0}", {}, "{0}"},
        // Not placeholders: no digit, no closing brace, other brace forms.
        FormatCase{"{x} {0", {"a"}, "{x} {0"}, FormatCase{"{-1} {}", {"a"}, "{-1} {}"},
        FormatCase{"{0, choice, 0#none|1#one}", {"a"}, "{0, choice, 0#none|1#one}"},
        FormatCase{"}{0}{", {"a"}, "}a{"},
        // The search goes on right behind a lone "{" and behind digits without "}".
        FormatCase{"{{0}", {"a"}, "{a"}, FormatCase{"{0{1}", {"a", "b"}, "{0b"},
        // Inserted arguments are not scanned again.
        FormatCase{"{0} {1}", {"{1}", "b"}, "{1} b"}, FormatCase{"{0}", {"{0}"}, "{0}"},
        // An index too large for any integer is merely out of range.
        FormatCase{"a {99999999999999999999999999} b", {"x"}, "a {99999999999999999999999999} b"},
        FormatCase{"{00}", {"a"}, "a"}, FormatCase{"", {"a"}, ""}};
    for (const FormatCase& test : cases)
    {
        SCOPED_TRACE(test.Format);
        EXPECT_EQ(FormatText(test.Format, std::span<const std::string_view>(test.Arguments)), test.Expected);
    }
}

TEST(FormatText, WideAndVariadicFormsFollowTheSameRules)
{
    EXPECT_EQ(FormatText(u"{1} – {0} {2}", {u"é", u"😀"}), u"😀 – é {2}");
    EXPECT_EQ(FormatText(u"{{0}", {u"{0}"}), u"{{0}");
    const std::string first = "a";
    EXPECT_EQ(FormatText("{0}-{1}", first, "b"), "a-b");
    EXPECT_EQ(FormatText(u"{1}{0}", WideString(u"x"), u"y"), u"yx");
}

} // namespace
} // namespace Common
