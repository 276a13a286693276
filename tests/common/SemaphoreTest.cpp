#include "common/Semaphore.h"

#include "ThrownError.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <thread>
#include <vector>

namespace
{

using Common::Semaphore;

TEST(SemaphoreTest, InitialCountIsTakenOnceEachAndSignalOfZeroAddsNothing)
{
    Semaphore semaphore(2);
    EXPECT_TRUE(semaphore.Wait(0));
    EXPECT_TRUE(semaphore.Wait(0));
    semaphore.Signal(0);
    EXPECT_FALSE(semaphore.Wait(10));

    Semaphore full(Semaphore::MaximumCount);
    EXPECT_NO_THROW(full.Signal(0));
}

TEST(SemaphoreTest, SignalReleasesAsManyWaitersAsItsCount)
{
    Semaphore semaphore(0);
    std::atomic<int> released{0};
    {
        std::vector<std::jthread> waiters;
        for (int i = 0; i < 3; ++i)
        {
            waiters.emplace_back(
                [&]
                {
                    semaphore.Wait();
                    ++released;
                });
        }
        semaphore.Signal(2);
        semaphore.Signal(1);
    }
    EXPECT_EQ(released.load(), 3);
    EXPECT_FALSE(semaphore.Wait(0));
}

struct LimitCase
{
    const char* Name;
    std::uint32_t Code;
    const char* Function;
    int Errno;
    void (*Act)();
};

const LimitCase LimitCases[] = {
    {"initial count above the maximum", Semaphore::CreateFailedCode, "Semaphore::Semaphore", EINVAL,
     [] { Semaphore semaphore(Semaphore::MaximumCount + 1u); }},
    {"signal past the maximum", Semaphore::SignalFailedCode, "Semaphore::Signal", EOVERFLOW,
     [] { Semaphore(Semaphore::MaximumCount - 1).Signal(2); }},
    {"signal of the largest count onto one", Semaphore::SignalFailedCode, "Semaphore::Signal", EOVERFLOW,
     [] { Semaphore(1).Signal(0xFFFFFFFF); }},
};

TEST(SemaphoreTest, CountsBeyondTheMaximumFailWithTheErrnoKind)
{
    for (const LimitCase& limit : LimitCases)
    {
        SCOPED_TRACE(limit.Name);
        const Common::Error error = Testing::ThrownError(limit.Act);
        EXPECT_EQ(error.GetCode(), limit.Code);
        EXPECT_STREQ(error.GetLineTag().Function, limit.Function);
        EXPECT_STREQ(error.GetKeys(), "Errno,$module");
        EXPECT_EQ(error.GetNumber("Errno"), static_cast<std::uint64_t>(limit.Errno));
        EXPECT_FALSE(error.GetMessage().empty());
    }

    // A refused signal leaves the count as it was.
    Semaphore semaphore(Semaphore::MaximumCount - 1);
    EXPECT_THROW(semaphore.Signal(2), Common::Error);
    EXPECT_NO_THROW(semaphore.Signal(1));
    EXPECT_THROW(semaphore.Signal(1), Common::Error);
    EXPECT_TRUE(semaphore.Wait(0));
    EXPECT_NO_THROW(semaphore.Signal(1));
}

} // namespace
