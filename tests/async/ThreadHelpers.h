// Threads for tests of the job runtime: RunOnSmallStack runs a body on a new thread with a 256 KiB stack
// and joins it (a recursion as deep as a long chain of completions overflows it, a flat loop doesn't);
// a ThreadWaiter lets one thread wait for one completion at a time, from any thread.
#pragma once

#include "async/Action.h"

#include <pthread.h>

#include <atomic>
#include <functional>
#include <stdexcept>

namespace Testing
{

inline void RunOnSmallStack(const std::function<void()>& body)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 256 * 1024);
    pthread_t thread;
    const auto run = [](void* argument) -> void*
    {
        (*static_cast<const std::function<void()>*>(argument))();
        return nullptr;
    };
    const int created = pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&body));
    pthread_attr_destroy(&attributes);
    if (created != 0)
    {
        throw std::runtime_error("pthread_create");
    }
    pthread_join(thread, nullptr);
}

// Lives as long as its thread waits: a completion may still be waking it when Wait has returned.
class ThreadWaiter final : public Async::ActionHandler
{
public:
    void Completed(const Common::Error& result) override
    {
        Result = result;
        Done.store(1, std::memory_order_release);
        Done.notify_one();
    }
    // Returns the result of the next completion.
    Common::Error Wait()
    {
        Done.wait(0, std::memory_order_acquire);
        Done.store(0, std::memory_order_relaxed);
        return Result;
    }

private:
    Common::Error Result;
    std::atomic<int> Done{0};
};

} // namespace Testing
