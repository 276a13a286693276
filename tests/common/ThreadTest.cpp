#include "common/Thread.h"

#include "common/Error.h"
#include "common/Event.h"
#include "common/SafeAssert.h"
#include "common/SystemMessages.h"
#include "common/ThreadIdentity.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace
{

using Common::Thread;

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

// What a thread function saw; it waits for Release before it returns.
struct Probe
{
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

TEST(ThreadTest, RunsTheFunctionAndKeepsItsExitCode)
{
    Probe probe;
    probe.Result = 1234;
    Thread thread(Observe, &probe);
    EXPECT_FALSE(thread.Wait(20));
    EXPECT_EQ(thread.GetExitCode(), Common::StillActiveExitCode);

    probe.Release.Set();
    thread.Wait();
    EXPECT_TRUE(thread.Wait(0));
    EXPECT_EQ(thread.GetExitCode(), 1234u);
    EXPECT_EQ(thread.GetThreadId(), probe.IdSeen);
    EXPECT_NE(probe.IdSeen, Common::GetCurrentThreadId());
}

TEST(ThreadTest, RunsWithTheIdentityOfItsCreatorWhoseOwnIsUnchanged)
{
    Probe impersonated;
    impersonated.Release.Set();
    Probe plain;
    plain.Release.Set();
    {
        Common::ThreadIdentity scope(42);
        Thread thread(Observe, &impersonated);
        EXPECT_EQ(Common::ThreadIdentity::GetCurrent(), 42u);
        thread.Wait();
    }
    EXPECT_EQ(Common::ThreadIdentity::GetCurrent(), Common::ProcessIdentity);
    Thread(Observe, &plain).Wait();

    EXPECT_EQ(impersonated.IdentitySeen, 42u);
    EXPECT_EQ(plain.IdentitySeen, Common::ProcessIdentity);
}

TEST(ThreadTest, FailedCreationThrowsCodeSevenWithTheSystemCauseAndKeepsTheIdentity)
{
    Common::ThreadIdentity scope(7);
    Common::Detail::FailNextThreadCreation(EAGAIN);
    Probe probe;
    try
    {
        Thread thread(Observe, &probe);
        ADD_FAILURE() << "no error";
    }
    catch (const Common::Error& error)
    {
        EXPECT_EQ(error.GetCode(), Common::ThreadCreationFailedCode);
        EXPECT_STREQ(error.GetLineTag().Function, "Common::Thread::Thread");
        const Common::Error cause = error.GetSubError();
        EXPECT_EQ(cause.GetCode(), Common::SystemErrorCode);
        EXPECT_EQ(cause.GetNumber("code"), 0x80070000u | Common::WindowsErrorFromErrno(EAGAIN));
    }
    EXPECT_EQ(Common::ThreadIdentity::GetCurrent(), 7u);
}

TEST(ThreadTest, ThreadOutlivesItsObjectAndFinishesItsFunction)
{
    struct Shared
    {
        Common::Event Release{true, false};
        Common::Event Done{true, false};
    } shared;
    {
        Thread thread(
            [](void* argument) -> unsigned
            {
                auto& data = *static_cast<Shared*>(argument);
                data.Release.Wait();
                data.Done.Set();
                return 0;
            },
            &shared);
    }
    shared.Release.Set();
    EXPECT_TRUE(shared.Done.Wait(5000));
}

TEST(ThreadTest, TerminateAssertsAndLeavesTheThreadRunning)
{
    AssertCapture capture;
    Probe probe;
    probe.Result = 5;
    Thread thread(Observe, &probe);
    thread.Terminate();
    EXPECT_EQ(capture.Expressions(), std::vector<std::string>{"!\"not supported for a thread\""});
    EXPECT_FALSE(thread.Wait(0));
    probe.Release.Set();
    thread.Wait();
    EXPECT_EQ(thread.GetExitCode(), 5u);
}

TEST(ThreadTest, PriorityIsKeptAndUnknownValuesCountAsNormal)
{
    Probe probe;
    Thread thread(Observe, &probe);
    EXPECT_EQ(thread.GetPriority(), Common::NormalPriority);
    const struct
    {
        int Given;
        int Reported;
    } cases[] = {{Common::LowestPriority, Common::LowestPriority},
                 {Common::BelowNormalPriority, Common::BelowNormalPriority},
                 {17, Common::NormalPriority},
                 {-3, Common::NormalPriority},
                 {Common::AboveNormalPriority, Common::AboveNormalPriority}};
    for (const auto& priority : cases)
    {
        thread.SetPriority(priority.Given);
        EXPECT_EQ(thread.GetPriority(), priority.Reported) << "given " << priority.Given;
    }
    probe.Release.Set();
    thread.Wait();
    thread.SetPriority(Common::LowestPriority);
    EXPECT_EQ(thread.GetPriority(), Common::LowestPriority);
}

} // namespace
