#include "common/Thread.h"

#include "common/CatalogIds.h"
#include "common/Error.h"
#include "common/Event.h"
#include "common/SafeAssert.h"
#include "common/SystemMessages.h"
#include "common/ThreadIdentity.h"

#include <pthread.h>
#include <sys/resource.h>

#include <atomic>
#include <cerrno>
#include <mutex>
#include <new>

namespace Common
{
namespace
{

std::atomic<int> InjectedCreationFailure{0};

} // namespace

struct Thread::Data
{
    Data(ThreadFunction function, void* argument) : Function(function), Argument(argument) {}

    const ThreadFunction Function;
    void* const Argument;
    pthread_t Handle{};
    Identity Token = ProcessIdentity;
    std::atomic<ThreadId> Id{0};
    std::atomic<std::uint32_t> ExitCode{StillActiveExitCode};
    std::atomic<int> Priority{NormalPriority};
    Event Started{true, false};
    Event Finished{true, false};
    // Held while the kernel id is used from outside, and by the thread as it ends, so that the id is not
    // handed to another thread in between.
    std::mutex EndLock;
    bool Ended = false;
};

namespace
{

void* RunThread(void* raw)
{
    std::unique_ptr<std::shared_ptr<Thread::Data>> holder(static_cast<std::shared_ptr<Thread::Data>*>(raw));
    Thread::Data& data = **holder;
    data.Id.store(GetCurrentThreadId(), std::memory_order_relaxed);
    data.Started.Set();
    {
        ThreadIdentity runAs(data.Token);
        data.ExitCode.store(data.Function(data.Argument), std::memory_order_relaxed);
    }
    {
        std::lock_guard<std::mutex> guard(data.EndLock);
        data.Ended = true;
    }
    data.Finished.Set();
    return nullptr;
}

int NormalizePriority(int priority)
{
    return priority >= LowestPriority && priority <= AboveNormalPriority ? priority : NormalPriority;
}

bool ApplyPriority(ThreadId thread, int priority)
{
    // Nice values mirror the platform's thread priorities (-15, -1, 0, 1) with the sign turned.
    static constexpr int NiceOf[] = {15, 1, 0, -1};
    return setpriority(PRIO_PROCESS, static_cast<id_t>(thread), NiceOf[NormalizePriority(priority)]) == 0;
}

} // namespace

Thread::Thread(ThreadFunction function, void* argument) : Shared(std::make_shared<Data>(function, argument))
{
    Shared->Token = ThreadIdentity::GetCurrent();
    // The thread itself is made under the process identity; its function runs under the creator's.
    ThreadIdentity::SetCurrent(ProcessIdentity);
    auto* holder = new (std::nothrow) std::shared_ptr<Data>(Shared);
    int error = InjectedCreationFailure.exchange(0);
    if (error == 0)
    {
        error = holder == nullptr ? ENOMEM : pthread_create(&Shared->Handle, nullptr, RunThread, holder);
    }
    ThreadIdentity::SetCurrent(Shared->Token);
    if (error != 0)
    {
        delete holder;
        throw Error(COMMON_LOCATION("Common::Thread::Thread"), ThreadCreationFailedCode,
                    GetText(Texts::ThreadCreateFailed))
            .AddWindowsError(WindowsErrorFromErrno(error));
    }
}

Thread::~Thread()
{
    // The thread keeps its own reference to the shared data and runs on.
    pthread_detach(Shared->Handle);
}

bool Thread::Wait(std::uint32_t milliseconds)
{
    return Shared->Finished.Wait(milliseconds);
}

void Thread::Wait()
{
    Shared->Finished.Wait();
}

void Thread::Terminate()
{
    // Cancelling a thread in the middle of C++ code skips or breaks its destructors and leaves locks
    // held; callers must make the function return instead.
    SAFE_ASSERT(!"not supported for a thread");
}

ThreadId Thread::GetThreadId()
{
    Shared->Started.Wait();
    return Shared->Id.load(std::memory_order_relaxed);
}

void Thread::SetPriority(int priority)
{
    priority = NormalizePriority(priority);
    Shared->Priority.store(priority, std::memory_order_relaxed);
    const ThreadId id = GetThreadId();
    std::lock_guard<std::mutex> guard(Shared->EndLock);
    if (!Shared->Ended)
    {
        // Best effort: raising a priority needs a privilege the process may not have.
        ApplyPriority(id, priority);
    }
}

int Thread::GetPriority()
{
    return Shared->Priority.load(std::memory_order_relaxed);
}

std::uint32_t Thread::GetExitCode()
{
    return Shared->ExitCode.load(std::memory_order_relaxed);
}

namespace Detail
{

void FailNextThreadCreation(int error)
{
    InjectedCreationFailure.store(error);
}

} // namespace Detail
} // namespace Common
