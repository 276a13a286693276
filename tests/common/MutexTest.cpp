#include "common/Mutex.h"

#include "AssertCapture.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace
{

using Common::Mutex;
using Strings = std::vector<std::string>;

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

TEST(MutexTest, UnlockByANonOwnerAssertsAndChangesNothingAndOnlyALockedMutexAssertsAtDestruction)
{
    Testing::AssertCapture capture;
    auto mutex = std::make_unique<Mutex>();
    mutex->Unlock(); // nobody holds it
    EXPECT_EQ(capture.Expressions(), Strings{UnlockedByStranger});
    EXPECT_TRUE(TryLockElsewhere(*mutex));

    mutex->Lock();
    std::thread([&] { mutex->Unlock(); }).join();
    EXPECT_EQ(capture.Expressions(), (Strings{UnlockedByStranger, UnlockedByStranger}));
    EXPECT_TRUE(mutex->IsOwnedByCurrentThread());
    EXPECT_FALSE(TryLockElsewhere(*mutex));
    mutex->Unlock();
    EXPECT_TRUE(TryLockElsewhere(*mutex));
    mutex.reset();
    EXPECT_EQ(capture.Expressions().size(), 2u);

    auto locked = std::make_unique<Mutex>();
    locked->Lock();
    locked->Lock();
    locked.reset();
    EXPECT_EQ(capture.Expressions(), (Strings{UnlockedByStranger, UnlockedByStranger, LockedAtDestruction}));
}

TEST(MutexTest, MutexLockSerialisesIncrementsOfManyThreads)
{
    Mutex mutex;
    long counter = 0;
    {
        std::vector<std::jthread> threads;
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
    }
    EXPECT_EQ(counter, 80000);
    EXPECT_FALSE(mutex.IsOwnedByCurrentThread());
}

} // namespace
