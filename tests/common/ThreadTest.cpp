#include "common/Thread.h"

#include "AssertCapture.h"
#include "ThreadProbe.h"
#include "ThrownError.h"
#include "common/SystemMessages.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

namespace
{

using Common::Thread;
using Testing::Observe;
using Testing::Probe;

// Unknown priorities count as normal; Terminate is not supported: it asserts and the thread runs on.
TEST(ThreadTest, RunsTheFunctionAndKeepsItsExitCodeAndNormalisedPriorityWhileTerminateOnlyAsserts)
{
    Testing::AssertCapture capture;
    Probe probe;
    probe.Result = 1234;
    Thread thread(Observe, &probe);
    EXPECT_FALSE(thread.Wait(20));
    EXPECT_EQ(thread.GetExitCode(), Common::StillActiveExitCode);
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
    thread.Terminate();
    EXPECT_EQ(capture.Expressions(), std::vector<std::string>{"!\"not supported for a thread\""});
    EXPECT_FALSE(thread.Wait(0));

    probe.Release.Set();
    thread.Wait();
    EXPECT_TRUE(thread.Wait(0));
    EXPECT_EQ(thread.GetExitCode(), 1234u);
    EXPECT_EQ(thread.GetThreadId(), probe.IdSeen);
    EXPECT_NE(probe.IdSeen, Common::GetCurrentThreadId());
    thread.SetPriority(Common::LowestPriority);
    EXPECT_EQ(thread.GetPriority(), Common::LowestPriority);
}

TEST(ThreadTest, RunsWithTheIdentityOfItsCreatorWhoseOwnIsUnchanged)
{
    Probe impersonated(0);
    Probe plain(0);
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
    const Common::Error error = Testing::ThrownError([&] { Thread thread(Observe, &probe); });
    EXPECT_EQ(error.GetCode(), Common::ThreadCreationFailedCode);
    EXPECT_STREQ(error.GetLineTag().Function, "Common::Thread::Thread");
    EXPECT_EQ(error.GetSubError().GetCode(), Common::SystemErrorCode);
    EXPECT_EQ(error.GetSubError().GetNumber("code"), 0x80070000u | Common::WindowsErrorFromErrno(EAGAIN));
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

} // namespace
