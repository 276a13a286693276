#include "async/GatewayLogic.h"

#include "async/Errors.h"
#include "async/Service.h"
#include "async/SynchronizationFork.h"
#include "common/CatalogIds.h"
#include "common/SafeAssert.h"
#include "common/TextCatalog.h"
#include "common/Trace.h"

#include <atomic>

namespace Async::Detail
{
namespace
{

constexpr int SwallowedErrorLevel = 4;

// Continues handing the gate over on a service thread.
class NotifyWork final : public Work
{
public:
    explicit NotifyWork(std::shared_ptr<GatewayLogic> logic) : Logic(std::move(logic)) {}

    void Run() override { Logic->Notify(); }
    void Describe(WorkDescription& out) const override
    {
        out = WorkDescription();
        out.Location = COMMON_LOCATION("Async::Detail::GatewayLogic::DetachSatisfyProcess::Fork");
    }

private:
    std::shared_ptr<GatewayLogic> Logic;
};

} // namespace

// Flags are owned by their callers; each keeps the gate alive, so a flag may outlive its gateway.
class GatewayLogic::FlagLogic final : public Gateway::Flag
{
public:
    explicit FlagLogic(std::shared_ptr<GatewayLogic> keepAlive)
        : Logic(*keepAlive), KeepAlive(std::move(keepAlive))
    {
    }
    ~FlagLogic() override { Release(); }

    void Release() override
    {
        if (!Released)
        {
            Released = true;
            Logic.Release();
        }
    }

private:
    GatewayLogic& Logic;
    bool Released = false;
    std::shared_ptr<GatewayLogic> KeepAlive;
};

// One Perform of a capture action: the job of a waiting passage. Whoever takes the handler first, the
// satisfying thread or Cancel, completes it; the request itself stays queued until its turn.
class GatewayLogic::CaptureRequest final : public BaseJob
{
public:
    CaptureRequest(GateState mode, std::unique_ptr<Gateway::Flag>& target, ActionHandler& handler)
        : Mode(mode), Target(target), Handler(&handler)
    {
        SAFE_ASSERT_TEXT(!target.get(), "!Lock.get() && \"Gateway flag is already acquired.\"");
    }
    ~CaptureRequest() override
    {
        SAFE_ASSERT_TEXT(Acquired || Cancelled.load(std::memory_order_acquire),
                         "(Acquired || Cancelled) && \"Premature async gateway job destruction.\"");
    }

    void Cancel() override
    {
        Cancelled.store(true, std::memory_order_release);
        if (ActionHandler* handler = Handler.exchange(nullptr, std::memory_order_acq_rel))
        {
            handler->Completed(
                Errors::MakeCanceled(COMMON_LOCATION("Async::Detail::GatewayLogic::CaptureRequest::Cancel")));
        }
    }

    // "ASYNC: Gateway get exclusive passage job." or "ASYNC: Gateway get shared passage job."
    void Describe(WorkDescription& out) const override
    {
        out = WorkDescription(COMMON_LOCATION("Async::Detail::GatewayLogic::CaptureRequest::Describe"),
                              Common::GetText(Mode == StateExclusive ? Common::Texts::AsyncGatewayExclusiveJob
                                                                     : Common::Texts::AsyncGatewaySharedJob));
    }

    const GateState Mode;
    std::unique_ptr<Gateway::Flag>& Target;
    std::atomic<ActionHandler*> Handler;
    // Written by the satisfying thread only.
    bool Acquired = false;
    std::atomic<bool> Cancelled{false};
};

// On the callback stack while a passage is handed over: if the handler blocks, waiters that could enter
// meanwhile are let in from a service thread instead of waiting for it.
class GatewayLogic::DetachSatisfyProcess final : public SynchronizationFork
{
public:
    explicit DetachSatisfyProcess(GatewayLogic& logic) : Logic(logic) {}

    bool CanFork(void*) override
    {
        std::lock_guard<std::mutex> guard(Logic.Lock);
        return Logic.HeadCanEnter();
    }
    void Fork(std::shared_ptr<Work>& out) override
    {
        out = std::make_shared<NotifyWork>(Logic.shared_from_this());
    }

private:
    GatewayLogic& Logic;
};

namespace
{

class CaptureAction final : public Action
{
public:
    CaptureAction(std::shared_ptr<GatewayLogic> logic, GatewayLogic::GateState mode,
                  std::unique_ptr<Gateway::Flag>& target)
        : Logic(std::move(logic)), Mode(mode), Target(target)
    {
    }

