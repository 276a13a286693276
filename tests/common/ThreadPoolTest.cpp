#include "common/ThreadPool.h"

#include "AssertCapture.h"
#include "Platform/ThreadPool.h"
#include "ThreadProbe.h"
#include "ThrownError.h"
#include "common/ErrorSerialization.h"
#include "common/SystemMessages.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <functional>
#include <string>
#include <vector>

namespace
{

using Common::ThreadAccessor;
using Common::ThreadPool;
using Testing::Observe;
using Testing::Probe;

// Terminate and SetPriority aren't supported for a pool thread: they assert and change nothing.
TEST(ThreadPoolTest, FunctionRunsOnAPoolThreadAndReportsItsExitCodeAndNormalisedPriority)
{
    Testing::AssertCapture capture;
    Probe probe;
    probe.Result = 77;
    const auto thread = ThreadPool::CreateThread(Observe, &probe, Common::BelowNormalPriority);
    EXPECT_FALSE(thread->Wait(20));
    EXPECT_EQ(thread->GetExitCode(), Common::StillActiveExitCode);
    thread->Terminate();
    thread->SetPriority(Common::LowestPriority);
    const std::string text = "!\"not supported for a pool thread\"";
    EXPECT_EQ(capture.Expressions(), (std::vector<std::string>{text, text}));
    EXPECT_FALSE(thread->Wait(0));

    probe.Release.Set();
    thread->Wait();
    EXPECT_TRUE(thread->Wait(0));
    EXPECT_EQ(thread->GetExitCode(), 77u);
    EXPECT_EQ(thread->GetThreadId(), probe.IdSeen);
    EXPECT_NE(probe.IdSeen, Common::GetCurrentThreadId());
    EXPECT_EQ(thread->GetPriority(), Common::BelowNormalPriority);

    Probe unknown(0);
    const auto normal = ThreadPool::CreateThread(Observe, &unknown, 12);
    normal->Wait();
    EXPECT_EQ(normal->GetPriority(), Common::NormalPriority);
}

TEST(ThreadPoolTest, IdleThreadIsReusedUntilClearDropsItAndABusyOneGetsNoSecondFunction)
{
    ThreadPool pool = ThreadPool::Create();
    Probe first(1);
    pool.Start(Observe, &first)->Wait();
    Probe reusing;
    reusing.Result = 2;
    const auto running = pool.Start(Observe, &reusing);
    Probe other(0);
    pool.Start(Observe, &other)->Wait();
    reusing.Release.Set();
    running->Wait();
    EXPECT_EQ(reusing.IdSeen, first.IdSeen);
    EXPECT_EQ(running->GetExitCode(), 2u);
    EXPECT_NE(other.IdSeen, first.IdSeen);

    pool.Clear();
    Probe third(3);
    pool.Start(Observe, &third)->Wait();
    EXPECT_NE(third.IdSeen, first.IdSeen);
    EXPECT_NE(third.IdSeen, other.IdSeen);
}

TEST(ThreadPoolTest, DeletingThePoolWaitsForItsRunningFunctions)
{
    struct Slow
    {
        Common::Event Started{true, false};
        std::atomic<bool> Finished{false};
    } slow;
    std::shared_ptr<ThreadAccessor> thread;
    {
        ThreadPool pool = ThreadPool::Create();
        thread = pool.Start(
            [](void* argument) -> unsigned
            {
                auto& data = *static_cast<Slow*>(argument);
                data.Started.Set();
                Common::Event(true, false).Wait(30);
                data.Finished.store(true);
                return 9;
            },
            &slow);
        slow.Started.Wait();
    }
    EXPECT_TRUE(slow.Finished.load());
    EXPECT_TRUE(thread->Wait(0));
    EXPECT_EQ(thread->GetExitCode(), 9u);
}

TEST(ThreadPoolTest, ImpersonatedThreadsRunWithTheCreatorsIdentityWhichStaysUnchanged)
{
    ThreadPool impersonatedPool = ThreadPool::CreateImpersonated();
    ThreadPool plainPool = ThreadPool::Create();
    Probe impersonated(0);
    Probe impersonatedInPool(0);
    Probe plain(0);
    Probe plainInPool(0);
    {
        Common::ThreadIdentity scope(1001);
        ThreadPool::CreateImpersonatedThread(Observe, &impersonated)->Wait();
        EXPECT_EQ(Common::ThreadIdentity::GetCurrent(), 1001u);
        impersonatedPool.Start(Observe, &impersonatedInPool)->Wait();
        ThreadPool::CreateThread(Observe, &plain)->Wait();
        plainPool.Start(Observe, &plainInPool)->Wait();
        EXPECT_EQ(Common::ThreadIdentity::GetCurrent(), 1001u);
    }
    EXPECT_EQ(impersonated.IdentitySeen, 1001u);
    EXPECT_EQ(impersonatedInPool.IdentitySeen, 1001u);
    EXPECT_EQ(plain.IdentitySeen, Common::ProcessIdentity);
    EXPECT_EQ(plainInPool.IdentitySeen, Common::ProcessIdentity);

    // The worker that ran under an identity goes back to the process identity for the next function.
    Probe after(0);
    impersonatedPool.Start(Observe, &after)->Wait();
    EXPECT_EQ(after.IdSeen, impersonatedInPool.IdSeen);
    EXPECT_EQ(after.IdentitySeen, Common::ProcessIdentity);
}

struct AccessorCall
{
    const char* Name;
    const char* LibraryFunction;
    std::function<void(ThreadAccessor&)> Call;
};

const AccessorCall AccessorCalls[] = {
    {"Wait(milliseconds)", "ThreadPoolWaitForThreadExit", [](ThreadAccessor& thread) { thread.Wait(0); }},
    {"Wait()", "ThreadPoolInfiniteWaitForThreadExit", [](ThreadAccessor& thread) { thread.Wait(); }},
    {"GetThreadId", "ThreadPoolGetThreadId", [](ThreadAccessor& thread) { thread.GetThreadId(); }},
    {"GetPriority", "ThreadPoolGetPriority", [](ThreadAccessor& thread) { thread.GetPriority(); }},
    {"GetExitCode", "ThreadPoolGetExitCode", [](ThreadAccessor& thread) { thread.GetExitCode(); }},
};

TEST(ThreadPoolTest, FailingLibraryCallRethrowsThePoolsErrorWithItsCodeAndMessage)
{
    Probe probe(0);
    const auto thread = ThreadPool::CreateThread(Observe, &probe);
    thread->Wait();
    for (const AccessorCall& accessor : AccessorCalls)
    {
        SCOPED_TRACE(accessor.Name);
        ThreadPoolInjectFailure(0x00F90042, "worker record lost: é");
        const Common::Error error = Testing::ThrownError([&] { accessor.Call(*thread); });
        EXPECT_EQ(error.GetCode(), 0x00F90042u);
        EXPECT_EQ(error.GetMessage(), u"worker record lost: é");
        EXPECT_STREQ(error.GetLineTag().Function, accessor.LibraryFunction);
        EXPECT_STREQ(error.GetLineTag().File, "platform/src/ThreadPool.cpp");
        EXPECT_STREQ(error.GetString("$module"), "VeltrixPlatform/1.0.0");
        // Only the next call fails.
        EXPECT_NO_THROW(accessor.Call(*thread));
    }
    EXPECT_EQ(ThreadPoolReadError(nullptr, nullptr, 0), 0u);
}

TEST(ThreadPoolTest, PendingErrorIsReadInPiecesUntilItFitsAndANullHandleGivesTheInvalidHandleStatus)
{
    ThreadPoolInjectFailure(5, "short");
    std::size_t errorSize = 0;
    ThreadPoolGetExitCode(nullptr, &errorSize);
    ASSERT_GT(errorSize, 4u);
    std::vector<std::uint8_t> partial(4);
    EXPECT_EQ(ThreadPoolReadError(nullptr, partial.data(), partial.size()), errorSize);
    EXPECT_EQ(partial[0], 0x01);
    std::vector<std::uint8_t> whole(errorSize);
    EXPECT_EQ(ThreadPoolReadError(nullptr, whole.data(), whole.size()), errorSize);
    EXPECT_EQ(ThreadPoolReadError(nullptr, whole.data(), whole.size()), 0u);

    // A null handle fails with the invalid handle status.
    errorSize = 0;
    EXPECT_FALSE(ThreadPoolWaitForThreadExit(nullptr, 0, &errorSize));
    ASSERT_NE(errorSize, 0u);
    std::vector<std::uint8_t> blob(errorSize);
    ThreadPoolReadError(nullptr, blob.data(), blob.size());
    const Common::Error error = Common::Deserialize(blob.data(), blob.size());
    EXPECT_EQ(error.GetCode(), Common::SystemErrorCode);
    EXPECT_EQ(error.GetNumber("code"), 0x80070006u);
}

struct CreationCall
{
    const char* Function;
    std::function<void()> Create;
};

TEST(ThreadPoolTest, FailedCreationThrowsCodeSevenAtTheCreatingFunction)
{
    ThreadPool pool = ThreadPool::Create();
    Probe probe(0);
    const CreationCall calls[] = {
        {"Common::ThreadPool::Create", [] { ThreadPool::Create(); }},
        {"Common::ThreadPool::CreateImpersonated", [] { ThreadPool::CreateImpersonated(); }},
        {"Common::ThreadPool::CreateThread", [&] { ThreadPool::CreateThread(Observe, &probe); }},
        {"Common::ThreadPool::CreateImpersonatedThread",
         [&] { ThreadPool::CreateImpersonatedThread(Observe, &probe); }},
        {"Common::ThreadPool::CreateThread", [&] { pool.Start(Observe, &probe); }},
    };
    for (const CreationCall& call : calls)
    {
        SCOPED_TRACE(call.Function);
        ThreadPoolInjectCreationFailure(EAGAIN);
        const Common::Error error = Testing::ThrownError(call.Create);
        EXPECT_EQ(error.GetCode(), Common::ThreadCreationFailedCode);
        EXPECT_STREQ(error.GetLineTag().Function, call.Function);
        EXPECT_EQ(error.GetSubError().GetNumber("code"), 0x80070000u | Common::WindowsErrorFromErrno(EAGAIN));
    }
}

} // namespace
