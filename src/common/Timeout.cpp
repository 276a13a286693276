#include "common/Timeout.h"

#include "common/Clock.h"
#include "common/Error.h"
#include "common/Event.h"
#include "common/MonotonicTicks.h"
#include "common/Mutex.h"
#include "common/SafeAssert.h"
#include "common/ThreadPool.h"
#include "common/Trace.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <set>

namespace Common
{
namespace Detail
{

class TimeoutImpl;

// State shared by the monitor object and its thread. Lock guards the queue and Active; it is held only to
// look at the queue, never across a callback. Lock order: entry, then monitor.
struct MonitorData
{
    struct Entry
    {
        std::uint64_t DueTime;
        TimeoutImpl* Address;
        std::weak_ptr<TimeoutImpl> Impl;

        // Due time first; equal due times fire in address order.
        bool operator<(const Entry& other) const
        {
            return DueTime != other.DueTime ? DueTime < other.DueTime : Address < other.Address;
        }
    };

    std::mutex Lock;
    // Signalled whenever the queue shrinks or Active drops, for those who wait for quiet.
    std::condition_variable Changed;
    Event Wakeup{false, false};
    std::set<Entry> Queue;
    std::atomic<bool> Stop{false};
    // Callbacks being fired by the monitor or waiting for or running on a worker.
    int Active = 0;

    void Finished()
    {
        {
            std::lock_guard<std::mutex> guard(Lock);
            --Active;
        }
        Changed.notify_all();
    }
};

class TimeoutMonitor : NonCopyable
{
public:
    TimeoutMonitor();
    ~TimeoutMonitor();

    void Add(TimeoutImpl& entry);
    void Remove(TimeoutImpl& entry);
    MonitorData& GetData() { return *Data; }

private:
    static unsigned Run(void* argument);

    std::shared_ptr<MonitorData> Data = std::make_shared<MonitorData>();
    std::shared_ptr<ThreadAccessor> Thread;
};

// The process's one monitor, which comes and goes with its users.
std::shared_ptr<TimeoutMonitor> GetMonitor(bool create)
{
    static std::mutex lock;
    static std::weak_ptr<TimeoutMonitor> current;
    std::lock_guard<std::mutex> guard(lock);
    std::shared_ptr<TimeoutMonitor> monitor = current.lock();
    if (monitor == nullptr && create)
    {
        monitor = std::make_shared<TimeoutMonitor>();
        current = monitor;
    }
    return monitor;
}

class TimeoutImpl : NonCopyable
{
public:
    TimeoutImpl(TimeoutFunction function, void* argument, bool asynchronous)
        : Function(function), Argument(argument), Monitor(GetMonitor(true)), Asynchronous(asynchronous)
    {
    }

    ~TimeoutImpl() { SAFE_ASSERT(!Started); }

    // Arming takes no entry lock: no other thread can reach the entry before Add publishes it under the
    // monitor's lock. (Taking it would also order a cycle's lock before an entry lock that a firing
    // cycle holds while it takes the cycle's lock.)
    void Start(std::uint32_t delay)
    {
        SAFE_ASSERT(!Started);
        Started = true;
        DueTime = GetMonotonicTicks() + delay;
        Monitor->Add(*this);
    }

    void Stop()
    {
        MutexLock lock(Lock);
        if (Started)
        {
            Started = false;
            Monitor->Remove(*this);
            Finished.Set();
        }
    }

    void Wait()
    {
        if (RunningThread.load() == GetCurrentThreadId())
        {
            return; // a callback does not wait for itself
        }
        Finished.Wait();
        JoinWorker();
    }

    bool Wait(std::uint32_t milliseconds)
    {
        if (RunningThread.load() == GetCurrentThreadId())
        {
            return true;
        }
        if (!Finished.Wait(milliseconds))
        {
            return false;
        }
        JoinWorker();
        return true;
    }

    bool IsFinished() const { return !Started; }
    std::uint32_t GetExitCode() const { return ExitCode; }

