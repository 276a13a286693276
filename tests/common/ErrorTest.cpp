#include "common/Error.h"

#include "AllocationCounter.h"
#include "AssertCapture.h"
#include "common/CatalogIds.h"
#include "common/ErrorKind.h"
#include "common/ErrorRecord.h"
#include "common/SystemMessages.h"
#include "common/TextCatalog.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace
{

using Common::Error;
using Common::WideString;

constexpr std::uint32_t TestCode = 0x00FA0001;

const Common::ErrorRecord* HeadOf(const Error& error)
{
    return Common::Detail::ErrorAccess::Head(error);
}

std::size_t ChainLength(const Error& error)
{
    std::size_t length = 0;
    for (const Common::ErrorRecord* record = HeadOf(error); record != nullptr; record = record->Next)
    {
        ++length;
    }
    return length;
}

Error Plain()
{
    return Error(COMMON_LOCATION("Test"), TestCode);
}

const Common::ErrorKind PathFunctionKind("path,function,$module", {Common::ErrorParameter::Type::WideString,
                                                                   Common::ErrorParameter::Type::String});

TEST(ErrorTest, CodeZeroIsSuccessWhateverElseIsGiven)
{
    SKIP_WITHOUT_ALLOCATION_HOOKS();
    Testing::AllocationCounter allocations;
    const Error narrow(COMMON_LOCATION("Test"), 0, "text");
    const Error wide(COMMON_LOCATION("Test"), 0, u"text");
    const Error parameters(COMMON_LOCATION("Test"), 0, Common::TraceLevelErrorKind, u"text", {1});
    EXPECT_EQ(allocations.Count(), 0u);
    for (const Error* error : {&narrow, &wide, &parameters})
    {
        EXPECT_EQ(error->GetCode(), 0u);
        EXPECT_TRUE(*error == Common::Success);
        EXPECT_EQ(error->GetLineTag().LineTag, 0u);
        EXPECT_EQ(error->GetLineTag().File, nullptr);
        EXPECT_TRUE(error->GetMessage().empty());
        EXPECT_EQ(error->GetSubError().GetCode(), 0u);
    }
}

TEST(ErrorTest, RecordKindsAnswerMessageKeysModuleAndParametersByKeyAndType)
{
    const auto location = COMMON_LOCATION("Common::Test");
    const Error codeOnly(location, TestCode);
    const Error narrow(location, TestCode, "caf\xc3\xa9");
    const Error wide(location, TestCode, u"wide \u00e9");

    EXPECT_EQ(codeOnly.GetMessage(), u"");
    // Each narrow byte becomes one character: no code page, no UTF-8 decoding.
    EXPECT_EQ(narrow.GetMessage(), (WideString{u'c', u'a', u'f', 0xC3, 0xA9}));
    EXPECT_EQ(wide.GetMessage(), u"wide \u00e9");
    for (const Error* error : {&codeOnly, &narrow, &wide})
    {
        EXPECT_EQ(error->GetCode(), TestCode);
        EXPECT_STREQ(error->GetKeys(), "$module");
        EXPECT_STREQ(error->GetString("$module"), "VeltrixTests/1.0.0");
        EXPECT_EQ(error->GetString("other"), nullptr);
        EXPECT_EQ(error->GetLineTag().LineTag, location.LineTag);
        EXPECT_STREQ(error->GetLineTag().Function, "Common::Test");
        EXPECT_EQ(error->GetLineTag().Line, location.Line);
    }

    const Error traced(COMMON_LOCATION("Test"), TestCode, Common::TraceLevelErrorKind, u"traced", {4});
    EXPECT_EQ(traced.GetMessage(), u"traced");
    EXPECT_STREQ(traced.GetKeys(), "TraceLevel,$module");
    EXPECT_EQ(traced.GetNumber("TraceLevel"), 4u);
    EXPECT_EQ(traced.GetString("TraceLevel"), nullptr);
    EXPECT_STREQ(traced.GetString("$module"), "VeltrixTests/1.0.0");

    const Error located(COMMON_LOCATION("Test"), TestCode, PathFunctionKind, u"located",
                        {u"C:\\data\\file.bin", "Open"});
    EXPECT_EQ(std::u16string(located.GetWideString("path")), u"C:\\data\\file.bin");
    EXPECT_STREQ(located.GetString("function"), "Open");
    EXPECT_EQ(located.GetNumber("path"), 0u);
    EXPECT_EQ(located.GetString("path"), nullptr);
    EXPECT_EQ(located.GetWideString("function"), nullptr);
    EXPECT_EQ(located.GetWideString("pat"), nullptr);
    EXPECT_STREQ(located.GetKeys(), "path,function,$module");
}

TEST(ErrorTest, CatalogTextIsPointedToWithOneAllocation)
{
    SKIP_WITHOUT_ALLOCATION_HOOKS();
    const char16_t* text = Common::GetText(Common::Texts::ConvertFromUtf8Failed);
    Error error;
    {
        Testing::AllocationCounter counter;
        error = Error(COMMON_LOCATION("Test"), TestCode, Common::WideStringView(text));
        EXPECT_EQ(counter.Count(), 1u);
        EXPECT_EQ(counter.LastSize(), sizeof(Common::ErrorRecord));
    }
    EXPECT_EQ(Common::Detail::RecordText(HeadOf(error)), static_cast<const void*>(text));
    EXPECT_EQ(error.GetMessage(), WideString(text));

    // Text of the caller is copied into the same block.
    Testing::AllocationCounter counter;
    const Error copied(COMMON_LOCATION("Test"), TestCode, u"abc");
    EXPECT_EQ(counter.Count(), 1u);
    EXPECT_EQ(counter.LastSize(), sizeof(Common::ErrorRecord) + 8);
}

TEST(ErrorTest, CopiesShareTheChainAndLastReleaseFreesIt)
{
    Error first(COMMON_LOCATION("Test"), TestCode, u"first");
    Error second = first;
    EXPECT_EQ(HeadOf(first), HeadOf(second));
    EXPECT_EQ(HeadOf(first)->RefCount.load(), 2u);
    second = Error();
    EXPECT_EQ(HeadOf(first)->RefCount.load(), 1u);
    const Error& alias = first;
    first = alias; // self-assignment keeps the record
    EXPECT_EQ(first.GetMessage(), u"first");
    Error moved = std::move(first);
    EXPECT_EQ(first.GetCode(), 0u);
    EXPECT_EQ(moved.GetMessage(), u"first");
}

TEST(ErrorTest, SetSubErrorAndAddHResultReplaceAnUnsharedCauseInPlaceAndCloneASharedHead)
{
    // On success the cause becomes the error itself; the error itself as cause is a copy, not a cycle.
    const Error cause(COMMON_LOCATION("Test"), TestCode, u"cause");
    Error success;
    success.SetSubError(cause);
    EXPECT_EQ(HeadOf(success), HeadOf(cause));
    EXPECT_EQ(ChainLength(success), 1u);
    Error self(COMMON_LOCATION("Test"), TestCode, u"self");
    self.SetSubError(self);
    EXPECT_EQ(ChainLength(self), 2u);
    EXPECT_EQ(self.GetSubError().GetMessage(), u"self");

    Error error(COMMON_LOCATION("Test"), TestCode, u"head");
    const Common::ErrorRecord* head = HeadOf(error);
    error.SetSubError(Error(COMMON_LOCATION("Test"), TestCode + 1, u"one"));
    error.SetSubError(Error(COMMON_LOCATION("Test"), TestCode + 2, u"two"));
    EXPECT_EQ(HeadOf(error), head);
    EXPECT_EQ(ChainLength(error), 2u);
    EXPECT_EQ(error.GetSubError().GetCode(), TestCode + 2);

    error.AddHResult(0x80070005).AddHResult(0x80070002);
    EXPECT_EQ(HeadOf(error), head);
    EXPECT_EQ(ChainLength(error), 2u);
    EXPECT_EQ(error.GetSubError().GetNumber("code"), 0x80070002u);

    // A shared head is cloned and the other handle left alone.
    const Error other = error;
    error.SetSubError(Error(COMMON_LOCATION("Test"), TestCode + 3, u"new cause"));
    EXPECT_NE(HeadOf(error), HeadOf(other));
    // The clone keeps its message, stored as an offset into its own block.
    EXPECT_LT(HeadOf(error)->Message, HeadOf(error)->Size);
    EXPECT_EQ(error.GetMessage(), u"head");
    EXPECT_EQ(error.GetSubError().GetMessage(), u"new cause");
    EXPECT_EQ(other.GetSubError().GetNumber("code"), 0x80070002u);
    EXPECT_EQ(HeadOf(other)->RefCount.load(), 1u);
}

TEST(ErrorTest, SystemValuesAreStoredByTheirRulesWithTheBuiltInTexts)
{
    const struct
    {
        Error Made;
        std::uint32_t Stored;
    } cases[] = {
        {Plain().AddWindowsError(0), 0},
        {Plain().AddWindowsError(5), 0x80070005},
        {Plain().AddWindowsError(0x12345), 0x80072345},
        {Plain().AddWindowsError(0x80004005), 0x80004005},
        {Plain().AddHResult(5), 5},
        {Plain().AddNTStatus(0xC0000022), 0xD0000022},
    };
    for (const auto& test : cases)
    {
        const Error sub = test.Made.GetSubError();
        EXPECT_EQ(sub.GetCode(), Common::SystemErrorCode) << test.Stored;
        EXPECT_EQ(sub.GetNumber("code"), test.Stored);
        EXPECT_STREQ(sub.GetKeys(), "code,$module");
    }
    const Error own = Plain().AddHResult(1).GetSubError();
    EXPECT_STREQ(own.GetLineTag().Function, "Common::Error::AddHResult");
    EXPECT_STREQ(own.GetLineTag().File, "src/common/Error.cpp");
    // The built-in texts name the values they don't know.
    EXPECT_EQ(Plain().AddWindowsError(5).GetSubError().GetMessage(), u"Access is denied");
    EXPECT_EQ(Plain().AddHResult(0x8000FFFF).GetSubError().GetMessage(), u"HRESULT 0x8000FFFF");
    EXPECT_EQ(Plain().AddNTStatus(0xC0001234).GetSubError().GetMessage(), u"NTSTATUS 0xC0001234");
}

// The installed source answers every system value with SourceText and notes what it was asked.
WideString SourceText;
std::vector<std::pair<std::uint32_t, bool>> Asked;
WideString AnswerSourceText(std::uint32_t status, bool ntStatus)
{
    Asked.push_back({status, ntStatus});
    return SourceText;
}

TEST(ErrorTest, SystemTextIsAskedWithoutTheNtMarkerAndLosesLineEndsAndAOneLineTextsFullStop)
{
    const Common::SystemMessageSource previous = Common::SetSystemMessageSource(AnswerSourceText);
    SourceText = u"x";
    Asked.clear();
    Plain().AddNTStatus(0xC0000022).GetSubError().GetMessage();
    Plain().AddWindowsError(5).GetSubError().GetMessage();
    EXPECT_EQ(Asked,
              (std::vector<std::pair<std::uint32_t, bool>>{{0xC0000022u, true}, {0x80070005u, false}}));
    const std::pair<const char16_t*, const char16_t*> cases[] = {
        {u"Access is denied.\r\n", u"Access is denied"},
        {u"Ac\rcess\r is denied.\n", u"Access is denied"},
        {u"No full stop\r\n", u"No full stop"},
        {u".", u""},
        {u"", u""},
        {u"\r\n", u""},
        {u"{Access Denied}\r\nA process was refused.\r\n", u"{Access Denied}\nA process was refused."},
        {u"one\n\n", u"one\n"}};
    for (const auto& [text, expected] : cases)
    {
        SourceText = text;
        EXPECT_EQ(Plain().AddHResult(0x80070005).GetSubError().GetMessage(), expected);
    }
    Common::SetSystemMessageSource(previous);
}

TEST(ErrorTest, LongChainIsReleasedWithoutRecursion)
{
    Error chain;
    for (int i = 0; i < 1000000; ++i)
    {
        Error head = Plain();
        head.SetSubError(chain);
        chain = std::move(head);
    }
    EXPECT_EQ(HeadOf(chain)->RefCount.load(), 1u);
    chain = Error(); // would overflow the stack if release recursed
}

TEST(ErrorTest, HandlesCopiedAndReleasedOnManyThreads)
{
    const Error shared = Error(COMMON_LOCATION("Test"), TestCode, u"shared").AddHResult(1);
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < 4; ++t)
        {
            threads.emplace_back(
                [&shared]
                {
                    for (int i = 0; i < 20000; ++i)
                    {
                        Error copy = shared;
                        ASSERT_EQ(copy.GetSubError().GetCode(), Common::SystemErrorCode);
                    }
                });
        }
    }
    EXPECT_EQ(HeadOf(shared)->RefCount.load(), 1u);
    EXPECT_EQ(HeadOf(shared)->Next->RefCount.load(), 1u);
}

