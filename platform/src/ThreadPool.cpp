#include "Platform/ThreadPool.h"

#include "Platform/Identity.h"
#include "Platform/LineTag.h"

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <new>
#include <string>
#include <vector>

// One function run: shared by the caller's handle and the worker until both let go.
struct ThreadPoolThread
{
    ThreadPoolThread(ThreadPoolFunction function, void* argument, int priority, std::uint64_t identity)
        : Function(function), Argument(argument), Priority(priority), Identity(identity)
    {
    }

    const ThreadPoolFunction Function;
    void* const Argument;
    const int Priority;
    const std::uint64_t Identity;
    std::atomic<int> References{2};

    std::mutex Lock;
    std::condition_variable Changed;
    std::uint64_t ThreadId = 0;
    bool Finished = false;
    std::uint32_t ExitCode = THREAD_POOL_STILL_ACTIVE;
};

namespace
{

// An idle worker waits on its own slot, so work and the order to exit go to one chosen thread.
struct IdleWorker
{
    std::condition_variable Wake;
    ThreadPoolThread* Work = nullptr;
    bool Exit = false;
};

} // namespace

struct ThreadPoolPool
{
    std::mutex Lock;
    std::condition_variable WorkerExited;
    std::vector<IdleWorker*> Idle;
    std::size_t Workers = 0;
    bool Stopping = false;
};

namespace
{

constexpr int NormalPriority = 2;

int NormalizePriority(int priority)
{
    return priority >= 0 && priority <= 3 ? priority : NormalPriority;
}

// Nice values mirror the platform's thread priorities (-15, -1, 0, 1) with the sign turned.
int NiceOf(int priority)
{
    static constexpr int Nice[] = {15, 1, 0, -1};
    return Nice[NormalizePriority(priority)];
}

void Release(ThreadPoolThread* thread)
{
    if (thread->References.fetch_sub(1, std::memory_order_acq_rel) == 1)
    {
        delete thread;
    }
}

// Runs one function on the calling worker. False if the worker should retire because it could not
// get back its own priority (raising it again may need a privilege).
bool Run(ThreadPoolThread& thread, std::uint64_t workerId, std::uint32_t& exitCode)
{
    {
        std::lock_guard<std::mutex> guard(thread.Lock);
        thread.ThreadId = workerId;
        thread.Changed.notify_all();
    }
    const id_t id = static_cast<id_t>(workerId);
    errno = 0;
    const int ownNice = getpriority(PRIO_PROCESS, id);
    const bool changed =
        NiceOf(thread.Priority) != ownNice && setpriority(PRIO_PROCESS, id, NiceOf(thread.Priority)) == 0;

    Identity_SetThreadIdentity(thread.Identity);
    exitCode = thread.Function(thread.Argument);
    Identity_SetThreadIdentity(0);

    return !changed || setpriority(PRIO_PROCESS, id, ownNice) == 0;
}

void Finish(ThreadPoolThread* thread, std::uint32_t exitCode)
{
    {
        std::lock_guard<std::mutex> guard(thread->Lock);
        thread->ExitCode = exitCode;
        thread->Finished = true;
        thread->Changed.notify_all();
    }
    Release(thread);
}

struct WorkerStart
{
    ThreadPoolPool* Pool;
    ThreadPoolThread* First;
};

void* WorkerMain(void* raw)
{
    const WorkerStart start = *static_cast<WorkerStart*>(raw);
    delete static_cast<WorkerStart*>(raw);
    ThreadPoolPool& pool = *start.Pool;
    const std::uint64_t workerId = static_cast<std::uint64_t>(gettid());

    for (ThreadPoolThread* work = start.First; work != nullptr;)
    {
        std::uint32_t exitCode = 0;
        const bool keep = Run(*work, workerId, exitCode);
        // The worker is idle again before its caller learns that the function ended, so that the
        // caller's next function finds it.
        IdleWorker self;
        {
            std::lock_guard<std::mutex> guard(pool.Lock);
            if (keep && !pool.Stopping)
            {
                pool.Idle.push_back(&self);
            }
            else
            {
                self.Exit = true;
            }
        }
        Finish(work, exitCode);

        std::unique_lock<std::mutex> lock(pool.Lock);
        self.Wake.wait(lock, [&self] { return self.Work != nullptr || self.Exit; });
        work = self.Work;
        if (work == nullptr)
        {
            --pool.Workers;
            // Notified under the lock: ThreadPoolDelete frees the pool only after this thread let go.
            pool.WorkerExited.notify_all();
        }
    }
    return nullptr;
}

void DismissIdle(ThreadPoolPool& pool)
{
    for (IdleWorker* worker : pool.Idle)
    {
        worker->Exit = true;
        worker->Wake.notify_one();
    }
    pool.Idle.clear();
}

std::atomic<int> InjectedCreationFailure{0};

bool TakeInjectedCreationFailure()
{
    const int error = InjectedCreationFailure.exchange(0);
    if (error != 0)
    {
        errno = error;
        return true;
    }
    return false;
}

ThreadPoolPool* ProcessPool()
{
    // Lives as long as the process: its threads may still run while statics are destroyed.
    static ThreadPoolPool* const pool = new ThreadPoolPool;
    return pool;
}

ThreadPoolThreadHandle Start(ThreadPoolPool* pool, ThreadPoolFunction function, void* argument, int priority,
                             bool impersonated)
{
    if (TakeInjectedCreationFailure())
    {
        return nullptr;
    }
    if (pool == nullptr || function == nullptr)
    {
        errno = EINVAL;
        return nullptr;
    }
    auto* thread = new (std::nothrow) ThreadPoolThread(function, argument, NormalizePriority(priority),
                                                       impersonated ? Identity_GetThreadIdentity() : 0);
    if (thread == nullptr)
    {
        errno = ENOMEM;
        return nullptr;
    }

    std::lock_guard<std::mutex> guard(pool->Lock);
    if (pool->Stopping)
    {
        delete thread;
        errno = EINVAL;
        return nullptr;
    }
    if (!pool->Idle.empty())
    {
        IdleWorker* worker = pool->Idle.back();
        pool->Idle.pop_back();
        worker->Work = thread;
        worker->Wake.notify_one();
        return thread;
    }

    auto* start = new (std::nothrow) WorkerStart{pool, thread};
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t handle;
    const int error = start == nullptr ? ENOMEM : pthread_create(&handle, &attributes, WorkerMain, start);
    pthread_attr_destroy(&attributes);
    if (error != 0)
    {
        delete start;
        delete thread;
        errno = error;
        return nullptr;
    }
    ++pool->Workers;
    return thread;
}

// Pending errors in the serialised Common::Error form: version 0x01, then per record code (4), line tag
// (8), UTF-8 message + NUL, keys (name + NUL, type 'A'/'N', value), "$file", "$func", "$line", NUL.
class ErrorBlob
{
public:
    ErrorBlob() { Bytes.push_back(0x01); }

