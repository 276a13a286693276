#include "async/ServiceThreadPool.h"

#include "async/Errors.h"
#include "common/SafeAssert.h"
#include "common/ThreadIdentity.h"
#include "common/ThreadPool.h"
#include "common/Trace.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <vector>

namespace Async::Detail
{

struct ServiceThreadPool::State : std::enable_shared_from_this<State>
{
    explicit State(const Options& options) : Settings(options)
    {
        Settings.MaximumThreads = std::max(Settings.MaximumThreads, 1u);
    }

    // Under Lock: queued work outnumbers the threads that will come for it.
    bool NeedsThreadLocked() const
    {
        return Queue.size() > Idle + Starting && Threads < Settings.MaximumThreads;
    }

    void ReserveThreadLocked()
    {
        ++Threads;
        ++Starting;
    }

    void StartThread();
    void Serve();

    Options Settings;
    mutable std::mutex Lock;
    // Workers wait here for work.
    std::condition_variable WorkAvailable;
    // Signalled when the pool becomes idle or a worker ends.
    std::condition_variable Changed;
    std::deque<std::shared_ptr<Task>> Queue;
    // Threads counts workers from their reservation to their end; Starting those not yet serving.
    std::size_t Threads = 0;
    std::size_t Starting = 0;
    std::size_t Idle = 0;
    std::size_t Running = 0;
    std::size_t Blocked = 0;
    bool Closed = false;
    Common::Error Reason;

