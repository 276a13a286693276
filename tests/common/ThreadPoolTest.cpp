#include "common/ThreadPool.h"

#include "Platform/ThreadPool.h"
#include "common/Error.h"
#include "common/ErrorSerialization.h"
#include "common/Event.h"
#include "common/SafeAssert.h"
#include "common/SystemMessages.h"
#include "common/ThreadIdentity.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace
{

using Common::ThreadAccessor;
using Common::ThreadPool;

std::mutex ReportsLock;
std::vector<std::string> Reports;

void RecordReport(int, int, int, const char* text)
{
    std::lock_guard<std::mutex> guard(ReportsLock);
    Reports.emplace_back(text);
}

// Safe-assert reports while alive, as their expressions.
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
            expressions.push_back(report.substr(prefix.size(), report.rfind(", file ") - prefix.size()));
        }
        return expressions;
    }

private:
    std::uint32_t SavedFlags = 0;
};

// What a pool function saw; it waits for Release before it returns Result.
struct Probe
{
    Probe() = default;
    explicit Probe(unsigned result) : Result(result) { Release.Set(); }

    Common::Event Release{true, false};
    Common::Identity IdentitySeen = 99;
    Common::ThreadId IdSeen = 0;
    unsigned Result = 0;
};

unsigned Observe(void* argument)
{
    auto& probe = *static_cast<Probe*>(argument);
    probe.IdentitySeen = Common::ThreadIdentity::GetCurrent();
    probe.IdSeen = Common::GetCurrentThreadId();
    probe.Release.Wait();
    return probe.Result;
}

TEST(ThreadPoolTest, FunctionRunsOnAPoolThreadAndReportsItsExitCode)
{
    Probe probe;
    probe.Result = 77;
    const auto thread = ThreadPool::CreateThread(Observe, &probe, Common::BelowNormalPriority);
    EXPECT_FALSE(thread->Wait(20));
    EXPECT_EQ(thread->GetExitCode(), Common::StillActiveExitCode);

    probe.Release.Set();
    thread->Wait();
    EXPECT_TRUE(thread->Wait(0));
    EXPECT_EQ(thread->GetExitCode(), 77u);
    EXPECT_EQ(thread->GetThreadId(), probe.IdSeen);
    EXPECT_NE(probe.IdSeen, Common::GetCurrentThreadId());
    EXPECT_EQ(thread->GetPriority(), Common::BelowNormalPriority);
}

TEST(ThreadPoolTest, UnknownPriorityIsReportedAsNormal)
{
    Probe probe(0);
    const auto thread = ThreadPool::CreateThread(Observe, &probe, 12);
    thread->Wait();
    EXPECT_EQ(thread->GetPriority(), Common::NormalPriority);
}

TEST(ThreadPoolTest, IdleThreadIsReusedUntilClearDropsIt)
{
    ThreadPool pool = ThreadPool::Create();
    Probe first(1);
    pool.Start(Observe, &first)->Wait();
    Probe second(2);
    const auto reused = pool.Start(Observe, &second);
    reused->Wait();
    EXPECT_EQ(second.IdSeen, first.IdSeen);
    EXPECT_EQ(reused->GetExitCode(), 2u);

    pool.Clear();
    Probe third(3);
    pool.Start(Observe, &third)->Wait();
    EXPECT_NE(third.IdSeen, first.IdSeen);
}

TEST(ThreadPoolTest, BusyThreadIsNotGivenASecondFunction)
{
    ThreadPool pool = ThreadPool::Create();
    Probe busy;
    const auto running = pool.Start(Observe, &busy);
    Probe other(0);
    pool.Start(Observe, &other)->Wait();
    EXPECT_NE(other.IdSeen, running->GetThreadId());
    busy.Release.Set();
    running->Wait();
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
        try
        {
            accessor.Call(*thread);
            ADD_FAILURE() << "no error";
        }
        catch (const Common::Error& error)
        {
            EXPECT_EQ(error.GetCode(), 0x00F90042u);
            EXPECT_EQ(error.GetMessage(), u"worker record lost: é");
            EXPECT_STREQ(error.GetLineTag().Function, accessor.LibraryFunction);
            EXPECT_STREQ(error.GetLineTag().File, "platform/src/ThreadPool.cpp");
            EXPECT_STREQ(error.GetString("$module"), "VeltrixPlatform/1.0.0");
        }
        // Only the next call fails.
        EXPECT_NO_THROW(accessor.Call(*thread));
    }
    EXPECT_EQ(ThreadPoolReadError(nullptr, nullptr, 0), 0u);
}

TEST(ThreadPoolTest, PendingErrorIsReadInPiecesUntilItFits)
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
}

TEST(ThreadPoolTest, NullHandleFailsWithTheInvalidHandleStatus)
{
    std::size_t errorSize = 0;
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
        try
        {
            call.Create();
            ADD_FAILURE() << "no error";
        }
        catch (const Common::Error& error)
        {
            EXPECT_EQ(error.GetCode(), Common::ThreadCreationFailedCode);
            EXPECT_STREQ(error.GetLineTag().Function, call.Function);
            EXPECT_EQ(error.GetSubError().GetNumber("code"),
                      0x80070000u | Common::WindowsErrorFromErrno(EAGAIN));
        }
    }
}

TEST(ThreadPoolTest, TerminateAndSetPriorityAssertAndChangeNothing)
{
    AssertCapture capture;
    Probe probe;
    probe.Result = 3;
    const auto thread = ThreadPool::CreateThread(Observe, &probe, Common::AboveNormalPriority);
    thread->Terminate();
    thread->SetPriority(Common::LowestPriority);
    const std::string text = "!\"not supported for a pool thread\"";
    EXPECT_EQ(capture.Expressions(), (std::vector<std::string>{text, text}));
    EXPECT_EQ(thread->GetPriority(), Common::AboveNormalPriority);

    probe.Release.Set();
    thread->Wait();
    EXPECT_EQ(thread->GetExitCode(), 3u);
}

} // namespace
