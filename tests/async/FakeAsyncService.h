// An async service for tests, installed while it lives: Execute only records the work, which the test
// runs where it wants, and the metronome beats when the test says so.
#pragma once

#include "async/Metronome.h"
#include "async/Service.h"
#include "async/SynchronizationCallback.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

namespace Testing
{

class FakeAsyncService final : public Async::Service, Async::MetronomeProvider, Async::ThreadEnvironment
{
public:
    struct Posted
    {
        Async::Work* Work = nullptr;
        Async::ActionHandler* Handler = nullptr;
    };

    FakeAsyncService() { Async::InstallAsyncService(this); }
    ~FakeAsyncService() override { Async::InstallAsyncService(nullptr); }

    std::shared_ptr<Async::Job> Execute(Async::Work& work, Async::ActionHandler& handler) override
    {
        std::lock_guard<std::mutex> guard(Lock);
        Queue.push_back({&work, &handler});
        ++PostedCount;
        Changed.notify_all();
        return nullptr;
    }
    const Async::ThreadEnvironment& GetThreadEnvironment() override { return *this; }
    Async::SynchronizationCallbackStorage& GetSynchronizationCallbackStorage() override { return Storage; }
    Async::MetronomeProvider& GetMetronome() override { return *this; }

    // The next posted work; empty after ten seconds without one.
    Posted Take()
    {
        std::unique_lock<std::mutex> guard(Lock);
        Posted posted;
        if (Changed.wait_for(guard, std::chrono::seconds(10), [this] { return !Queue.empty(); }))
        {
            posted = Queue.front();
            Queue.erase(Queue.begin());
        }
        return posted;
    }
    // Completes the metronome's waits with success; false if there were none.
    bool Beat() { return Beats->Beat(); }

    Async::TlsSynchronizationCallbackStorage Storage;
    std::atomic<std::uint32_t> PeriodAsked{0};
    std::atomic<int> PostedCount{0};

private:
    struct Manual final : Async::Metronome
    {
        std::shared_ptr<Async::Job> Wait(Async::ActionHandler& handler) override
        {
            std::lock_guard<std::mutex> guard(Lock);
            return Waiting.push_back(&handler), nullptr;
        }
        bool Beat()
        {
            std::vector<Async::ActionHandler*> waiting;
            std::unique_lock<std::mutex> guard(Lock);
            waiting.swap(Waiting);
            guard.unlock();
            for (Async::ActionHandler* handler : waiting)
            {
                handler->Completed(Common::Success);
            }
            return !waiting.empty();
        }
        std::mutex Lock;
        std::vector<Async::ActionHandler*> Waiting;
    };

    std::shared_ptr<Async::Metronome> GetMetronome(std::uint32_t period) override
    {
        PeriodAsked = period;
        return Beats;
    }
    Snapshot Capture() const override { return nullptr; }
    Snapshot Apply(const Snapshot&) const override { return nullptr; }

    // Shared: a metronome watch may keep it after the service is gone.
    std::shared_ptr<Manual> Beats = std::make_shared<Manual>();
    std::mutex Lock;
    std::condition_variable Changed;
    std::vector<Posted> Queue;
};

} // namespace Testing
