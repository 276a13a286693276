#include "async/MetronomeListener.h"

#include "common/Event.h"
#include "common/SafeAssert.h"

#include <atomic>
#include <mutex>

namespace Async
{
namespace
{

// Guards the State of every listener.
std::mutex& ListenersLock()
{
    static std::mutex lock;
    return lock;
}

// The listener whose OnTick runs on this thread, so that its Listen arms the next wait.
thread_local const MetronomeListener* TickingListener = nullptr;

// What a Stop waits on. References: one for State, one for each waiting Stop.
class Waiter
{
public:
    virtual ~Waiter() = default;

    void AddReference() { References.fetch_add(1, std::memory_order_relaxed); }
    void Release()
    {
        if (References.fetch_sub(1, std::memory_order_acq_rel) == 1)
        {
            delete this;
        }
    }

    // Manual reset: every Stop joined to it wakes.
    Common::Event Done{true, false};

private:
    std::atomic<int> References{1};
};

class MetronomeWait final : public Action
{
public:
    explicit MetronomeWait(Metronome& metronome) : Source(metronome) {}
    std::shared_ptr<Job> Perform(ActionHandler& handler) override { return Source.Wait(handler); }

private:
    Metronome& Source;
};

class IgnoredResult final : public ActionHandler
{
public:
    void Completed(const Common::Error&) override {}
};

// Never performed: the control cancels the run before it starts.
class NoAction final : public Action
{
public:
    std::shared_ptr<Job> Perform(ActionHandler& handler) override
    {
        handler.Completed(Common::Success);
        return nullptr;
    }
};

} // namespace

void MetronomeListener::RunWait(Metronome& metronome)
{
    MetronomeWait wait(metronome);
    Control.Run(wait, *this, nullptr);
}

void MetronomeListener::DropStaleCancel()
{
    // While idle nobody may cancel on this listener's behalf: a cancel left in the control comes from a
    // Stop whose wait had ended already, and would kill the next wait before it starts. A run from that
    // state is cancelled without performing anything, which consumes it.
    if (Control.GetState() == JobControl::StateCancelScheduledWaitAll)
    {
        NoAction none;
        IgnoredResult ignored;
        Control.Run(none, ignored, nullptr);
    }
}

bool MetronomeListener::Listen(Metronome& metronome)
{
    {
        std::lock_guard<std::mutex> guard(ListenersLock());
        if (State == StateWorking && TickingListener == this && Rearmed == nullptr)
        {
            Rearmed = &metronome;
            return true;
        }
        if (State != StateIdle)
        {
            SAFE_ASSERT_TEXT(false, "!\"Metronome logic broken.\"");
            return false;
        }
        State = StateWorking;
        DropStaleCancel();
    }
    RunWait(metronome);
    return true;
}

void MetronomeListener::Completed(const Common::Error& result)
{
    if (result.GetCode() == 0)
    {
        const MetronomeListener* outer = TickingListener;
        TickingListener = this;
        OnTick();
        TickingListener = outer;
    }

    Waiter* waiter = nullptr;
    Metronome* next = nullptr;
    {
        std::lock_guard<std::mutex> guard(ListenersLock());
        if (State != StateWorking && State != StateIdle)
        {
            waiter = reinterpret_cast<Waiter*>(State);
            State = StateIdle;
        }
        else if (Rearmed != nullptr && State == StateWorking)
        {
            next = Rearmed; // State stays StateWorking
        }
        else
        {
            State = StateIdle;
        }
        Rearmed = nullptr;
    }
    if (waiter != nullptr)
    {
        waiter->Done.Set();
        waiter->Release();
    }
    else if (next != nullptr)
    {
        RunWait(*next);
    }
}

void MetronomeListener::Stop()
{
    Waiter* waiter = nullptr;
    {
        std::lock_guard<std::mutex> guard(ListenersLock());
        if (State == StateIdle)
        {
            return;
        }
        if (State == StateWorking)
        {
            waiter = new Waiter;
            waiter->AddReference();
            State = reinterpret_cast<std::uintptr_t>(waiter);
        }
        else
        {
            // Another Stop waits already: wait with it.
            SAFE_ASSERT_TEXT(false, "State == StateWorking");
            waiter = reinterpret_cast<Waiter*>(State);
            waiter->AddReference();
        }
    }
    Control.Cancel();
    waiter->Done.Wait();
    waiter->Release();

    std::lock_guard<std::mutex> guard(ListenersLock());
    if (State == StateIdle)
    {
        DropStaleCancel();
    }
}

} // namespace Async
