// The job of a feed, in two steps: open the subscription with its report, then read news cyclically
// until a read fails or the job is cancelled. A failed opening skips the reading. The subscribed handler,
// when set, is told the opening's result before the job goes on (or ends). Dml::Details::OpenFeedJob
// reads with synchronous readers, AsyncOpenFeedJob with asynchronous ones; the Open*Action classes make
// and start one per Perform. Readers, the slot and the subscribed handler are borrowed or shared as
// their types say; the slot must outlive the job.
#pragma once

#include "async/Action.h"
#include "async/JobComposition.h"
#include "dml/ViewSpec.h"
#include "runtime/EntryPoint.h"

#include <memory>

namespace Dml
{
class AsyncReportReader;
class AsyncSubscription;
class AsyncSubscriptionReader;
class PostOffice;
class ReportReader;
class Subscription;
class SubscriptionReader;
} // namespace Dml

namespace Dml::Details
{

// The steps and their order; the kinds say how to open and how to read.
class FeedJob : public Async::BaseMethodComposition<FeedJob>,
                public Async::ActionHandler,
                public std::enable_shared_from_this<FeedJob>
{
public:
    // Runs the steps; the job keeps itself alive until `handler` (borrowed until then) was called.
    void Begin(Async::ActionHandler& handler);
    // The end of the chain.
    void Completed(const Common::Error& result) override;

protected:
    explicit FeedJob(std::shared_ptr<Async::ActionHandler> subscribed) : Subscribed(std::move(subscribed)) {}

    virtual std::shared_ptr<Async::Job> PerformOpen(Async::ActionHandler& handler) = 0;
    virtual std::shared_ptr<Async::Job> PerformRead(Async::ActionHandler& handler) = 0;

private:
    std::shared_ptr<Async::Job> Open(Async::ActionHandler& handler);
    void OnOpened();
    std::shared_ptr<Async::Job> Read(Async::ActionHandler& handler) { return PerformRead(handler); }
    Common::Error OnRead(const Common::Error& result) { return result; }

    const std::shared_ptr<Async::ActionHandler> Subscribed;
    std::unique_ptr<Async::ActionHandler> OpeningHandler; // lives with the job
    Async::ActionHandler* Upper = nullptr;
    std::shared_ptr<FeedJob> Self;
};

class OpenFeedJob final : public FeedJob
{
public:
    // Without a report reader the report reaches `subscriptionReader` as created objects.
    OpenFeedJob(PostOffice& postOffice, Core::EntryPoint entryPoint, ViewSpec spec,
                std::shared_ptr<ReportReader> reportReader,
                std::shared_ptr<SubscriptionReader> subscriptionReader,
                std::unique_ptr<Subscription>* subscription,
                std::shared_ptr<Async::ActionHandler> subscribed);

private:
    std::shared_ptr<Async::Job> PerformOpen(Async::ActionHandler& handler) override;
    std::shared_ptr<Async::Job> PerformRead(Async::ActionHandler& handler) override;

    PostOffice& Office;
    const Core::EntryPoint EntryPoint;
    const ViewSpec Spec;
    const std::shared_ptr<ReportReader> ReportReaderPtr;
    const std::shared_ptr<SubscriptionReader> SubscriptionReaderPtr;
    std::unique_ptr<Subscription>* const Slot;
};

class AsyncOpenFeedJob final : public FeedJob
{
public:
    AsyncOpenFeedJob(PostOffice& postOffice, Core::EntryPoint entryPoint, ViewSpec spec,
                     std::shared_ptr<AsyncReportReader> reportReader,
                     std::shared_ptr<AsyncSubscriptionReader> subscriptionReader,
                     std::unique_ptr<AsyncSubscription>* subscription,
                     std::shared_ptr<Async::ActionHandler> subscribed);

private:
    std::shared_ptr<Async::Job> PerformOpen(Async::ActionHandler& handler) override;
    std::shared_ptr<Async::Job> PerformRead(Async::ActionHandler& handler) override;

    PostOffice& Office;
    const Core::EntryPoint EntryPoint;
    const ViewSpec Spec;
    const std::shared_ptr<AsyncReportReader> ReportReaderPtr;
    const std::shared_ptr<AsyncSubscriptionReader> SubscriptionReaderPtr;
    std::unique_ptr<AsyncSubscription>* const Slot;
};

class OpenFeedAction final : public Async::Action
{
public:
    OpenFeedAction(PostOffice& postOffice, Core::EntryPoint entryPoint, ViewSpec spec,
                   std::shared_ptr<ReportReader> reportReader,
                   std::shared_ptr<SubscriptionReader> subscriptionReader,
                   std::unique_ptr<Subscription>* subscription,
                   std::shared_ptr<Async::ActionHandler> subscribed);
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override;

private:
    PostOffice& Office;
    const Core::EntryPoint EntryPoint;
    const ViewSpec Spec;
    const std::shared_ptr<ReportReader> ReportReaderPtr;
    const std::shared_ptr<SubscriptionReader> SubscriptionReaderPtr;
    std::unique_ptr<Subscription>* const Slot;
    const std::shared_ptr<Async::ActionHandler> Subscribed;
};

class AsyncOpenFeedAction final : public Async::Action
{
public:
    AsyncOpenFeedAction(PostOffice& postOffice, Core::EntryPoint entryPoint, ViewSpec spec,
                        std::shared_ptr<AsyncReportReader> reportReader,
                        std::shared_ptr<AsyncSubscriptionReader> subscriptionReader,
                        std::unique_ptr<AsyncSubscription>* subscription,
                        std::shared_ptr<Async::ActionHandler> subscribed);
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override;

private:
    PostOffice& Office;
    const Core::EntryPoint EntryPoint;
    const ViewSpec Spec;
    const std::shared_ptr<AsyncReportReader> ReportReaderPtr;
    const std::shared_ptr<AsyncSubscriptionReader> SubscriptionReaderPtr;
    std::unique_ptr<AsyncSubscription>* const Slot;
    const std::shared_ptr<Async::ActionHandler> Subscribed;
};

} // namespace Dml::Details
