// Alerts::Detail::TimerWithCallback: an asynchronous Common::Timeout that calls back with the
// ActivityTimeoutInfo it watches. The info is held weakly: a timer whose info has gone (its watchdog was
// dropped or replaced) ends at once when it fires late. Made by Start, held by std::shared_ptr; the
// callback keeps the timer alive while it runs, so its owner may drop it from inside the callback. Stop
// and destruction are thread-safe once Start has returned; the owner publishes the timer only then.
#pragma once

#include "alerts/utils/ActivityTimeoutInfo.h"
#include "common/NonCopyable.h"
#include "common/Timeout.h"

#include <cstdint>
#include <memory>

namespace Alerts::Detail
{

class TimerWithCallback : Common::NonCopyable, public std::enable_shared_from_this<TimerWithCallback>
{
    struct Token
    {
    };

public:
    // Runs on a pool thread with the context given to Start, the info, which lives for the call, and the
    // firing timer. Must not throw. (A plain function: a busy agent keeps one timer per running process.)
    using Callback = void (*)(void* context, const ActivityTimeoutInfo& info, TimerWithCallback& timer);

    // Armed for `delay` milliseconds. Throws Common::Error code 7 when no thread can be started.
    static std::shared_ptr<TimerWithCallback>
    Start(std::uint32_t delay, std::weak_ptr<ActivityTimeoutInfo> info, Callback callback, void* context);
    TimerWithCallback(Token, std::weak_ptr<ActivityTimeoutInfo> info, Callback callback, void* context);
    // Stops and waits for a running callback (not from inside it).
    ~TimerWithCallback();

    // Disarms; a callback under way on another thread is waited for.
    void Stop();

private:
    static unsigned Fire(void* argument);

    const std::weak_ptr<ActivityTimeoutInfo> Info;
    const Callback OnTimeout;
    void* const Context;
    Common::Timeout Timer; // set by Start before anyone else can reach the object
};

} // namespace Alerts::Detail
