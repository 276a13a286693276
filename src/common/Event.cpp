#include "common/Event.h"

#include "common/SafeAssert.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>
#include <vector>

namespace Common
{
namespace
{

// One thread inside WaitAny. The first event that claims it decides the result; every later claim fails,
// so an auto-reset event never hands its signal to a waiter that another event already released.
struct Waiter
{
    std::mutex Lock;
    std::condition_variable Woken;
    int Index = -1;

    bool Claim(int index)
    {
        std::lock_guard<std::mutex> guard(Lock);
        if (Index != -1)
        {
            return false;
        }
        Index = index;
        Woken.notify_one();
        return true;
    }
};

struct Registration
{
    Waiter* Sleeper;
    int Index;
};

} // namespace

// Lock order: an event's Lock, then a waiter's Lock.
struct Event::Data
{
    explicit Data(bool manualReset, bool initialState) : Manual(manualReset), Signalled(initialState) {}

    // Releases registered waiters: every one for a manual-reset event, the first that can still be
    // claimed for an auto-reset one. True if an auto-reset event handed its signal over.
    bool Release()
    {
        if (Manual)
        {
            for (const Registration& registration : Waiters)
            {
                registration.Sleeper->Claim(registration.Index);
            }
            Waiters.clear();
            return false;
        }
        while (!Waiters.empty())
        {
            const Registration first = Waiters.front();
            Waiters.erase(Waiters.begin());
            if (first.Sleeper->Claim(first.Index))
            {
                return true;
            }
        }
        return false;
    }

    void Unregister(const Waiter* sleeper)
    {
        Waiters.erase(std::remove_if(Waiters.begin(), Waiters.end(),
                                     [sleeper](const Registration& entry)
                                     { return entry.Sleeper == sleeper; }),
                      Waiters.end());
    }

    std::mutex Lock;
    const bool Manual;
    bool Signalled;
    std::vector<Registration> Waiters;
};

Event::Event(bool manualReset, bool initialState) : State(new (std::nothrow) Data(manualReset, initialState))
{
    SAFE_ASSERT_TEXT(State != nullptr, "EVENT_DATA != 0");
}

Event::~Event() = default;

void Event::Set()
{
    if (State == nullptr)
    {
        return;
    }
    std::lock_guard<std::mutex> guard(State->Lock);
    if (!State->Release())
    {
        State->Signalled = true;
    }
}

void Event::Reset()
{
    if (State == nullptr)
    {
        return;
    }
    std::lock_guard<std::mutex> guard(State->Lock);
    State->Signalled = false;
}

void Event::Pulse()
{
    if (State == nullptr)
    {
        return;
    }
    std::lock_guard<std::mutex> guard(State->Lock);
    State->Release();
    State->Signalled = false;
}

std::size_t Event::GetWaiterCount() const
{
    if (State == nullptr)
    {
        return 0;
    }
    std::lock_guard<std::mutex> guard(State->Lock);
    return State->Waiters.size();
}

void Event::Wait()
{
    Wait(Infinite);
}

bool Event::Wait(std::uint32_t milliseconds)
{
    Event* const self = this;
    return WaitAny(&self, 1, milliseconds) == 0;
}

int Event::WaitAny(Event* const* events, std::size_t count, std::uint32_t milliseconds)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        // A missing event makes the wait fail at once rather than hang.
        if (events[i] == nullptr || events[i]->State == nullptr)
        {
            return -1;
        }
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);

    // Registration: check each event and register in one step under its lock, so that a Set arriving
    // between two events either finds the waiter registered or is seen as the signalled state.
    Waiter sleeper;
    std::size_t registered = 0;
    for (; registered < count; ++registered)
    {
        Data& data = *events[registered]->State;
        std::lock_guard<std::mutex> eventGuard(data.Lock);
        std::lock_guard<std::mutex> waiterGuard(sleeper.Lock);
        if (sleeper.Index != -1)
        {
            break;
        }
        if (data.Signalled)
        {
            data.Signalled = data.Manual;
            sleeper.Index = static_cast<int>(registered);
            break;
        }
        data.Waiters.push_back({&sleeper, static_cast<int>(registered)});
    }

    {
        std::unique_lock<std::mutex> lock(sleeper.Lock);
        const auto claimed = [&sleeper] { return sleeper.Index != -1; };
        if (milliseconds == Infinite)
        {
            sleeper.Woken.wait(lock, claimed);
        }
        else
        {
            sleeper.Woken.wait_until(lock, deadline, claimed);
        }
    }

    // Taking each event's lock again also waits for a claiming Set to leave it, so the caller may
    // destroy the event as soon as this returns.
    for (std::size_t i = 0; i < registered; ++i)
    {
        Data& data = *events[i]->State;
        std::lock_guard<std::mutex> guard(data.Lock);
        data.Unregister(&sleeper);
    }
    std::lock_guard<std::mutex> guard(sleeper.Lock);
    return sleeper.Index;
}

} // namespace Common
