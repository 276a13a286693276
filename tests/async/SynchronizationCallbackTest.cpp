// The per-thread stacks of synchronisation callbacks, and forks that move work off a blocking thread.
#include "async/Errors.h"
#include "async/FakeAsyncService.h"
#include "async/SynchronizationFork.h"
#include "common/AssertCapture.h"
#include "common/Trace.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>

namespace
{

std::vector<std::string> Log;

// Notes its name on each call; `ends` ends the walk.
struct Named final : Async::SynchronizationCallback
{
    Named(std::string name, std::uint32_t level, bool ends = false)
        : SynchronizationCallback(level), Name(std::move(name)), Ends(ends)
    {
    }
    bool OnSynchronize(void*) override { return Log.push_back(Name), Ends; }
    std::string Name;
    bool Ends;
};

TEST(SynchronizationCallbackTest, WalksFromTheTopAskingActiveCallbacksUntilOneEndsIt)
{
    Log.clear();
    Async::TlsSynchronizationCallbackStorage storage;
    Named passive("passive", 0), ending("ending", 2, true), middle("middle", 1), top("top", 1);
    for (Named* callback : {&passive, &ending, &middle, &top})
    {
        storage.Push(*callback);
    }
    EXPECT_EQ(middle.GetLevel(), 2u); // raised to the level below it
    EXPECT_EQ(passive.GetLevel(), 0u);
    storage.Notify(nullptr);
    EXPECT_EQ(Log, (std::vector<std::string>{"top", "middle", "ending"}));
    EXPECT_EQ(passive.GetCalls(), 0u);
    std::thread([&storage] { EXPECT_EQ(storage.GetTop(), nullptr); }).join(); // a stack per thread

    storage.Pop();
    storage.Pop();
    storage.Pop();
    Log.clear();
    storage.Notify(nullptr);
    EXPECT_EQ(passive.GetCalls(), 1u); // reached, not asked
    EXPECT_TRUE(Log.empty());
    storage.Push(middle);
    {
        Testing::AssertCapture asserts;
        Async::TlsSynchronizationCallbackStorage other;
        other.Push(middle); // still on the first stack
        EXPECT_EQ(asserts.Expressions(), std::vector<std::string>{"Next == 0"});
        other.Pop();
    }
    storage.Pop();
}

// Forks the work it is given when allowed to.
struct TestFork final : Async::SynchronizationFork
{
    bool CanFork(void*) override { return Allowed; }
    void Fork(std::shared_ptr<Async::Work>& out) override { out = std::move(Next); }
    bool Allowed = false;
    std::shared_ptr<Async::Work> Next;
};

struct CountingWork final : Async::Work
{
    void Run() override
    {
        if (++Runs > 1)
        {
            throw std::runtime_error("lost");
        }
    }
    void Describe(Async::WorkDescription& out) const override { out = Async::WorkDescription(); }
    int Runs = 0;
};

// The errors traced while alive.
struct TraceCapture
{
    TraceCapture() { Errors.clear(), Common::RegisterTrace(Functions); }
    ~TraceCapture() { Common::UnregisterTrace(Functions); }
    static void Text(int, std::uint32_t, std::uint32_t, Common::WideStringView) {}
    static void Error(int, const Common::Error& error) { Errors.push_back(error.GetCode()); }
    static inline std::vector<std::uint32_t> Errors;
    Common::TraceFunctions Functions{&Text, nullptr, &Error};
};

TEST(SynchronizationCallbackTest, ForkRegistersOnTheServiceStackAndPostsItsWorkKeptAlive)
{
    Testing::FakeAsyncService service;
    TestFork fork;
    EXPECT_EQ(service.Storage.GetTop(), &fork);
    Async::NotifySynchronization(); // can't fork
    auto work = std::make_shared<CountingWork>();
    const std::weak_ptr<CountingWork> watched = work;
    fork.Allowed = true;
    fork.Next = std::move(work);
    Async::NotifySynchronization();
    EXPECT_EQ(fork.GetAttempts(), 2u);
    EXPECT_EQ(fork.GetForks(), 1u);

    const auto posted = service.Take();
    ASSERT_EQ(posted.Work, watched.lock().get());
    TraceCapture traces;
    posted.Handler->Completed(Async::Errors::Canceled()); // refused by the service
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(TraceCapture::Errors, std::vector<std::uint32_t>{Async::ErrorCodes::Canceled});
}

TEST(SynchronizationCallbackTest, WithoutAServiceTheWorkRunsHereAndAFailureIsTraced)
{
    auto work = std::make_shared<CountingWork>();
    Async::SynchronizationFork::Dispatch(nullptr, work);
    TraceCapture traces;
    Async::SynchronizationFork::Dispatch(nullptr, work); // throws this time
    EXPECT_EQ(work->Runs, 2);
    EXPECT_EQ(TraceCapture::Errors, std::vector<std::uint32_t>{Async::ErrorCodes::WorkFailed});
}

} // namespace
