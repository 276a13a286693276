// Dml::AutoSubscription: a feed that runs by itself once started. Start opens the subscription (the
// report reaches the report reader or, without one, OnCreated of the subscription reader) and then reads
// news until the feed fails or is stopped; there is no reconnect. Stop cancels the feed and returns when
// its job has ended, so no reader function runs any more and none will; it must not be called from a
// reader function or handler of the same feed. Start, Stop and IsStarted are thread-safe; the readers,
// handlers and post office must outlive the feed (readers by reference until Stop has returned).
//
// The end of the feed goes to the completion handler when one is set; otherwise a failure is traced,
// except a cancellation (0x00F90002): at level 1 when its chain holds 0x00F9000A or 0x00F90017, else at 4.
#pragma once

#include "async/Action.h"
#include "async/JobControl.h"
#include "common/Event.h"
#include "dml/ViewSpec.h"
#include "runtime/EntryPoint.h"

#include <memory>
#include <mutex>

namespace Dml
{

class AsyncReportReader;
class AsyncSubscription;
class AsyncSubscriptionReader;
class PostOffice;
class ReportReader;
class Subscription;
class SubscriptionReader;

class AutoSubscription final : public Async::ActionHandler
{
public:
    // Synchronous form; `reportReader` may be null.
    AutoSubscription(Core::EntryPoint entryPoint, PostOffice& postOffice, ViewSpec spec,
                     std::shared_ptr<ReportReader> reportReader,
                     std::shared_ptr<SubscriptionReader> subscriptionReader);
    // Asynchronous form; each notification is an action of the reader, run one at a time in order.
    AutoSubscription(Core::EntryPoint entryPoint, PostOffice& postOffice, ViewSpec spec,
                     std::shared_ptr<AsyncReportReader> reportReader,
                     std::shared_ptr<AsyncSubscriptionReader> subscriptionReader);
    // Stops the feed first.
    ~AutoSubscription() override;

    // Told when the whole feed ends, instead of the trace. Set before Start.
    void SetCompletionHandler(std::shared_ptr<Async::ActionHandler> handler);
    // Told when the opening has ended, with its result, before the feed goes on. Set before Start.
    void SetSubscribedHandler(std::shared_ptr<Async::ActionHandler> handler);

    // Opens the feed and returns. While the last job's end is still being handled (its completion handler
    // runs on another thread), waits for that first. Asserts and does nothing while the feed runs, or when
    // called from this feed's own completion handler.
    void Start();
    // Cancels the feed and waits for its job to end; returns at once when no job runs.
    void Stop();
    // Set by Start, cleared by Stop.
    bool IsStarted() const;

    // The end of the feed's job.
    void Completed(const Common::Error& result) override;

private:
    void Finish(const Common::Error& result);

    std::shared_ptr<Async::ActionHandler> CompletionHandler;
    std::shared_ptr<Async::ActionHandler> SubscribedHandler;
    const std::shared_ptr<SubscriptionReader> SubscriptionReaderPtr;
    const std::shared_ptr<ReportReader> ReportReaderPtr;
    std::unique_ptr<Subscription> Feed; // filled by the store; its address stays for the feed's life
    const std::shared_ptr<AsyncSubscriptionReader> AsyncSubscriptionReaderPtr;
    const std::shared_ptr<AsyncReportReader> AsyncReportReaderPtr;
    std::unique_ptr<AsyncSubscription> AsyncFeed;
    const Core::EntryPoint EntryPoint;
    const ViewSpec Spec;
    Async::JobControl Control;
    PostOffice& Office;

    mutable std::mutex Lock;
    bool Started = false; // guarded by Lock
    bool Running = false; // a job runs; guarded by Lock
    bool Ending = false;  // its end is being handled; guarded by Lock
    Common::Event Ended{true, true}; // set while no job runs
};

// Readers by reference must outlive the feed; shared ones are kept by it. A null report reader, or the
// forms without one, open the feed with the report going to OnCreated.
std::unique_ptr<AutoSubscription> MakeAutoSubscription(const Core::EntryPoint& entryPoint,
                                                       PostOffice& postOffice, const ViewSpec& spec,
                                                       ReportReader& reportReader,
                                                       SubscriptionReader& subscriptionReader);
std::unique_ptr<AutoSubscription> MakeAutoSubscription(const Core::EntryPoint& entryPoint,
                                                       PostOffice& postOffice, const ViewSpec& spec,
                                                       SubscriptionReader& subscriptionReader);
std::unique_ptr<AutoSubscription>
MakeAutoSubscription(const Core::EntryPoint& entryPoint, PostOffice& postOffice, const ViewSpec& spec,
                     std::shared_ptr<ReportReader> reportReader,
                     std::shared_ptr<SubscriptionReader> subscriptionReader);
std::unique_ptr<AutoSubscription>
MakeAutoSubscription(const Core::EntryPoint& entryPoint, PostOffice& postOffice, const ViewSpec& spec,
                     std::shared_ptr<SubscriptionReader> subscriptionReader);
std::unique_ptr<AutoSubscription> MakeAutoSubscription(const Core::EntryPoint& entryPoint,
                                                       PostOffice& postOffice, const ViewSpec& spec,
                                                       AsyncReportReader& reportReader,
                                                       AsyncSubscriptionReader& subscriptionReader);
std::unique_ptr<AutoSubscription>
MakeAutoSubscription(const Core::EntryPoint& entryPoint, PostOffice& postOffice, const ViewSpec& spec,
                     std::shared_ptr<AsyncReportReader> reportReader,
                     std::shared_ptr<AsyncSubscriptionReader> subscriptionReader);

// The same, started before they return.
std::unique_ptr<AutoSubscription> StartAutoSubscription(const Core::EntryPoint& entryPoint,
                                                        PostOffice& postOffice, const ViewSpec& spec,
                                                        ReportReader& reportReader,
                                                        SubscriptionReader& subscriptionReader);
std::unique_ptr<AutoSubscription> StartAutoSubscription(const Core::EntryPoint& entryPoint,
                                                        PostOffice& postOffice, const ViewSpec& spec,
                                                        SubscriptionReader& subscriptionReader);
std::unique_ptr<AutoSubscription>
StartAutoSubscription(const Core::EntryPoint& entryPoint, PostOffice& postOffice, const ViewSpec& spec,
                      std::shared_ptr<ReportReader> reportReader,
                      std::shared_ptr<SubscriptionReader> subscriptionReader);
std::unique_ptr<AutoSubscription> StartAutoSubscription(const Core::EntryPoint& entryPoint,
                                                        PostOffice& postOffice, const ViewSpec& spec,
                                                        AsyncReportReader& reportReader,
                                                        AsyncSubscriptionReader& subscriptionReader);
std::unique_ptr<AutoSubscription>
StartAutoSubscription(const Core::EntryPoint& entryPoint, PostOffice& postOffice, const ViewSpec& spec,
                      std::shared_ptr<AsyncReportReader> reportReader,
                      std::shared_ptr<AsyncSubscriptionReader> subscriptionReader);

} // namespace Dml
