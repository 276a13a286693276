#include "async/Metronome.h"

#include "ManualAction.h"
#include "async/MetronomeListener.h"
#include "common/AssertCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <thread>

namespace
{

// Beats when the test says so: a wait is a ManualAction run, a beat its completion with success.
class HandMetronome final : public Async::Metronome
{
public:
    std::shared_ptr<Async::Job> Wait(Async::ActionHandler& handler) override { return Beat.Perform(handler); }
    bool Tick() { return Beat.Complete(Common::Success); }

private:
    AsyncTesting::ManualAction Beat;
};

class CountingListener final : public Async::MetronomeListener
{
public:
    std::atomic<int> Ticks{0};
    std::function<void()> Hook;

protected:
    void OnTick() override
    {
        Ticks.fetch_add(1);
        if (Hook)
        {
            Hook();
        }
    }
};

TEST(MetronomeListenerTest, ListeningIsOneShotAndRearmedFromOnTickAndASecondListenWithoutATickAsserts)
{
    HandMetronome metronome;
    CountingListener listener;
    listener.Stop(); // idle: returns at once
    {
        Testing::AssertCapture capture;
        EXPECT_TRUE(listener.Listen(metronome));
        EXPECT_FALSE(listener.Listen(metronome));
        EXPECT_EQ(capture.Expressions(), std::vector<std::string>{"!\"Metronome logic broken.\""});
    }
    listener.Stop();
    EXPECT_EQ(listener.Ticks.load(), 0); // a cancelled tick is no tick
    EXPECT_FALSE(metronome.Tick());

    ASSERT_TRUE(listener.Listen(metronome));
    EXPECT_TRUE(metronome.Tick());
    EXPECT_FALSE(metronome.Tick());
    EXPECT_EQ(listener.Ticks.load(), 1);
    listener.Stop();
    listener.Hook = [&]
    {
        if (listener.Ticks.load() < 4)
        {
            EXPECT_TRUE(listener.Listen(metronome));
        }
    };
    ASSERT_TRUE(listener.Listen(metronome));
    while (metronome.Tick())
    {
    }
    EXPECT_EQ(listener.Ticks.load(), 4);
}

TEST(MetronomeListenerTest, StopDuringOnTickWaitsUntilCompletedHasEnded)
{
    HandMetronome metronome;
    CountingListener listener;
    std::promise<void> entered;
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    listener.Hook = [&]
    {
        EXPECT_TRUE(listener.Listen(metronome)); // armed, but Stop wins
        entered.set_value();
        released.wait();
    };
    ASSERT_TRUE(listener.Listen(metronome));
    std::thread ticker([&] { metronome.Tick(); });
    entered.get_future().wait();

    std::atomic<bool> stopped{false};
    std::thread stopper(
        [&]
        {
            listener.Stop();
            stopped.store(true);
        });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(stopped.load());
    release.set_value();
    stopper.join();
    ticker.join();
    EXPECT_TRUE(stopped.load());
    EXPECT_FALSE(metronome.Tick()); // the armed wait never started

    // The stop's cancel came after the tick: it must not cancel the next wait.
    listener.Hook = nullptr;
    Testing::AssertCapture capture;
    ASSERT_TRUE(listener.Listen(metronome));
    EXPECT_TRUE(metronome.Tick());
    EXPECT_EQ(listener.Ticks.load(), 2);
    EXPECT_TRUE(capture.Expressions().empty());
}

} // namespace
