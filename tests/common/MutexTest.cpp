#include "common/Mutex.h"

#include "common/SafeAssert.h"

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace
{

using Common::Mutex;

// Safe-assert reports, from any thread, while an AssertCapture lives.
std::mutex ReportsLock;
std::vector<std::string> Reports;

void RecordReport(int, int, int, const char* text)
{
    std::lock_guard<std::mutex> guard(ReportsLock);
    Reports.emplace_back(text);
}

class AssertCapture
{
public:
    AssertCapture()
    {
        Common::Detail::InitialiseSafeAssertForTesting();
        SavedFlags = Common::GetSafeAssertFlags();
        Common::SetSafeAssertFlags(Common::SafeAssertEvent);
        Common::SetSafeAssertEventHook(RecordReport);
        std::lock_guard<std::mutex> guard(ReportsLock);
        Reports.clear();
    }
    ~AssertCapture()
    {
        Common::SetSafeAssertEventHook(nullptr);
        Common::SetSafeAssertFlags(SavedFlags);
    }
    std::vector<std::string> Expressions() const
    {
        std::lock_guard<std::mutex> guard(ReportsLock);
        std::vector<std::string> expressions;
        for (const std::string& report : Reports)
        {
            const std::string prefix = "Assertion failed: ";
            const std::size_t end = report.rfind(", file ");
            expressions.push_back(report.substr(prefix.size(), end - prefix.size()));
        }
        return expressions;
    }

private:
    std::uint32_t SavedFlags = 0;
};

const std::string LockedAtDestruction = "MUTEX_DATA.OwningThread == 0 || (GetVersion() & 0x80000000)";
const std::string UnlockedByStranger =
    "*reinterpret_cast<DWORD*>(&MUTEX_DATA.OwningThread) == GetCurrentThreadId() || "
    "(GetVersion() & 0x80000000)";

bool TryLockElsewhere(Mutex& mutex)
{
    bool locked = false;
    std::thread(
        [&]
        {
            locked = mutex.TryLock();
            if (locked)
            {
                mutex.Unlock();
            }
        })
        .join();
    return locked;
}

TEST(MutexTest, RecursiveHoldsKeepOtherThreadsOutUntilTheLastUnlock)
{
    Mutex mutex;
    mutex.Lock();
    ASSERT_TRUE(mutex.TryLock());
    EXPECT_TRUE(mutex.IsOwnedByCurrentThread());
    EXPECT_FALSE(TryLockElsewhere(mutex));
    mutex.Unlock();
    EXPECT_TRUE(mutex.IsOwnedByCurrentThread());
    EXPECT_FALSE(TryLockElsewhere(mutex));
    mutex.Unlock();
    EXPECT_FALSE(mutex.IsOwnedByCurrentThread());
    EXPECT_TRUE(TryLockElsewhere(mutex));
}

TEST(MutexTest, UnlockByAThreadThatDoesNotOwnItAssertsAndChangesNothing)
{
    AssertCapture capture;
    Mutex mutex;
    mutex.Lock();
    std::thread([&] { mutex.Unlock(); }).join();

    EXPECT_EQ(capture.Expressions(), std::vector<std::string>{UnlockedByStranger});
    EXPECT_TRUE(mutex.IsOwnedByCurrentThread());
    EXPECT_FALSE(TryLockElsewhere(mutex));
    mutex.Unlock();
    EXPECT_TRUE(TryLockElsewhere(mutex));
    EXPECT_EQ(capture.Expressions().size(), 1u);
}

TEST(MutexTest, UnlockOfAMutexNobodyHoldsAsserts)
{
    AssertCapture capture;
    Mutex mutex;
    mutex.Unlock();
    EXPECT_EQ(capture.Expressions(), std::vector<std::string>{UnlockedByStranger});
    EXPECT_TRUE(TryLockElsewhere(mutex));
}

TEST(MutexTest, DestroyingALockedMutexAssertsOnlyThen)
{
    AssertCapture capture;
    {
        Mutex unlocked;
        unlocked.Lock();
        unlocked.Unlock();
    }
    EXPECT_TRUE(capture.Expressions().empty());

    auto locked = std::make_unique<Mutex>();
    locked->Lock();
    locked->Lock();
    locked.reset();
    EXPECT_EQ(capture.Expressions(), std::vector<std::string>{LockedAtDestruction});
}

TEST(MutexTest, MutexLockSerialisesIncrementsOfManyThreads)
{
    Mutex mutex;
    long counter = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
    {
        threads.emplace_back(
            [&]
            {
                for (int i = 0; i < 20000; ++i)
                {
                    Common::MutexLock outer(mutex);
                    Common::MutexLock inner(mutex);
                    ++counter;
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(counter, 80000);
    EXPECT_FALSE(mutex.IsOwnedByCurrentThread());
}

} // namespace
