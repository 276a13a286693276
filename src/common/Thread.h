// Threads of the system. Common::ThreadAccessor is what callers hold of any thread; Common::Thread is a
// thread of its own that runs with the identity its creator had (see ThreadIdentity.h).
// Priority: 0 lowest, 1 below normal, 2 normal, 3 above normal; any other value acts as normal.
#pragma once

#include "common/ThreadId.h"

#include <cstdint>
#include <memory>

namespace Common
{

using ThreadFunction = unsigned (*)(void* argument);

inline constexpr int LowestPriority = 0;
inline constexpr int BelowNormalPriority = 1;
inline constexpr int NormalPriority = 2;
inline constexpr int AboveNormalPriority = 3;

// What GetExitCode answers while the function still runs.
inline constexpr std::uint32_t StillActiveExitCode = 259;

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
    // The function's return value once it ended, StillActiveExitCode before.
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
    // Not supported: a thread can't be stopped safely in the middle of C++ code. Asserts and does nothing.
    void Terminate() override;
    // Waits until the thread has started.
    ThreadId GetThreadId() override;
    // Kept and reported as given (other values as normal); applied to the thread as a nice value where
    // the process may do so, which lowering always is and raising needs a privilege for.
    void SetPriority(int priority) override;
    int GetPriority() override;
    std::uint32_t GetExitCode() override;

    struct Data;

private:
    std::shared_ptr<Data> Shared;
};

namespace Detail
{
// Makes the next Common::Thread creation fail with the POSIX `error` (tests).
void FailNextThreadCreation(int error);
} // namespace Detail

} // namespace Common