    std::shared_ptr<Job> Perform(ActionHandler& handler) override
    {
        auto request = std::make_shared<GatewayLogic::CaptureRequest>(Mode, Target, handler);
        Logic->Capture(request);
        return request;
    }

private:
    const std::shared_ptr<GatewayLogic> Logic;
    const GatewayLogic::GateState Mode;
    std::unique_ptr<Gateway::Flag>& Target;
};

} // namespace

GatewayLogic::~GatewayLogic() = default;

std::unique_ptr<Action> GatewayLogic::MakeCaptureAction(std::shared_ptr<GatewayLogic> logic, GateState mode,
                                                        std::unique_ptr<Gateway::Flag>& target)
{
    return std::make_unique<CaptureAction>(std::move(logic), mode, target);
}

std::unique_ptr<Gateway::Flag> GatewayLogic::Close()
{
    {
        std::lock_guard<std::mutex> guard(Lock);
        Enter(StateExclusive);
    }
    return std::make_unique<FlagLogic>(shared_from_this());
}

void GatewayLogic::Capture(const std::shared_ptr<CaptureRequest>& request)
{
    {
        std::lock_guard<std::mutex> guard(Lock);
        if (!CanEnter(request->Mode))
        {
            Push(request);
            return;
        }
        Enter(request->Mode);
    }
    Satisfy(request);
}

void GatewayLogic::Release()
{
    bool next = false;
    {
        std::lock_guard<std::mutex> guard(Lock);
        SAFE_ASSERT_TEXT(State != StateOpen, "State != STATE_OPEN");
        SAFE_ASSERT_TEXT(State == StateExclusive || SharedCount > 0,
                         "State == STATE_EXCLUSIVE || SharedCount > 0");
        if (State == StateShared && SharedCount > 0 && --SharedCount > 0)
        {
            return;
        }
        State = StateOpen;
        SharedCount = 0;
        next = HeadCanEnter();
    }
    // One round per waiter: Process announces the next one itself, so a release from inside a handler
    // only marks the loop further up this stack.
    if (next)
    {
        Notify();
    }
}

void GatewayLogic::GetKeepAlive(std::shared_ptr<void>& out)
{
    out = shared_from_this();
}

void GatewayLogic::Process()
{
    std::shared_ptr<CaptureRequest> next;
    bool more = false;
    {
        std::lock_guard<std::mutex> guard(Lock);
        if (!HeadCanEnter())
        {
            return; // another round took it
        }
        next = Pop();
        Enter(next->Mode);
        more = HeadCanEnter();
    }
    // Shared waiters behind this one enter in the loop's next round.
    if (more)
    {
        Notify();
    }
    DetachSatisfyProcess detachment(*this);
    Satisfy(next);
}

bool GatewayLogic::CanEnterByState(GateState state, GateState mode)
{
    return mode == StateExclusive ? state == StateOpen : state != StateExclusive;
}

bool GatewayLogic::CanEnter(GateState mode) const
{
    return mode == StateExclusive ? State == StateOpen && Requests.empty()
                                  : State != StateExclusive && QueuedExclusive == 0;
}

bool GatewayLogic::HeadCanEnter() const
{
    return !Requests.empty() && CanEnterByState(State, Requests.front()->Mode);
}

void GatewayLogic::Enter(GateState mode)
{
    State = mode;
    if (mode == StateShared)
    {
        ++SharedCount;
    }
}

void GatewayLogic::Push(std::shared_ptr<CaptureRequest> request)
{
    if (request->Mode == StateExclusive)
    {
        ++QueuedExclusive;
    }
    Requests.push_back(std::move(request));
}

std::shared_ptr<GatewayLogic::CaptureRequest> GatewayLogic::Pop()
{
    std::shared_ptr<CaptureRequest> head = std::move(Requests.front());
    Requests.pop_front();
    if (head->Mode == StateExclusive)
    {
        --QueuedExclusive;
    }
    return head;
}

void GatewayLogic::Satisfy(const std::shared_ptr<CaptureRequest>& me)
{
    CaptureRequest& request = *me;
    SAFE_ASSERT_TEXT(me.use_count() >= 1 || request.Cancelled.load(std::memory_order_acquire),
                     "(me.use_count() >= 1 || Cancelled) && \"Premature async gateway job destruction.\"");
    SAFE_ASSERT_TEXT(!request.Acquired, "!Acquired && \"Gateway logic broken.\"");
    request.Acquired = true;
    ActionHandler* handler = request.Handler.exchange(nullptr, std::memory_order_acq_rel);
    if (handler == nullptr)
    {
        // Cancelled while waiting: nobody will hold this passage.
        Release();
        return;
    }
    request.Target = std::make_unique<FlagLogic>(shared_from_this());
    try
    {
        handler->Completed(Common::Success);
    }
    catch (...)
    {
        // Must not unwind the loop; the passage stays with the flag the handler got.
        Common::TraceError(SwallowedErrorLevel,
                           Errors::CurrentException(COMMON_LOCATION("Async::Detail::GatewayLogic::Satisfy"),
                                                    u"Finalize run"));
    }
}

} // namespace Async::Detail
