// Runs a body on a new thread with a 256 KiB stack and joins it: a recursion as deep as a long chain of
// completions overflows it, a flat loop doesn't.
#pragma once

#include <pthread.h>

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

} // namespace Testing
