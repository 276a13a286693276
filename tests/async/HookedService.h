// An async service for tests, installed while it lives, that lets a test see into a thread: OnPush runs
// for every synchronisation callback pushed on a thread's stack, before it is pushed; the thread
// environment is a number per thread (0 on a fresh thread); work posted to it runs inline; and its
// metronome never beats (a wait ends at once, cancelled).
#pragma once

#include "async/Errors.h"
#include "async/Metronome.h"
#include "async/Service.h"
#include "async/SynchronizationCallback.h"

#include <functional>
#include <memory>

namespace Testing
{

class HookedService final : public Async::Service, Async::MetronomeProvider, Async::ThreadEnvironment
{
public:
    HookedService() { Async::InstallAsyncService(this); }
    ~HookedService() override { Async::InstallAsyncService(nullptr); }

    std::shared_ptr<Async::Job> Execute(Async::Work& work, Async::ActionHandler& handler) override
    {
        work.Run();
        handler.Completed(Common::Success);
        return nullptr;
    }
    const Async::ThreadEnvironment& GetThreadEnvironment() override { return *this; }
    Async::SynchronizationCallbackStorage& GetSynchronizationCallbackStorage() override { return Storage; }
    Async::MetronomeProvider& GetMetronome() override { return *this; }

    // The calling thread's environment.
    static int& Environment()
    {
        thread_local int environment = 0;
        return environment;
    }

    std::function<void(Async::SynchronizationCallback&)> OnPush;

private:
    class HookedStorage final : public Async::SynchronizationCallbackStorage
    {
    public:
        explicit HookedStorage(HookedService& owner) : Owner(owner) {}
        void Push(Async::SynchronizationCallback& callback) override
        {
            if (Owner.OnPush)
            {
                Owner.OnPush(callback);
            }
            SynchronizationCallbackStorage::Push(callback);
        }
        Async::SynchronizationCallback* GetTop() const override { return Top(); }

    protected:
        void SetTop(Async::SynchronizationCallback* top) override { Top() = top; }

    private:
        static Async::SynchronizationCallback*& Top()
        {
            thread_local Async::SynchronizationCallback* top = nullptr;
            return top;
        }
        HookedService& Owner;
    };

    struct Silent final : Async::Metronome
    {
        std::shared_ptr<Async::Job> Wait(Async::ActionHandler& handler) override
        {
            handler.Completed(Async::Errors::Canceled());
            return nullptr;
        }
    };

    Snapshot Capture() const override { return std::make_shared<const int>(Environment()); }
    Snapshot Apply(const Snapshot& snapshot) const override
    {
        Snapshot previous = Capture();
        Environment() = snapshot != nullptr ? *static_cast<const int*>(snapshot.get()) : 0;
        return previous;
    }
    std::shared_ptr<Async::Metronome> GetMetronome(std::uint32_t) override { return Beats; }

    HookedStorage Storage{*this};
    std::shared_ptr<Silent> Beats = std::make_shared<Silent>();
};

} // namespace Testing
