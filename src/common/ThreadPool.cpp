#include "common/ThreadPool.h"

#include "Platform/ThreadPool.h"
#include "common/CatalogIds.h"
#include "common/Error.h"
#include "common/ErrorSerialization.h"
#include "common/SafeAssert.h"
#include "common/SystemMessages.h"

#include <algorithm>
#include <cerrno>
#include <vector>

namespace Common
{
namespace
{

Error CreationFailure(ErrorLocation location, int error)
{
    Error failure(location, ThreadCreationFailedCode, GetText(Texts::ThreadCreateFailed));
    if (error != 0)
    {
        failure.AddWindowsError(WindowsErrorFromErrno(error));
    }
    return failure;
}

// A function run of the thread-pool library. Failures of the library's calls come back as its
// serialised error and are thrown here.
class ThreadAccessorImpl final : public ThreadAccessor
{
public:
    explicit ThreadAccessorImpl(ThreadPoolThreadHandle handle) : Handle(handle) {}
    ~ThreadAccessorImpl() override { ThreadPoolCloseThread(Handle); }
    ThreadAccessorImpl(const ThreadAccessorImpl&) = delete;
    ThreadAccessorImpl& operator=(const ThreadAccessorImpl&) = delete;

    bool Wait(std::uint32_t milliseconds) override
    {
        std::size_t errorSize = 0;
        const bool ended = ThreadPoolWaitForThreadExit(Handle, milliseconds, &errorSize);
        ThrowPending(errorSize);
        return ended;
    }

    void Wait() override
    {
        std::size_t errorSize = 0;
        ThreadPoolInfiniteWaitForThreadExit(Handle, &errorSize);
        ThrowPending(errorSize);
    }

    void Terminate() override { SAFE_ASSERT(!"not supported for a pool thread"); }

    ThreadId GetThreadId() override
    {
        std::size_t errorSize = 0;
        const ThreadId id = ThreadPoolGetThreadId(Handle, &errorSize);
        ThrowPending(errorSize);
        return id;
    }

    void SetPriority(int /*priority*/) override { SAFE_ASSERT(!"not supported for a pool thread"); }

    int GetPriority() override
    {
        std::size_t errorSize = 0;
        const int priority = ThreadPoolGetPriority(Handle, &errorSize);
        ThrowPending(errorSize);
        return priority;
    }

    std::uint32_t GetExitCode() override
    {
        std::size_t errorSize = 0;
        const std::uint32_t exitCode = ThreadPoolGetExitCode(Handle, &errorSize);
        ThrowPending(errorSize);
        return exitCode;
    }

private:
    void ThrowPending(std::size_t errorSize)
    {
        if (errorSize == 0)
        {
            return;
        }
        std::vector<std::uint8_t> blob(errorSize);
        blob.resize(std::min(blob.size(), ThreadPoolReadError(Handle, blob.data(), blob.size())));
        Error error = Deserialize(blob.data(), blob.size());
        // The library said the call failed; an unreadable blob leaves its answer to the caller.
        SAFE_ASSERT(error != Success);
        if (error != Success)
        {
            throw error;
        }
    }

    const ThreadPoolThreadHandle Handle;
};

std::shared_ptr<ThreadAccessor> Adopt(ThreadPoolThreadHandle handle, ErrorLocation location)
{
    if (handle == nullptr)
    {
        throw CreationFailure(location, errno);
    }
    try
    {
        return std::make_shared<ThreadAccessorImpl>(handle);
    }
    catch (...)
    {
        ThreadPoolCloseThread(handle);
        throw CreationFailure(location, ENOMEM);
    }
}

} // namespace

struct ThreadPool::Handle
{
    Handle(ThreadPoolHandle pool, bool impersonated) : Pool(pool), Impersonated(impersonated) {}
    ~Handle() { ThreadPoolDelete(Pool); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    const ThreadPoolHandle Pool;
    const bool Impersonated;
};

ThreadPool::ThreadPool(std::shared_ptr<Handle> handle) : Pool(std::move(handle)) {}
ThreadPool::ThreadPool(ThreadPool&&) noexcept = default;
ThreadPool& ThreadPool::operator=(ThreadPool&&) noexcept = default;
ThreadPool::~ThreadPool() = default;

ThreadPool ThreadPool::Create()
{
    errno = 0;
    ThreadPoolHandle pool = ThreadPoolCreate();
    if (pool == nullptr)
    {
        throw CreationFailure(COMMON_LOCATION("Common::ThreadPool::Create"), errno);
    }
    return ThreadPool(std::make_shared<Handle>(pool, false));
}

ThreadPool ThreadPool::CreateImpersonated()
{
    errno = 0;
    ThreadPoolHandle pool = ThreadPoolCreate();
    if (pool == nullptr)
    {
        throw CreationFailure(COMMON_LOCATION("Common::ThreadPool::CreateImpersonated"), errno);
    }
    return ThreadPool(std::make_shared<Handle>(pool, true));
}

std::shared_ptr<ThreadAccessor> ThreadPool::CreateThread(ThreadFunction function, void* argument,
                                                         int priority)
{
    errno = 0;
    return Adopt(ThreadPoolCreateThread(function, argument, priority),
                 COMMON_LOCATION("Common::ThreadPool::CreateThread"));
}

std::shared_ptr<ThreadAccessor> ThreadPool::CreateImpersonatedThread(ThreadFunction function, void* argument,
                                                                     int priority)
{
    errno = 0;
    return Adopt(ThreadPoolCreateImpersonatedThread(function, argument, priority),
                 COMMON_LOCATION("Common::ThreadPool::CreateImpersonatedThread"));
}

std::shared_ptr<ThreadAccessor> ThreadPool::Start(ThreadFunction function, void* argument, int priority)
{
    SAFE_ASSERT(Pool != nullptr);
    errno = 0;
    ThreadPoolThreadHandle handle = nullptr;
    if (Pool != nullptr)
    {
        handle = Pool->Impersonated
                     ? ThreadPoolCreateImpersonatedThreadEx(Pool->Pool, function, argument, priority)
                     : ThreadPoolCreateThreadEx(Pool->Pool, function, argument, priority);
    }
    return Adopt(handle, COMMON_LOCATION("Common::ThreadPool::CreateThread"));
}

void ThreadPool::Clear()
{
    if (Pool != nullptr)
    {
        ThreadPoolClear(Pool->Pool);
    }
}

} // namespace Common