    // Runs the callback if still armed; an asynchronous entry first moves to a worker of its own. The
    // caller holds a reference, so dropping the last handle inside the callback frees nothing yet.
    static void Fire(const std::shared_ptr<TimeoutImpl>& entry, bool onWorker)
    {
        MutexLock lock(entry->Lock);
        if (!entry->Started)
        {
            return;
        }
        if (entry->Asynchronous && !onWorker)
        {
            entry->StartWorker(entry);
            return;
        }
        entry->RunningThread = GetCurrentThreadId();
        entry->ExitCode = entry->Function(entry->Argument);
        entry->RunningThread = 0;
        entry->Started = false;
        entry->Finished.Set();
    }

    std::uint64_t DueTime = 0;
    std::weak_ptr<TimeoutImpl> Self;

private:
    void StartWorker(const std::shared_ptr<TimeoutImpl>& self)
    {
        MonitorData& data = Monitor->GetData();
        {
            std::lock_guard<std::mutex> guard(data.Lock);
            ++data.Active;
        }
        auto* reference = new std::shared_ptr<TimeoutImpl>(self);
        try
        {
            Worker = ThreadPool::CreateThread(RunWorker, reference, 2);
        }
        catch (const Error& error)
        {
            // No exception leaves the monitor: the entry ends as stopped.
            delete reference;
            TraceError(4, error);
            Started = false;
            Finished.Set();
            data.Finished();
        }
    }

    static unsigned RunWorker(void* argument)
    {
        std::shared_ptr<TimeoutImpl> entry = std::move(*static_cast<std::shared_ptr<TimeoutImpl>*>(argument));
        delete static_cast<std::shared_ptr<TimeoutImpl>*>(argument);
        const std::shared_ptr<TimeoutMonitor> monitor = entry->Monitor;
        Fire(entry, true);
        entry.reset();
        monitor->GetData().Finished();
        return 0;
    }

    void JoinWorker()
    {
        std::shared_ptr<ThreadAccessor> worker;
        {
            MutexLock lock(Lock);
            worker = Worker;
        }
        if (worker != nullptr && worker->GetThreadId() != GetCurrentThreadId())
        {
            worker->Wait();
        }
    }

