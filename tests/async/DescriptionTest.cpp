// Operation descriptions: one error per exception class, narrow fallbacks, the TraceLevel kind, and
// describing that never throws.
#include "async/TextDescription.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

namespace
{

using Common::Error;

constexpr std::uint32_t Code = 0x00F95601;
constexpr std::uint32_t Cause = 0x00F95602;

Error MakeCause()
{
    return Error(COMMON_LOCATION("DescriptionTest"), Cause);
}

// Throws MakeCause from every operation.
struct Throwing final : Async::OperationDescription
{
    void DescribeException(Error&, const Error&) const override { throw Error(COMMON_LOCATION("T"), Code); }
    void DescribeStdException(Error&, const std::exception&) const override { throw MakeCause(); }
    void DescribeUnknownException(Error&) const override { throw MakeCause(); }
};

// The exception `raise` throws, described.
Error Describe(const Async::OperationDescription& description, const std::function<void()>& raise)
{
    try
    {
        raise();
    }
    catch (...)
    {
        return Async::SafeDescribeCurrentException(description);
    }
    return Error();
}

TEST(DescriptionTest, EachExceptionClassGetsItsTextWithNarrowFallbacks)
{
    const Common::ErrorLocation location = COMMON_LOCATION("DescriptionTest::Operation");
    const Async::TextDescription description(location, Code, u"failed", {nullptr, "std '{0}'"}, "unknown");
    const Error fromError = Describe(description, [] { throw MakeCause(); });
    EXPECT_EQ(fromError.GetCode(), Code);
    EXPECT_EQ(fromError.GetMessage(), u"failed");
    EXPECT_EQ(fromError.GetSubError().GetCode(), Cause);
    EXPECT_EQ(fromError.GetLineTag().LineTag, location.LineTag);
    EXPECT_EQ(fromError.GetNumber("TraceLevel"), 0u);
    EXPECT_EQ(Describe(description, [] { throw std::out_of_range("range"); }).GetMessage(), u"std 'range'");
    EXPECT_EQ(Describe(description, [] { throw 42; }).GetMessage(), u"unknown");
}

TEST(DescriptionTest, DebugTraceDescriptionComposesItsCodeAndCarriesTraceLevelOne)
{
    const Async::DebugTraceTextDescription description(COMMON_LOCATION("DescriptionTest"), 0x00F9, 0x000B,
                                                       u"e", u"s {0}", u"u");
    const Error described = Describe(description, [] { throw std::logic_error("x"); });
    EXPECT_EQ(described.GetCode(), 0x00F9000Bu);
    EXPECT_EQ(described.GetMessage(), u"s x");
    EXPECT_EQ(described.GetNumber("TraceLevel"), 1u);
}

TEST(DescriptionTest, ThrowingDescriptionKeepsTheIncomingErrorOrGivesTheThrownOne)
{
    const Throwing throwing;
    const Error fromError = Describe(throwing, [] { throw Error(COMMON_LOCATION("I"), 0x00F95603); });
    EXPECT_EQ(fromError.GetCode(), 0x00F95603u);
    EXPECT_EQ(Describe(throwing, [] { throw std::runtime_error("x"); }).GetCode(), Cause);
    EXPECT_EQ(Describe(throwing, [] { throw 1; }).GetCode(), Cause);
}

} // namespace
