#include "async/TailRecursionController.h"

#include "async/Job.h"
#include "async/Metronome.h"
#include "async/Service.h"

#include <functional>
#include <mutex>

namespace Async
{
namespace
{

using ProcessingDetachment = TailRecursionController::ProcessingDetachment;

// Ticks that work may wait behind a busy round before it moves to a service thread.
constexpr std::uint32_t DetachmentPeriod = 60;

// Continues a loop on a service thread, holding its controller alive until it ran.
class LoopWork final : public Work
{
public:
    LoopWork(std::shared_ptr<void> keepAlive, std::function<void()> loop)
        : KeepAlive(std::move(keepAlive)), Loop(std::move(loop))
    {
    }

    void Run() override { Loop(); }
    void Describe(WorkDescription& out) const override
    {
        out = WorkDescription();
        out.Location = COMMON_LOCATION("Async::TailRecursionController::ProcessingDetachment::Fork");
    }

private:
    std::shared_ptr<void> KeepAlive;
    std::function<void()> Loop;
};

// The metronome watch of one thread's loops. While a round of the thread has work waiting behind it, the
// watch listens to the period-60 metronome, and at the beat moves that work away through the round's
// detachment. One listener per thread, armed at most once per beat: a synchronous chain then pays two
// pointer stores per round instead of a metronome wait per round. The watch keeps itself alive while
// armed, so a thread may end with a wait pending.
class ThreadWatch final : public MetronomeListener, public std::enable_shared_from_this<ThreadWatch>
{
public:
    static ThreadWatch& ForThisThread()
    {
        thread_local const std::shared_ptr<ThreadWatch> watch = std::make_shared<ThreadWatch>();
        return *watch;
    }

    // On the watch's thread: `detachment`'s round has work waiting.
    void Attach(ProcessingDetachment& detachment)
    {
        {
            std::lock_guard<std::mutex> guard(Lock);
            Current = &detachment;
            if (Armed)
            {
                return;
            }
        }
        Service* service = nullptr;
        GetAsyncService(&service);
        std::shared_ptr<Metronome> beat =
            service != nullptr ? service->GetMetronome().GetMetronome(DetachmentPeriod) : nullptr;
        if (beat == nullptr)
        {
            return;
        }
        {
            // Not armed means the last wait's Completed has ended: the listener is idle.
            std::lock_guard<std::mutex> guard(Lock);
            Armed = true;
            Self = shared_from_this();
            Beat = std::move(beat);
        }
        Listen(*Beat);
    }

    // On the watch's thread: the round of `detachment` is over.
    void Detach(const ProcessingDetachment& detachment)
    {
        std::lock_guard<std::mutex> guard(Lock);
        if (Current == &detachment)
        {
            Current = nullptr;
        }
    }

    void Completed(const Common::Error& result) override
    {
        MetronomeListener::Completed(result);
        std::shared_ptr<ThreadWatch> self;
        {
            std::lock_guard<std::mutex> guard(Lock);
            Armed = false;
            self = std::move(Self);
        }
        // May destroy this watch if its thread has ended.
    }

protected:
    void OnTick() override
    {
        std::shared_ptr<Work> work;
        {
            // Under the lock the round can't end, so its detachment stays valid.
            std::lock_guard<std::mutex> guard(Lock);
            if (Current != nullptr && Current->CanFork(nullptr))
            {
                Current->Fork(work);
            }
        }
        if (work != nullptr)
        {
            Service* service = nullptr;
            GetAsyncService(&service);
            SynchronizationFork::Dispatch(service, std::move(work));
        }
    }

private:
    std::mutex Lock;
    ProcessingDetachment* Current = nullptr;
    bool Armed = false;
    std::shared_ptr<ThreadWatch> Self;
    std::shared_ptr<Metronome> Beat;
};

} // namespace

void TailRecursionController::Notify()
{
    std::shared_ptr<void> keepAlive;
    GetKeepAlive(keepAlive);
    ProcessingDetachment* detachment = nullptr;
    bool processing = false;
    {
        Common::LightMutexLock lock(Lock);
        detachment = Detachment;
        Detachment = nullptr;
        Pending = true;
        processing = ProcessingThread == Common::GetCurrentThreadId();
    }
    if (!processing)
    {
        RunLoop();
        return;
    }
    // The loop further up this stack picks the work up when its Process returns; the detachment it
    // registered lives as long as that round, so it can be told here.
    if (detachment != nullptr)
    {
        detachment->OnWorkAppeared();
    }
}

void TailRecursionController::RunLoop()
{
    const Common::ThreadId self = Common::GetCurrentThreadId();
    std::shared_ptr<void> keepAlive;
    bool first = true;
    for (;;)
    {
        ProcessingDetachment detachment(*this);
        {
            Common::LightMutexLock lock(Lock);
            if (!Pending)
            {
                // A loop that found nothing at once never owned the thread mark: another loop may.
                if (!first && ProcessingThread == self)
                {
                    ProcessingThread = 0;
                }
                return;
            }
            Pending = false;
            ProcessingThread = self;
            Detachment = &detachment;
        }
        if (keepAlive == nullptr)
        {
            GetKeepAlive(keepAlive);
        }
        first = false;
        Process();
    }
}

bool TailRecursionController::IsPendingOn(Common::ThreadId thread)
{
    Common::LightMutexLock lock(Lock);
    return Pending && ProcessingThread == thread;
}

void TailRecursionController::Forget(const ProcessingDetachment& detachment)
{
    Common::LightMutexLock lock(Lock);
    if (Detachment == &detachment)
    {
        Detachment = nullptr;
    }
}

TailRecursionController::ProcessingDetachment::ProcessingDetachment(TailRecursionController& controller)
    : Controller(controller), LoopThread(Common::GetCurrentThreadId())
{
}

TailRecursionController::ProcessingDetachment::~ProcessingDetachment()
{
    Controller.Forget(*this);
    if (Watched)
    {
        ThreadWatch::ForThisThread().Detach(*this);
    }
}

bool TailRecursionController::ProcessingDetachment::CanFork(void*)
{
    return Controller.IsPendingOn(LoopThread);
}

void TailRecursionController::ProcessingDetachment::Fork(std::shared_ptr<Work>& out)
{
    std::shared_ptr<void> keepAlive;
    Controller.GetKeepAlive(keepAlive);
    TailRecursionController& controller = Controller;
    out = std::make_shared<LoopWork>(std::move(keepAlive), [&controller] { controller.RunLoop(); });
}

void TailRecursionController::ProcessingDetachment::OnWorkAppeared()
{
    if (!Watched)
    {
        Watched = true;
        ThreadWatch::ForThisThread().Attach(*this);
    }
}

} // namespace Async