    TimeoutFunction Function;
    void* Argument;
    std::shared_ptr<TimeoutMonitor> Monitor;
    std::shared_ptr<ThreadAccessor> Worker;
    Event Finished{true, false};
    Mutex Lock;
    std::atomic<std::uint32_t> ExitCode{0};
    std::atomic<ThreadId> RunningThread{0};
    bool Asynchronous;
    std::atomic<bool> Started{false};
};

TimeoutMonitor::TimeoutMonitor()
{
    auto* reference = new std::shared_ptr<MonitorData>(Data);
    try
    {
        Thread = ThreadPool::CreateThread(Run, reference, 2);
    }
    catch (...)
    {
        delete reference;
        throw;
    }
}

TimeoutMonitor::~TimeoutMonitor()
{
    Data->Stop = true;
    Data->Wakeup.Set();
    if (Thread != nullptr && Thread->GetThreadId() != GetCurrentThreadId())
    {
        Thread->Wait();
    }
}

void TimeoutMonitor::Add(TimeoutImpl& entry)
{
    bool first = false;
    {
        std::lock_guard<std::mutex> guard(Data->Lock);
        const auto inserted = Data->Queue.insert(MonitorData::Entry{entry.DueTime, &entry, entry.Self});
        first = inserted.first == Data->Queue.begin();
    }
    if (first)
    {
        Data->Wakeup.Set();
    }
}

void TimeoutMonitor::Remove(TimeoutImpl& entry)
{
    {
        std::lock_guard<std::mutex> guard(Data->Lock);
        Data->Queue.erase(MonitorData::Entry{entry.DueTime, &entry, {}});
    }
    // Removal wakes nobody: the monitor finds the queue changed at its next pass.
    Data->Changed.notify_all();
}

unsigned TimeoutMonitor::Run(void* argument)
{
    const std::shared_ptr<MonitorData> data =
        std::move(*static_cast<std::shared_ptr<MonitorData>*>(argument));
    delete static_cast<std::shared_ptr<MonitorData>*>(argument);

    data->Wakeup.Wait();
    while (!data->Stop)
    {
        const std::uint64_t now = GetMonotonicTicks();
        std::uint64_t delay = Event::Infinite;
        for (;;)
        {
            std::shared_ptr<TimeoutImpl> entry;
            {
                std::lock_guard<std::mutex> guard(data->Lock);
                if (data->Queue.empty())
                {
                    break;
                }
                const auto first = data->Queue.begin();
                if (first->DueTime > now)
                {
                    delay = first->DueTime - now;
                    break;
                }
                entry = first->Impl.lock();
                data->Queue.erase(first);
                if (entry == nullptr)
                {
                    continue; // its last handle is going away right now
                }
                ++data->Active;
            }
            TimeoutImpl::Fire(entry, false);
            entry.reset(); // may end the last timeout, and with it this monitor
            data->Finished();
        }
        if (data->Stop)
        {
            break;
        }
        const auto wait = static_cast<std::uint32_t>(std::min<std::uint64_t>(delay, Event::Infinite - 1));
        data->Wakeup.Wait(delay == Event::Infinite ? Event::Infinite : GetRealWait(wait));
    }
    return 0;
}

bool GetNextTimeoutDue(std::uint64_t& due)
{
    const std::shared_ptr<TimeoutMonitor> monitor = GetMonitor(false);
    if (monitor == nullptr)
    {
        return false;
    }
    MonitorData& data = monitor->GetData();
    std::lock_guard<std::mutex> guard(data.Lock);
    if (data.Queue.empty())
    {
        return false;
    }
    due = data.Queue.begin()->DueTime;
    return true;
}

void WakeTimeoutMonitor()
{
    if (const std::shared_ptr<TimeoutMonitor> monitor = GetMonitor(false))
    {
        monitor->GetData().Wakeup.Set();
    }
}

void WaitTimeoutsIdle(std::uint64_t now)
{
    const std::shared_ptr<TimeoutMonitor> monitor = GetMonitor(false);
    if (monitor == nullptr)
    {
        return;
    }
    MonitorData& data = monitor->GetData();
    std::unique_lock<std::mutex> guard(data.Lock);
    data.Changed.wait(
        guard, [&] { return data.Active == 0 && (data.Queue.empty() || data.Queue.begin()->DueTime > now); });
}

bool HasTimeoutMonitor()
{
    return GetMonitor(false) != nullptr;
}

const void* TimeoutAddress(const Timeout& timeout)
{
    return timeout.Impl.get();
}

} // namespace Detail

Timeout::Timeout(TimeoutFunction function, void* argument, std::uint32_t delay, bool asynchronous)
{
    auto impl = std::make_shared<Detail::TimeoutImpl>(function, argument, asynchronous);
    impl->Self = impl;
    // Handles share a reference of their own: when the last one goes, the timeout is stopped and its
    // callback waited for, while the firing path keeps the object alive with its separate reference.
    Impl = std::shared_ptr<Detail::TimeoutImpl>(impl.get(),
                                                [impl](Detail::TimeoutImpl* self) mutable
                                                {
                                                    self->Stop();
                                                    self->Wait();
                                                    impl.reset();
                                                });
    Impl->Start(delay);
}

void Timeout::Stop()
{
    if (Impl != nullptr)
    {
        Impl->Stop();
    }
}

void Timeout::Wait()
{
    if (Impl != nullptr)
    {
        Impl->Wait();
    }
}

bool Timeout::Wait(std::uint32_t milliseconds)
{
    return Impl == nullptr || Impl->Wait(milliseconds);
}

bool Timeout::IsFinished() const
{
    return Impl == nullptr || Impl->IsFinished();
}

std::uint32_t Timeout::GetExitCode() const
{
    return Impl != nullptr ? Impl->GetExitCode() : 0;
}

} // namespace Common
