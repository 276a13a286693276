#include "async/DefaultService.h"

#include "async/Errors.h"
#include "async/FakeAsyncService.h"
#include "common/Event.h"
#include "common/ThreadId.h"
#include "common/ThreadIdentity.h"
#include "common/VirtualClock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <stdexcept>

namespace
{

using Async::Detail::DefaultService;

class FunctionWork final : public Async::Work
{
public:
    explicit FunctionWork(std::function<void()> body) : Body(std::move(body)) {}
    void Run() override
    {
        ++Runs;
        Body();
    }
    void Describe(Async::WorkDescription& out) const override { out = Async::WorkDescription(); }

    std::function<void()> Body;
    std::atomic<int> Runs{0};
};

class Recorder final : public Async::ActionHandler
{
public:
    void Completed(const Common::Error& result) override
    {
        Result = result;
        Thread = Common::GetCurrentThreadId();
        ++Calls;
    }

    Common::Error Result;
    Common::ThreadId Thread = 0;
    std::atomic<int> Calls{0};
};

DefaultService::Options SmallService(unsigned maximumThreads = 256)
{
    DefaultService::Options options;
    options.Pool = {2, maximumThreads, 10000};
    return options;
}

TEST(DefaultServiceTest, ExecuteRunsWorkOnAServiceThreadAndCompletesOnceWithAnExceptionAsError)
{
    DefaultService service(SmallService());
    Common::ThreadId ranOn = 0;
    FunctionWork work([&ranOn] { ranOn = Common::GetCurrentThreadId(); });
    FunctionWork failing([] { throw Common::Error(COMMON_LOCATION("Test"), 0x00FA0001); });
    FunctionWork standard([] { throw std::runtime_error("broken"); });
    Recorder handler, failed, broken;
    const std::shared_ptr<Async::Job> job = service.Execute(work, handler);
    ASSERT_NE(job, nullptr);
    service.Execute(failing, failed);
    service.Execute(standard, broken);
    service.WaitUntilIdle();
    EXPECT_EQ(handler.Calls.load(), 1);
    EXPECT_EQ(handler.Result.GetCode(), 0u);
    EXPECT_NE(ranOn, Common::GetCurrentThreadId());
    EXPECT_EQ(handler.Thread, ranOn);
    job->Cancel();
    EXPECT_EQ(handler.Calls.load(), 1);
    EXPECT_EQ(failed.Result.GetCode(), Async::ErrorCodes::Exception);
    EXPECT_EQ(failed.Result.GetSubError().GetCode(), 0x00FA0001u);
    EXPECT_EQ(broken.Result.GetCode(), Async::ErrorCodes::StdException);
}

TEST(DefaultServiceTest, CancelBeforeStartCompletesWithCanceledAndNeverRunsTheWork)
{
    DefaultService service(SmallService(1));
    Common::Event started(true, false);
    Common::Event release(true, false);
    FunctionWork blocker(
        [&]
        {
            started.Set();
            release.Wait();
        });
    FunctionWork queued([] {});
    Recorder blockerHandler;
    Recorder queuedHandler;
    const auto running = service.Execute(blocker, blockerHandler);
    const auto waiting = service.Execute(queued, queuedHandler);
    started.Wait();

    waiting->Cancel();
    EXPECT_EQ(queuedHandler.Calls.load(), 1);
    EXPECT_EQ(queuedHandler.Result.GetCode(), Async::ErrorCodes::Canceled);
    // Once started, a cancel changes nothing: the work runs to its end.
    running->Cancel();
    EXPECT_EQ(blockerHandler.Calls.load(), 0);

    release.Set();
    service.WaitUntilIdle();
    EXPECT_EQ(queued.Runs.load(), 0);
    EXPECT_EQ(queuedHandler.Calls.load(), 1);
    EXPECT_EQ(blockerHandler.Calls.load(), 1);
    EXPECT_EQ(blockerHandler.Result.GetCode(), 0u);
}

TEST(DefaultServiceTest, ShutdownRunsQueuedWorkTerminateCompletesItWithTheReason)
{
    const Common::Error reason(COMMON_LOCATION("Test"), 0x00FA0042);
    for (const bool terminate : {false, true})
    {
        DefaultService service(SmallService(1));
        Common::Event release(true, false);
        FunctionWork blocker([&release] { release.Wait(); });
        FunctionWork queued([] {});
        FunctionWork late([] {});
        Recorder blockerHandler;
        Recorder queuedHandler;
        Recorder lateHandler;
        service.Execute(blocker, blockerHandler);
        service.Execute(queued, queuedHandler);
        terminate ? service.Terminate(reason) : service.Shutdown(reason);
        service.Execute(late, lateHandler);
        EXPECT_EQ(lateHandler.Result.GetCode(), 0x00FA0042u);
        release.Set();
        service.WaitForThreads();
        EXPECT_EQ(queued.Runs.load(), terminate ? 0 : 1);
        EXPECT_EQ(queuedHandler.Result.GetCode(), terminate ? 0x00FA0042u : 0u);
        EXPECT_EQ(late.Runs.load(), 0);
        EXPECT_EQ(blockerHandler.Calls.load() + queuedHandler.Calls.load() + lateHandler.Calls.load(), 3);
    }
}

TEST(DefaultServiceTest, ThreadEnvironmentCarriesTheIdentityAcrossThreads)
{
    DefaultService service(SmallService());
    const Async::ThreadEnvironment& environment = service.GetThreadEnvironment();
    Async::ThreadEnvironment::Snapshot captured;
    {
        Common::ThreadIdentity impersonating(42);
        captured = environment.Capture();
    }
    Common::Identity seen = 0;
    Common::Identity restored = 99;
    FunctionWork work(
        [&]
        {
            const auto previous = environment.Apply(captured);
            seen = Common::ThreadIdentity::GetCurrent();
            environment.Apply(previous);
            restored = Common::ThreadIdentity::GetCurrent();
        });
    Recorder handler;
    service.Execute(work, handler);
    service.WaitUntilIdle();
    EXPECT_EQ(seen, 42u);
    EXPECT_EQ(restored, Common::ProcessIdentity);
}

class ServiceMetronomeTest : public ::testing::Test
{
protected:
    ServiceMetronomeTest() { Common::SetClock(&Clock); }
    ~ServiceMetronomeTest() override
    {
        Service.Terminate(Async::Errors::Canceled());
        Common::SetClock(nullptr);
    }