TEST(ErrorTest, OutOfMemoryGivesTheStaticRecordAndDropsACauseThatCannotBeChained)
{
    SKIP_WITHOUT_ALLOCATION_HOOKS();
    Error error;
    {
        Testing::AllocationCounter counter;
        counter.FailAfter(0);
        error = Error(COMMON_LOCATION("Test"), TestCode, u"lost");
    }
    EXPECT_EQ(error.GetCode(), Common::OutOfMemoryCode);
    EXPECT_EQ(error.GetMessage(), u"");
    const Common::ErrorRecord* oom = HeadOf(error);
    {
        Error copy = error;
        Testing::AllocationCounter counter;
        counter.FailAfter(0);
        Error parameters(COMMON_LOCATION("Test"), TestCode, Common::TraceLevelErrorKind, u"lost", {1});
        EXPECT_EQ(HeadOf(parameters), oom);
    }
    error = Error();
    // Still usable: the static record is never freed.
    EXPECT_EQ(oom->Code, Common::OutOfMemoryCode);
    EXPECT_GE(oom->RefCount.load(), 1u);

    // Chaining that cannot clone a shared head keeps the head and drops the cause.
    Error head(COMMON_LOCATION("Test"), TestCode, u"head");
    const Error other = head;
    const Error cause(COMMON_LOCATION("Test"), TestCode + 1);
    {
        Testing::AllocationCounter counter;
        counter.FailAfter(0);
        head.SetSubError(cause);
    }
    EXPECT_EQ(HeadOf(head), HeadOf(other));
    EXPECT_EQ(head.GetSubError().GetCode(), 0u);
    EXPECT_EQ(HeadOf(cause)->RefCount.load(), 1u);
}

TEST(ErrorTest, MismatchedParametersAreAssertedAndStoredEmpty)
{
    Testing::AssertCapture capture;
    const Error error(COMMON_LOCATION("Test"), TestCode, PathFunctionKind, u"m", {7});
    EXPECT_EQ(capture.Expressions(),
              (std::vector<std::string>{"values.size() == kind.Count", "value.Kind == kind.Types[index]"}));
    EXPECT_EQ(std::u16string(error.GetWideString("path")), u"");
    EXPECT_STREQ(error.GetString("function"), "");
}

} // namespace