    std::mutex AccessorsLock;
    std::vector<std::shared_ptr<Common::ThreadAccessor>> Accessors;
};

namespace
{

struct WorkerContext
{
    ServiceThreadPool::State* Pool = nullptr;
    unsigned BlockDepth = 0;
};

thread_local WorkerContext CurrentWorker;

unsigned WorkerMain(void* argument)
{
    auto* owned = static_cast<std::shared_ptr<ServiceThreadPool::State>*>(argument);
    const std::shared_ptr<ServiceThreadPool::State> state = std::move(*owned);
    delete owned;
    state->Serve();
    return 0;
}

void RunTask(ServiceThreadPool::Task& task)
{
    // Work starts as the process, whatever the previous task left on the thread.
    Common::ThreadIdentity::SetCurrent(Common::ProcessIdentity);
    try
    {
        task.Run();
    }
    catch (...)
    {
        Common::TraceError(4, Errors::CurrentException(
                                  COMMON_LOCATION("Async::Detail::ServiceThreadPool::RunTask"), u"Work"));
    }
    Common::ThreadIdentity::SetCurrent(Common::ProcessIdentity);
}

} // namespace

void ServiceThreadPool::State::StartThread()
{
    auto* argument = new std::shared_ptr<State>(shared_from_this());
    try
    {
        std::shared_ptr<Common::ThreadAccessor> accessor =
            Common::ThreadPool::CreateThread(&WorkerMain, argument);
        std::lock_guard<std::mutex> guard(AccessorsLock);
        // Workers that ended leave their accessor behind; drop those on the way.
        std::erase_if(Accessors,
                      [](const std::shared_ptr<Common::ThreadAccessor>& thread)
                      {
                          try
                          {
                              return thread->Wait(0);
                          }
                          catch (const Common::Error&)
                          {
                              return false;
                          }
                      });
        Accessors.push_back(std::move(accessor));
        return;
    }
    catch (...)
    {
        delete argument;
        Common::TraceError(4, Errors::CurrentException(
                                  COMMON_LOCATION("Async::Detail::ServiceThreadPool::StartThread"), u"Work"));
    }
    // The queue keeps its work; the next post or blocking scope tries again.
    std::lock_guard<std::mutex> guard(Lock);
    --Threads;
    --Starting;
    Changed.notify_all();
}

void ServiceThreadPool::State::Serve()
{
    CurrentWorker.Pool = this;
    std::unique_lock<std::mutex> lock(Lock);
    --Starting;
    for (;;)
    {
        if (Queue.empty())
        {
            if (Closed)
            {
                break;
            }
            ++Idle;
            const bool woken =
                WorkAvailable.wait_for(lock, std::chrono::milliseconds(Settings.IdleMilliseconds),
                                       [this] { return !Queue.empty() || Closed; });
            --Idle;
            if (!woken && Threads > Settings.CoreThreads)
            {
                break;
            }
            continue;
        }
        std::shared_ptr<Task> task = std::move(Queue.front());
        Queue.pop_front();
        ++Running;
        lock.unlock();
        RunTask(*task);
        // Released before the lock: a task's destructor is foreign code too.
        task.reset();
        lock.lock();
        --Running;
        if (Queue.empty() && Running == 0)
        {
            Changed.notify_all();
        }
    }
    --Threads;
    Changed.notify_all();
    lock.unlock();
    CurrentWorker.Pool = nullptr;
}

ServiceThreadPool::ServiceThreadPool(const Options& options) : Shared(std::make_shared<State>(options)) {}

ServiceThreadPool::~ServiceThreadPool()
{
    Close(false,
          Errors::MakeCanceled(COMMON_LOCATION("Async::Detail::ServiceThreadPool::~ServiceThreadPool")));
    WaitForThreads();
}

bool ServiceThreadPool::Post(std::shared_ptr<Task> task)
{
    State& state = *Shared;
    std::unique_lock<std::mutex> lock(state.Lock);
    if (state.Closed)
    {
        const Common::Error reason = state.Reason;
        lock.unlock();
        task->Refuse(reason);
        return false;
    }
    state.Queue.push_back(std::move(task));
    const bool start = state.NeedsThreadLocked();
    if (start)
    {
        state.ReserveThreadLocked();
    }
    else if (state.Idle > 0)
    {
        state.WorkAvailable.notify_one();
    }
    lock.unlock();
    if (start)
    {
        state.StartThread();
    }
    return true;
}

void ServiceThreadPool::Close(bool runQueued, const Common::Error& reason)
{
    State& state = *Shared;
    std::deque<std::shared_ptr<Task>> refused;
    {
        std::lock_guard<std::mutex> guard(state.Lock);
        state.Closed = true;
        state.Reason = reason;
        if (!runQueued)
        {
            refused.swap(state.Queue);
        }
    }
    state.WorkAvailable.notify_all();
    state.Changed.notify_all();
    for (const std::shared_ptr<Task>& task : refused)
    {
        task->Refuse(reason);
    }
}

void ServiceThreadPool::WaitUntilIdle()
{
    State& state = *Shared;
    if (CurrentWorker.Pool == &state)
    {
        SAFE_ASSERT(!"WaitUntilIdle on a thread of the pool would wait for itself");
        return;
    }
    std::unique_lock<std::mutex> lock(state.Lock);
    state.Changed.wait(lock, [&state] { return state.Queue.empty() && state.Running == 0; });
}

void ServiceThreadPool::WaitForThreads()
{
    State& state = *Shared;
    const bool onWorker = CurrentWorker.Pool == &state;
    {
        std::unique_lock<std::mutex> lock(state.Lock);
        SAFE_ASSERT(state.Closed);
        const std::size_t self = onWorker ? 1 : 0;
        state.Changed.wait(lock, [&state, self] { return state.Threads <= self; });
    }
    if (onWorker)
    {
        // The others have left their loop; joining would include this very thread.
        return;
    }
    std::vector<std::shared_ptr<Common::ThreadAccessor>> threads;
    {
        std::lock_guard<std::mutex> guard(state.AccessorsLock);
        threads.swap(state.Accessors);
    }
    for (const std::shared_ptr<Common::ThreadAccessor>& thread : threads)
    {
        try
        {
            thread->Wait();
        }
        catch (const Common::Error& error)
        {
            Common::TraceError(4, error);
        }
    }
}

ServiceThreadPool::Statistics ServiceThreadPool::GetStatistics() const
{
    const State& state = *Shared;
    std::lock_guard<std::mutex> guard(state.Lock);
    return Statistics{state.Threads, state.Idle, state.Running, state.Blocked, state.Queue.size()};
}

bool ServiceThreadPool::IsServiceThread()
{
    return CurrentWorker.Pool != nullptr;
}

void ServiceThreadPool::EnterBlocking()
{
    WorkerContext& worker = CurrentWorker;
    if (worker.Pool == nullptr || worker.BlockDepth++ > 0)
    {
        return;
    }
    State& state = *worker.Pool;
    bool start = false;
    {
        std::lock_guard<std::mutex> guard(state.Lock);
        ++state.Blocked;
        start = state.NeedsThreadLocked();
        if (start)
        {
            state.ReserveThreadLocked();
        }
    }
    if (start)
    {
        state.StartThread();
    }
}

void ServiceThreadPool::LeaveBlocking()
{
    WorkerContext& worker = CurrentWorker;
    if (worker.Pool == nullptr || worker.BlockDepth == 0 || --worker.BlockDepth > 0)
    {
        return;
    }
    std::lock_guard<std::mutex> guard(worker.Pool->Lock);
    --worker.Pool->Blocked;
}

} // namespace Async::Detail