    void Record(std::uint32_t code, std::uint64_t lineTag, const char* message)
    {
        Number(code, 4);
        Number(lineTag, 8);
        Text(message);
    }
    void NumberKey(const char* key, std::uint64_t value)
    {
        Text(key);
        Bytes.push_back('N');
        Number(value, 8);
    }
    void TextKey(const char* key, const char* value)
    {
        Text(key);
        Bytes.push_back('A');
        Text(value);
    }
    void EndRecord() { Bytes.push_back(0); }

    std::vector<std::uint8_t> Bytes;

private:
    void Number(std::uint64_t value, int size)
    {
        for (int i = 0; i < size; ++i)
        {
            Bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
        }
    }
    void Text(const char* text)
    {
        Bytes.insert(Bytes.end(), text, text + std::strlen(text));
        Bytes.push_back(0);
    }
};

thread_local std::vector<std::uint8_t> PendingError;

struct InjectedFailure
{
    std::mutex Lock;
    bool Armed = false;
    std::uint32_t Code = 0;
    std::string Message;
};

InjectedFailure& Injected()
{
    static InjectedFailure failure;
    return failure;
}

// A record raised at `function` (the accessor) becomes the calling thread's pending error.
std::size_t Fail(std::uint32_t code, const char* message, const char* numberKey, std::uint64_t number,
                 const char* function, unsigned line)
{
    ErrorBlob blob;
    blob.Record(code, Platform::ComputeLineTag(__FILE__, line), message);
    if (numberKey != nullptr)
    {
        blob.NumberKey(numberKey, number);
    }
    blob.TextKey("$module", VELTRIX_MODULE);
    blob.TextKey("$file", __FILE__);
    blob.TextKey("$func", function);
    blob.NumberKey("$line", line);
    blob.EndRecord();
    PendingError = std::move(blob.Bytes);
    return PendingError.size();
}

constexpr std::uint32_t SystemErrorCode = 0xFFF0;
constexpr std::uint32_t InvalidHandleStatus = 0x80070006;

// Common entry of every accessor: an injected failure or a null handle makes the call fail.
bool Admit(ThreadPoolThreadHandle thread, std::size_t* errorSize, const char* function, unsigned line)
{
    std::size_t size = 0;
    {
        InjectedFailure& injected = Injected();
        std::lock_guard<std::mutex> guard(injected.Lock);
        if (injected.Armed)
        {
            injected.Armed = false;
            size = Fail(injected.Code, injected.Message.c_str(), nullptr, 0, function, line);
        }
    }
    if (size == 0 && thread == nullptr)
    {
        size = Fail(SystemErrorCode, "The handle is invalid", "code", InvalidHandleStatus, function, line);
    }
    if (errorSize != nullptr)
    {
        *errorSize = size;
    }
    return size == 0;
}

#define ADMIT(thread, errorSize) Admit(thread, errorSize, __func__, __LINE__)

bool WaitForEnd(ThreadPoolThread& thread, std::uint32_t milliseconds)
{
    std::unique_lock<std::mutex> lock(thread.Lock);
    const auto finished = [&thread] { return thread.Finished; };
    if (milliseconds == THREAD_POOL_INFINITE)
    {
        thread.Changed.wait(lock, finished);
        return true;
    }
    return thread.Changed.wait_for(lock, std::chrono::milliseconds(milliseconds), finished);
}

} // namespace

