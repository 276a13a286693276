#include "alerts/utils/TimerWithCallback.h"

#include <utility>

namespace Alerts::Detail
{

TimerWithCallback::TimerWithCallback(std::weak_ptr<ActivityTimeoutInfo> info, Callback callback)
    : Info(std::move(info)), OnTimeout(std::move(callback))
{
}

std::shared_ptr<TimerWithCallback>
TimerWithCallback::Start(std::uint32_t delay, std::weak_ptr<ActivityTimeoutInfo> info, Callback callback)
{
    std::shared_ptr<TimerWithCallback> timer(new TimerWithCallback(std::move(info), std::move(callback)));
    // Armed only once the object is complete and owned, so the callback can always take a reference.
    Common::Timeout armed(&TimerWithCallback::Fire, timer.get(), delay, true);
    std::lock_guard<std::mutex> guard(timer->Lock);
    timer->Timer = std::move(armed);
    return timer;
}

TimerWithCallback::~TimerWithCallback()
{
    Stop();
}

void TimerWithCallback::Stop()
{
    Common::Timeout timer;
    {
        std::lock_guard<std::mutex> guard(Lock);
        timer = Timer;
    }
    timer.Stop();
}

unsigned TimerWithCallback::Fire(void* argument)
{
    // Kept alive for the call: the callback may drop the last other reference to this timer.
    const std::shared_ptr<TimerWithCallback> self =
        static_cast<TimerWithCallback*>(argument)->weak_from_this().lock();
    if (self == nullptr)
    {
        return 0; // being destroyed: its destructor stops the timer after this returns
    }
    const std::shared_ptr<ActivityTimeoutInfo> info = self->Info.lock();
    if (info == nullptr)
    {
        return 0; // dropped before it fired
    }
    self->OnTimeout(*info, *self);
    return 0;
}

} // namespace Alerts::Detail
