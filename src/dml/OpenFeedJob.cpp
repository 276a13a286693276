#include "dml/OpenFeedJob.h"

#include "dml/AsyncSubscription.h"
#include "dml/DualActionHandler.h"
#include "dml/Errors.h"
#include "dml/NewsActions.h"
#include "dml/SubscribeWithoutReportReader.h"
#include "dml/Subscription.h"
#include "dml/SubscriptionActions.h"
#include "por/UnitFactory.h"

namespace Dml::Details
{

void FeedJob::Begin(Async::ActionHandler& handler)
{
    Upper = &handler;
    Self = shared_from_this();
    Start(*this);
    Step(&FeedJob::Open, &FeedJob::OnOpened);
}

void FeedJob::Completed(const Common::Error& result)
{
    const std::shared_ptr<FeedJob> self = std::move(Self);
    Upper->Completed(result);
}

std::shared_ptr<Async::Job> FeedJob::Open(Async::ActionHandler& handler)
{
    if (Subscribed == nullptr)
    {
        return PerformOpen(handler);
    }
    OpeningHandler = std::make_unique<DualActionHandler>(*Subscribed, handler);
    return PerformOpen(*OpeningHandler);
}

void FeedJob::OnOpened()
{
    Step(&FeedJob::Read, &FeedJob::OnRead);
}

OpenFeedJob::OpenFeedJob(PostOffice& postOffice, Core::EntryPoint entryPoint, ViewSpec spec,
                         std::shared_ptr<ReportReader> reportReader,
                         std::shared_ptr<SubscriptionReader> subscriptionReader,
                         std::unique_ptr<Subscription>* subscription,
                         std::shared_ptr<Async::ActionHandler> subscribed)
    : FeedJob(std::move(subscribed)), Office(postOffice), EntryPoint(std::move(entryPoint)),
      Spec(std::move(spec)), ReportReaderPtr(std::move(reportReader)),
      SubscriptionReaderPtr(std::move(subscriptionReader)), Slot(subscription)
{
}

std::shared_ptr<Async::Job> OpenFeedJob::PerformOpen(Async::ActionHandler& handler)
{
    if (SubscriptionReaderPtr == nullptr)
    {
        throw Errors::MakeNullPointer(COMMON_LOCATION("Dml::Details::OpenFeedJob::PerformOpen"));
    }
    std::shared_ptr<ReportReader> report = ReportReaderPtr;
    if (report == nullptr)
    {
        report = std::make_shared<SubscribeWithoutReportReader>(SubscriptionReaderPtr);
    }
    Actions::Subscribe subscribe(EntryPoint, Spec, std::move(report), *Slot, Office);
    return subscribe.Perform(handler);
}

std::shared_ptr<Async::Job> OpenFeedJob::PerformRead(Async::ActionHandler& handler)
{
    if (*Slot == nullptr || SubscriptionReaderPtr == nullptr)
    {
        throw Errors::MakeNullPointer(COMMON_LOCATION("Dml::Details::OpenFeedJob::PerformRead"));
    }
    Actions::ReadNewsCyclic reading(**Slot, SubscriptionReaderPtr);
    return reading.Perform(handler);
}

AsyncOpenFeedJob::AsyncOpenFeedJob(PostOffice& postOffice, Core::EntryPoint entryPoint, ViewSpec spec,
                                   std::shared_ptr<AsyncReportReader> reportReader,
                                   std::shared_ptr<AsyncSubscriptionReader> subscriptionReader,
                                   std::unique_ptr<AsyncSubscription>* subscription,
                                   std::shared_ptr<Async::ActionHandler> subscribed)
    : FeedJob(std::move(subscribed)), Office(postOffice), EntryPoint(std::move(entryPoint)),
      Spec(std::move(spec)), ReportReaderPtr(std::move(reportReader)),
      SubscriptionReaderPtr(std::move(subscriptionReader)), Slot(subscription)
{
}

std::shared_ptr<Async::Job> AsyncOpenFeedJob::PerformOpen(Async::ActionHandler& handler)
{
    Actions::AsyncSubscribe subscribe(EntryPoint, Spec, ReportReaderPtr, *Slot, Office,
                                      Por::GetUnitFactory());
    return subscribe.Perform(handler);
}

std::shared_ptr<Async::Job> AsyncOpenFeedJob::PerformRead(Async::ActionHandler& handler)
{
    if (*Slot == nullptr || SubscriptionReaderPtr == nullptr)
    {
        throw Errors::MakeNullPointer(COMMON_LOCATION("Dml::Details::AsyncOpenFeedJob::PerformRead"));
    }
    Actions::AsyncReadNewsCyclic reading(**Slot, SubscriptionReaderPtr);
    return reading.Perform(handler);
}

OpenFeedAction::OpenFeedAction(PostOffice& postOffice, Core::EntryPoint entryPoint, ViewSpec spec,
                               std::shared_ptr<ReportReader> reportReader,
                               std::shared_ptr<SubscriptionReader> subscriptionReader,
                               std::unique_ptr<Subscription>* subscription,
                               std::shared_ptr<Async::ActionHandler> subscribed)
    : Office(postOffice), EntryPoint(std::move(entryPoint)), Spec(std::move(spec)),
      ReportReaderPtr(std::move(reportReader)), SubscriptionReaderPtr(std::move(subscriptionReader)),
      Slot(subscription), Subscribed(std::move(subscribed))
{
}

std::shared_ptr<Async::Job> OpenFeedAction::Perform(Async::ActionHandler& handler)
{
    auto job = std::make_shared<OpenFeedJob>(Office, EntryPoint, Spec, ReportReaderPtr, SubscriptionReaderPtr,
                                             Slot, Subscribed);
    job->Begin(handler);
    return job;
}

AsyncOpenFeedAction::AsyncOpenFeedAction(PostOffice& postOffice, Core::EntryPoint entryPoint, ViewSpec spec,
                                         std::shared_ptr<AsyncReportReader> reportReader,
                                         std::shared_ptr<AsyncSubscriptionReader> subscriptionReader,
                                         std::unique_ptr<AsyncSubscription>* subscription,
                                         std::shared_ptr<Async::ActionHandler> subscribed)
    : Office(postOffice), EntryPoint(std::move(entryPoint)), Spec(std::move(spec)),
      ReportReaderPtr(std::move(reportReader)), SubscriptionReaderPtr(std::move(subscriptionReader)),
      Slot(subscription), Subscribed(std::move(subscribed))
{
}

std::shared_ptr<Async::Job> AsyncOpenFeedAction::Perform(Async::ActionHandler& handler)
{
    auto job = std::make_shared<AsyncOpenFeedJob>(Office, EntryPoint, Spec, ReportReaderPtr,
                                                  SubscriptionReaderPtr, Slot, Subscribed);
    job->Begin(handler);
    return job;
}

} // namespace Dml::Details
