// Futures read when they are needed, sole-owner values handed out once, and conditions that combine
// lazily and short-circuit.
#include "async/Future.h"

#include "async/Condition.h"
#include "async/Errors.h"
#include "common/ThrownError.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace
{

TEST(FutureTest, HoldsAValueOrReadsItsSourceAtEachGet)
{
    unsigned long slot = 1;
    const Async::Future<unsigned long> now = slot;
    const Async::Future<unsigned long> later = Async::FutureOf(slot);
    const Async::Future<unsigned long> computed([&slot] { return slot * 10; });
    slot = 5;
    EXPECT_EQ(now.Get(), 1u);
    EXPECT_EQ(later.Get(), 5u);
    EXPECT_EQ(computed.Get(), 50u);
    // A captureless lambda converts to bool too; it is still a source.
    EXPECT_FALSE(Async::Future<bool>([] { return false; }).Get());
}

TEST(FutureTest, SoleOwnerValueIsHandedOutOnceThenGetThrowsInvalidResult)
{
    Async::Future<std::unique_ptr<int>> held = std::make_unique<int>(3);
    Async::Future<std::unique_ptr<int>> moved = std::move(held);
    EXPECT_EQ(*moved.Get(), 3);
    const Common::Error error = Testing::ThrownError([&moved] { moved.Get(); }); // a second Get
    EXPECT_EQ(error.GetCode(), Async::ErrorCodes::InvalidResult);
    EXPECT_STREQ(error.GetLineTag().Function, "Async::Future::Get");
}

TEST(FutureTest, ConditionsCombineLateAndShortCircuit)
{
    std::string asked;
    auto probe = [&asked](char name, const bool& value)
    { return Async::Condition([&asked, name, &value] { return asked += name, value; }); };
    bool a = false, b = false;
    const Async::Condition either = probe('a', a) || probe('b', b);
    const Async::Condition both = probe('a', a) && probe('b', b);
    const Async::Condition neither = !either;

    struct Case
    {
        bool A, B, Either, Both;
        const char* EitherAsks;
        const char* BothAsks;
    };
    const Case cases[] = {{false, false, false, false, "ab", "a"},
                          {true, false, true, false, "a", "ab"},
                          {false, true, true, false, "ab", "a"},
                          {true, true, true, true, "a", "ab"}};
    for (const Case& c : cases)
    {
        a = c.A, b = c.B; // after the conditions were built
        asked.clear();
        EXPECT_EQ(Async::Evaluate(either), c.Either);
        EXPECT_EQ(asked, c.EitherAsks);
        asked.clear();
        EXPECT_EQ(Async::Evaluate(both), c.Both);
        EXPECT_EQ(asked, c.BothAsks);
        EXPECT_EQ(Async::Evaluate(neither), !c.Either);
    }
    EXPECT_THROW(Async::Evaluate(Async::Condition(std::function<bool()>())), Common::Error);
}

} // namespace
