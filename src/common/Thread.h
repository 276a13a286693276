// Threads of the system. Common::ThreadAccessor is what callers hold of any thread; Common::Thread is a
// thread of its own that runs with the identity its creator had (see ThreadIdentity.h).
// Priority: 0 lowest, 1 below normal, 2 normal, 3 above normal; any other value acts as normal.
#pragma once

#include <cstdint>
#include <memory>

#include "common/ThreadId.h"

namespace Common
{

using ThreadFunction = unsigned (*)(void* argument);

class ThreadAccessor
{
public:
    virtual ~ThreadAccessor() = default;
    // True if the thread's function ended within `milliseconds`.
    virtual bool Wait(std::uint32_t milliseconds) = 0;
    virtual void Wait() = 0;
    virtual void Terminate() = 0;
    virtual ThreadId GetThreadId() = 0;
    virtual void SetPriority(int priority) = 0;
    virtual int GetPriority() = 0;
    // The function's return value once it ended.
    virtual std::uint32_t GetExitCode() = 0;
};

class Thread final : public ThreadAccessor
{
public:
    // Starts `function(argument)` on a new thread. Throws Common::Error code 7 at "Common::Thread::Thread"
    // (with the system error as its cause) if the thread can't be created.
    Thread(ThreadFunction function, void* argument);
    ~Thread() override;
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    bool Wait(std::uint32_t milliseconds) override;
    void Wait() override;
    void Terminate() override;
    ThreadId GetThreadId() override;
    void SetPriority(int priority) override;
    int GetPriority() override;
    std::uint32_t GetExitCode() override;

    struct Data;

private:
    std::shared_ptr<Data> Shared;
};

} // namespace Common
