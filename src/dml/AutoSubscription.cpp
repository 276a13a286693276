#include "dml/AutoSubscription.h"

#include "async/Errors.h"
#include "common/SafeAssert.h"
#include "common/Trace.h"
#include "dml/AsyncReportReader.h"
#include "dml/AsyncSubscription.h"
#include "dml/AsyncSubscriptionReader.h"
#include "dml/NullDeleter.h"
#include "dml/OpenFeedJob.h"
#include "dml/ReportReader.h"
#include "dml/Subscription.h"
#include "dml/SubscriptionReader.h"

#include <utility>

namespace Dml
{
namespace
{

// Failures that mark an orderly end of a chain rather than a fault: traced as debugging only.
constexpr std::uint32_t QuietEndCode = 0x00F90017;
constexpr int FaultLevel = 4;
constexpr int QuietLevel = 1;

// Never performed: a run from the cancelled idle state ends before it starts.
class NoAction final : public Async::Action
{
public:
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override
    {
        handler.Completed(Common::Success);
        return nullptr;
    }
};

// The feed whose job's completion runs on this thread.
thread_local const AutoSubscription* CompletingFeed = nullptr;

class IgnoredResult final : public Async::ActionHandler
{
public:
    void Completed(const Common::Error&) override {}
};

} // namespace

AutoSubscription::AutoSubscription(Core::EntryPoint entryPoint, PostOffice& postOffice, ViewSpec spec,
                                   std::shared_ptr<ReportReader> reportReader,
                                   std::shared_ptr<SubscriptionReader> subscriptionReader)
    : SubscriptionReaderPtr(std::move(subscriptionReader)), ReportReaderPtr(std::move(reportReader)),
      EntryPoint(std::move(entryPoint)), Spec(std::move(spec)), Office(postOffice)
{
}

AutoSubscription::AutoSubscription(Core::EntryPoint entryPoint, PostOffice& postOffice, ViewSpec spec,
                                   std::shared_ptr<AsyncReportReader> reportReader,
                                   std::shared_ptr<AsyncSubscriptionReader> subscriptionReader)
    : AsyncSubscriptionReaderPtr(std::move(subscriptionReader)),
      AsyncReportReaderPtr(std::move(reportReader)), EntryPoint(std::move(entryPoint)), Spec(std::move(spec)),
      Office(postOffice)
{
}

AutoSubscription::~AutoSubscription()
{
    Stop();
}

void AutoSubscription::SetCompletionHandler(std::shared_ptr<Async::ActionHandler> handler)
{
    std::lock_guard<std::mutex> guard(Lock);
    CompletionHandler = std::move(handler);
}

void AutoSubscription::SetSubscribedHandler(std::shared_ptr<Async::ActionHandler> handler)
{
    std::lock_guard<std::mutex> guard(Lock);
    SubscribedHandler = std::move(handler);
}

void AutoSubscription::Start()
{
    for (;;)
    {
        std::unique_lock<std::mutex> guard(Lock);
        if (Running)
        {
            // A running feed is not started again; and from the completion of its own job that job can
            // never be seen to end.
            SAFE_ASSERT_TEXT(Ending && CompletingFeed != this,
                             "Ending && CompletingFeed != this && \"AutoSubscription started twice.\"");
            if (!Ending || CompletingFeed == this)
            {
                return;
            }
        }
        // The last job's completion may still be on its way to setting the event: wait for it, so that its
        // Set cannot land on the new job's event.
        guard.unlock();
        Ended.Wait();
        guard.lock();
        if (Running)
        {
            continue;
        }
        // A Stop whose cancel came after the last job had ended leaves that cancel in the control, where
        // it would end the new job before it starts: consume it with a run that does nothing.
        if (Control.GetState() == Async::JobControl::StateCancelScheduledWaitAll)
        {
            NoAction none;
            IgnoredResult ignored;
            Control.Run(none, ignored, nullptr);
        }
        Started = true;
        Running = true;
        Ended.Reset();
        // The last job has ended: nothing uses the old feed any more.
        Feed.reset();
        AsyncFeed.reset();
        break;
    }
    if (AsyncReportReaderPtr != nullptr && AsyncSubscriptionReaderPtr != nullptr)
    {
        Details::AsyncOpenFeedAction open(Office, EntryPoint, Spec, AsyncReportReaderPtr,
                                          AsyncSubscriptionReaderPtr, &AsyncFeed, SubscribedHandler);
        Control.Run(open, *this, nullptr);
        return;
    }
    Details::OpenFeedAction open(Office, EntryPoint, Spec, ReportReaderPtr, SubscriptionReaderPtr, &Feed,
                                 SubscribedHandler);
    Control.Run(open, *this, nullptr);
}

void AutoSubscription::Stop()
{
    bool running = false;
    {
        std::lock_guard<std::mutex> guard(Lock);
        Started = false;
        running = Running;
    }
    if (running)
    {
        Control.Cancel();
    }
    // Set while no job runs; else by the last step of the job's completion, after which nothing of this
    // object is touched.
    Ended.Wait();
}

bool AutoSubscription::IsStarted() const
{
    std::lock_guard<std::mutex> guard(Lock);
    return Started;
}

void AutoSubscription::Finish(const Common::Error& result)
{
    if (CompletionHandler != nullptr)
    {
        CompletionHandler->Completed(result);
        return;
    }
    if (result.GetCode() == 0 || Async::Errors::HasCode(result, Async::ErrorCodes::Canceled))
    {
        return;
    }
    const bool quiet = Async::Errors::HasCode(result, Async::ErrorCodes::BarrierMark) ||
                       Async::Errors::HasCode(result, QuietEndCode);
    Common::TraceError(quiet ? QuietLevel : FaultLevel, result);
}

void AutoSubscription::Completed(const Common::Error& result)
{
    {
        std::lock_guard<std::mutex> guard(Lock);
        Ending = true;
    }
    const AutoSubscription* outer = std::exchange(CompletingFeed, this);
    Finish(result);
    CompletingFeed = outer;
    {
        std::lock_guard<std::mutex> guard(Lock);
        Running = false;
        Ending = false;
    }
    // The last touch: a waiting Stop may return, and the owner destroy this object, once it is set.
    Ended.Set();
}

std::unique_ptr<AutoSubscription> MakeAutoSubscription(const Core::EntryPoint& entryPoint,
                                                       PostOffice& postOffice, const ViewSpec& spec,
                                                       ReportReader& reportReader,
                                                       SubscriptionReader& subscriptionReader)
{
    return MakeAutoSubscription(entryPoint, postOffice, spec, Details::Unowned(reportReader),
                                Details::Unowned(subscriptionReader));
}

std::unique_ptr<AutoSubscription> MakeAutoSubscription(const Core::EntryPoint& entryPoint,
                                                       PostOffice& postOffice, const ViewSpec& spec,
                                                       SubscriptionReader& subscriptionReader)
{
    return MakeAutoSubscription(entryPoint, postOffice, spec, Details::Unowned(subscriptionReader));
}

std::unique_ptr<AutoSubscription> MakeAutoSubscription(const Core::EntryPoint& entryPoint,
                                                       PostOffice& postOffice, const ViewSpec& spec,
                                                       std::shared_ptr<ReportReader> reportReader,
                                                       std::shared_ptr<SubscriptionReader> subscriptionReader)
{
    return std::make_unique<AutoSubscription>(entryPoint, postOffice, spec, std::move(reportReader),
                                              std::move(subscriptionReader));
}

std::unique_ptr<AutoSubscription> MakeAutoSubscription(const Core::EntryPoint& entryPoint,
                                                       PostOffice& postOffice, const ViewSpec& spec,
                                                       std::shared_ptr<SubscriptionReader> subscriptionReader)
{
    return MakeAutoSubscription(entryPoint, postOffice, spec, std::shared_ptr<ReportReader>(),
                                std::move(subscriptionReader));
}

std::unique_ptr<AutoSubscription> MakeAutoSubscription(const Core::EntryPoint& entryPoint,
                                                       PostOffice& postOffice, const ViewSpec& spec,
                                                       AsyncReportReader& reportReader,
                                                       AsyncSubscriptionReader& subscriptionReader)
{
    return MakeAutoSubscription(entryPoint, postOffice, spec, Details::Unowned(reportReader),
                                Details::Unowned(subscriptionReader));
}

std::unique_ptr<AutoSubscription>
MakeAutoSubscription(const Core::EntryPoint& entryPoint, PostOffice& postOffice, const ViewSpec& spec,
                     std::shared_ptr<AsyncReportReader> reportReader,
                     std::shared_ptr<AsyncSubscriptionReader> subscriptionReader)
{
    return std::make_unique<AutoSubscription>(entryPoint, postOffice, spec, std::move(reportReader),
                                              std::move(subscriptionReader));
}

namespace
{
std::unique_ptr<AutoSubscription> Started(std::unique_ptr<AutoSubscription> subscription)
{
    subscription->Start();
    return subscription;
}
} // namespace

std::unique_ptr<AutoSubscription> StartAutoSubscription(const Core::EntryPoint& entryPoint,
                                                        PostOffice& postOffice, const ViewSpec& spec,
                                                        ReportReader& reportReader,
                                                        SubscriptionReader& subscriptionReader)
{
    return Started(MakeAutoSubscription(entryPoint, postOffice, spec, reportReader, subscriptionReader));
}

std::unique_ptr<AutoSubscription> StartAutoSubscription(const Core::EntryPoint& entryPoint,
                                                        PostOffice& postOffice, const ViewSpec& spec,
                                                        SubscriptionReader& subscriptionReader)
{
    return Started(MakeAutoSubscription(entryPoint, postOffice, spec, subscriptionReader));
}

std::unique_ptr<AutoSubscription>
StartAutoSubscription(const Core::EntryPoint& entryPoint, PostOffice& postOffice, const ViewSpec& spec,
                      std::shared_ptr<ReportReader> reportReader,
                      std::shared_ptr<SubscriptionReader> subscriptionReader)
{
    return Started(MakeAutoSubscription(entryPoint, postOffice, spec, std::move(reportReader),
                                        std::move(subscriptionReader)));
}

std::unique_ptr<AutoSubscription> StartAutoSubscription(const Core::EntryPoint& entryPoint,
                                                        PostOffice& postOffice, const ViewSpec& spec,
                                                        AsyncReportReader& reportReader,
                                                        AsyncSubscriptionReader& subscriptionReader)
{
    return Started(MakeAutoSubscription(entryPoint, postOffice, spec, reportReader, subscriptionReader));
}

std::unique_ptr<AutoSubscription>
StartAutoSubscription(const Core::EntryPoint& entryPoint, PostOffice& postOffice, const ViewSpec& spec,
                      std::shared_ptr<AsyncReportReader> reportReader,
                      std::shared_ptr<AsyncSubscriptionReader> subscriptionReader)
{
    return Started(MakeAutoSubscription(entryPoint, postOffice, spec, std::move(reportReader),
                                        std::move(subscriptionReader)));
}

} // namespace Dml
