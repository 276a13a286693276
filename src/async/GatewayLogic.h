// Async::Detail::GatewayLogic: the shared state of a gateway. It decides under its lock who enters, and
// hands a freed passage to the waiters at the head of its FIFO through the tail-recursion loop, so that a
// waiter that releases inside its handler doesn't recurse into the next one. Handlers are called outside
// the lock. Thread-safe; held by std::shared_ptr (the gateway, its actions, flags and running loops).
#pragma once

#include "async/Action.h"
#include "async/Gateway.h"
#include "async/TailRecursionController.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>

namespace Async::Detail
{

class GatewayLogic final : public std::enable_shared_from_this<GatewayLogic>, public TailRecursionController
{
public:
    // The gate's state; a request's mode uses the same numbers.
    enum GateState : std::uint32_t
    {
        StateOpen = 0,
        StateExclusive = 1,
        StateShared = 2,
    };

    class FlagLogic;
    class CaptureRequest;
    class DetachSatisfyProcess;

    GatewayLogic() = default;
    ~GatewayLogic() override;

    // An action whose every Perform is a request of `mode` that stores its flag into `target`.
    static std::unique_ptr<Action> MakeCaptureAction(std::shared_ptr<GatewayLogic> logic, GateState mode,
                                                     std::unique_ptr<Gateway::Flag>& target);
    // Takes the exclusive passage of a new, open gateway for its creator.
    std::unique_ptr<Gateway::Flag> Close();

    // Enters the request at once if it can, otherwise queues it.
    void Capture(const std::shared_ptr<CaptureRequest>& request);
    // Gives back one passage and lets the waiters that can enter now in.
    void Release();

    void GetKeepAlive(std::shared_ptr<void>& out) override;
    // Lets the head of the queue in if the state allows it, and satisfies it outside the lock.
    void Process() override;

private:
    static bool CanEnterByState(GateState state, GateState mode);
    // The rest under Lock.
    bool CanEnter(GateState mode) const;
    bool HeadCanEnter() const;
    void Enter(GateState mode);
    void Push(std::shared_ptr<CaptureRequest> request);
    std::shared_ptr<CaptureRequest> Pop();
    void Satisfy(const std::shared_ptr<CaptureRequest>& me);

    // Waiting requests in arrival order. Lock guards it and the fields after it; held for queue decisions
    // only.
    std::deque<std::shared_ptr<CaptureRequest>> Requests;
    mutable std::mutex Lock;
    GateState State = StateOpen;
    std::uint32_t SharedCount = 0;
    // Exclusive requests in Requests, so a shared one decides without walking the queue.
    std::uint32_t QueuedExclusive = 0;
};

} // namespace Async::Detail