ThreadPoolHandle ThreadPoolCreate(void)
{
    if (TakeInjectedCreationFailure())
    {
        return nullptr;
    }
    auto* pool = new (std::nothrow) ThreadPoolPool;
    if (pool == nullptr)
    {
        errno = ENOMEM;
    }
    return pool;
}

void ThreadPoolDelete(ThreadPoolHandle pool)
{
    if (pool == nullptr)
    {
        return;
    }
    {
        std::unique_lock<std::mutex> lock(pool->Lock);
        pool->Stopping = true;
        DismissIdle(*pool);
        pool->WorkerExited.wait(lock, [pool] { return pool->Workers == 0; });
    }
    delete pool;
}

void ThreadPoolClear(ThreadPoolHandle pool)
{
    if (pool == nullptr)
    {
        return;
    }
    std::lock_guard<std::mutex> guard(pool->Lock);
    DismissIdle(*pool);
}

ThreadPoolThreadHandle ThreadPoolCreateThread(ThreadPoolFunction function, void* argument, int priority)
{
    return Start(ProcessPool(), function, argument, priority, false);
}

ThreadPoolThreadHandle ThreadPoolCreateThreadEx(ThreadPoolHandle pool, ThreadPoolFunction function,
                                                void* argument, int priority)
{
    return Start(pool, function, argument, priority, false);
}

ThreadPoolThreadHandle ThreadPoolCreateImpersonatedThread(ThreadPoolFunction function, void* argument,
                                                          int priority)
{
    return Start(ProcessPool(), function, argument, priority, true);
}

ThreadPoolThreadHandle ThreadPoolCreateImpersonatedThreadEx(ThreadPoolHandle pool,
                                                            ThreadPoolFunction function, void* argument,
                                                            int priority)
{
    return Start(pool, function, argument, priority, true);
}

void ThreadPoolCloseThread(ThreadPoolThreadHandle thread)
{
    if (thread != nullptr)
    {
        Release(thread);
    }
}

std::uint64_t ThreadPoolGetThreadId(ThreadPoolThreadHandle thread, std::size_t* errorSize)
{
    if (!ADMIT(thread, errorSize))
    {
        return 0;
    }
    std::unique_lock<std::mutex> lock(thread->Lock);
    thread->Changed.wait(lock, [thread] { return thread->ThreadId != 0; });
    return thread->ThreadId;
}

std::uint32_t ThreadPoolGetExitCode(ThreadPoolThreadHandle thread, std::size_t* errorSize)
{
    if (!ADMIT(thread, errorSize))
    {
        return 0;
    }
    std::lock_guard<std::mutex> guard(thread->Lock);
    return thread->ExitCode;
}

int ThreadPoolGetPriority(ThreadPoolThreadHandle thread, std::size_t* errorSize)
{
    if (!ADMIT(thread, errorSize))
    {
        return 0;
    }
    return thread->Priority;
}

bool ThreadPoolWaitForThreadExit(ThreadPoolThreadHandle thread, std::uint32_t milliseconds,
                                 std::size_t* errorSize)
{
    if (!ADMIT(thread, errorSize))
    {
        return false;
    }
    return WaitForEnd(*thread, milliseconds);
}

void ThreadPoolInfiniteWaitForThreadExit(ThreadPoolThreadHandle thread, std::size_t* errorSize)
{
    if (ADMIT(thread, errorSize))
    {
        WaitForEnd(*thread, THREAD_POOL_INFINITE);
    }
}

std::size_t ThreadPoolReadError(ThreadPoolThreadHandle /*thread*/, void* buffer, std::size_t size)
{
    const std::size_t whole = PendingError.size();
    if (buffer != nullptr && size != 0 && whole != 0)
    {
        std::memcpy(buffer, PendingError.data(), std::min(size, whole));
    }
    if (buffer != nullptr && size >= whole)
    {
        PendingError.clear();
    }
    return whole;
}

void ThreadPoolInjectFailure(std::uint32_t code, const char* message)
{
    InjectedFailure& injected = Injected();
    std::lock_guard<std::mutex> guard(injected.Lock);
    injected.Armed = true;
    injected.Code = code;
    injected.Message = message != nullptr ? message : "";
}

void ThreadPoolInjectCreationFailure(int error)
{
    InjectedCreationFailure.store(error);
}