    Common::VirtualClock Clock;
    DefaultService Service{SmallService()};
};

TEST_F(ServiceMetronomeTest, WaitCompletesAtTheNextBeatOfItsPeriod)
{
    const auto metronome = Service.GetMetronome().GetMetronome(3);
    EXPECT_EQ(Service.GetMetronome().GetMetronome(3), metronome);
    Recorder handler;
    metronome->Wait(handler);
    Clock.Advance(2000);
    Service.WaitUntilIdle();
    EXPECT_EQ(handler.Calls.load(), 0);
    Clock.Advance(1000);
    Service.WaitUntilIdle();
    EXPECT_EQ(handler.Calls.load(), 1);
    EXPECT_EQ(handler.Result.GetCode(), 0u);
    EXPECT_NE(handler.Thread, Common::GetCurrentThreadId());
}

TEST_F(ServiceMetronomeTest, CancelledWaitCompletesWithCanceledAndTerminateEndsPendingWaitsWithTheReason)
{
    const auto metronome = Service.GetMetronome().GetMetronome(1);
    Recorder cancelled;
    Recorder kept;
    const auto job = metronome->Wait(cancelled);
    metronome->Wait(kept);
    job->Cancel();
    EXPECT_EQ(cancelled.Result.GetCode(), Async::ErrorCodes::Canceled);
    Clock.Advance(1000);
    Service.WaitUntilIdle();
    EXPECT_EQ(cancelled.Calls.load(), 1);
    EXPECT_EQ(kept.Calls.load(), 1);
    // Nobody waits now: the beat has stopped.
    Clock.Advance(5000);
    EXPECT_EQ(Service.GetTicks(), 1u);

    Recorder pending;
    Service.GetMetronome().GetMetronome(60)->Wait(pending);
    Service.Terminate(Common::Error(COMMON_LOCATION("Test"), 0x00FA0042));
    EXPECT_EQ(pending.Result.GetCode(), 0x00FA0042u);
}

TEST(AsyncServiceTest, GivesTheInstalledServiceOrElseTheProcessDefault)
{
    Async::Service* first = nullptr;
    Async::Service* second = nullptr;
    Async::GetAsyncService(&first);
    Async::GetAsyncService(&second);
    EXPECT_EQ(first, &Async::Detail::GetDefaultService());
    EXPECT_EQ(first, second);
    EXPECT_FALSE(Async::Detail::ConfigureDefaultService({}));
    {
        Testing::FakeAsyncService host;
        Async::Service* installed = nullptr;
        Async::GetAsyncService(&installed);
        EXPECT_EQ(installed, &host);
        // Ending is left to the host for a service it installed.
        Async::TerminateAsyncService(installed, nullptr);
    }
    Async::Service* restored = nullptr;
    Async::GetAsyncService(&restored);
    EXPECT_EQ(restored, first);
    FunctionWork work([] {});
    Recorder handler;
    restored->Execute(work, handler);
    Async::Detail::GetDefaultService().WaitUntilIdle();
    EXPECT_EQ(handler.Result.GetCode(), 0u);
}

} // namespace
