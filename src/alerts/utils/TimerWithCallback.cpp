#include "alerts/utils/TimerWithCallback.h"

#include <utility>

namespace Alerts::Detail
{

TimerWithCallback::TimerWithCallback(Token, std::weak_ptr<ActivityTimeoutInfo> info, Callback callback,
                                     void* context)
    : Info(std::move(info)), OnTimeout(callback), Context(context)
{
}

std::shared_ptr<TimerWithCallback> TimerWithCallback::Start(std::uint32_t delay,
                                                            std::weak_ptr<ActivityTimeoutInfo> info,
                                                            Callback callback, void* context)
{
    auto timer = std::make_shared<TimerWithCallback>(Token{}, std::move(info), callback, context);
    // Armed only once the object is complete and owned, so the callback can always take a reference. The
    // callback reads nothing of the handle, so it may fire before the handle is stored.
    timer->Timer = Common::Timeout(&TimerWithCallback::Fire, timer.get(), delay, true);
    return timer;
}

TimerWithCallback::~TimerWithCallback()
{
    Stop();
}

void TimerWithCallback::Stop()
{
    Timer.Stop();
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
    self->OnTimeout(self->Context, *info, *self);
    return 0;
}

} // namespace Alerts::Detail
