#include "dml/SubscriptionActions.h"

#include "async/Asynchronizer.h"
#include "dml/AsyncReport.h"
#include "dml/AsyncSubscription.h"
#include "dml/Errors.h"
#include "dml/KeepAlive.h"
#include "dml/NullDeleter.h"
#include "dml/PostOffice.h"
#include "dml/ReportReaderDelegate.h"
#include "dml/Subscription.h"

namespace Dml::Actions
{

Subscribe::Subscribe(Core::EntryPoint entryPoint, ViewSpec spec, std::shared_ptr<ReportReader> reader,
                     std::unique_ptr<Subscription>& subscription, PostOffice& postOffice)
    : ReadAction(std::move(entryPoint), std::move(spec), postOffice), Reader(std::move(reader)),
      Slot(subscription)
{
}

Subscribe::Subscribe(Core::EntryPoint entryPoint, ViewSpec spec, ReportReader& reader,
                     std::unique_ptr<Subscription>& subscription, PostOffice& postOffice)
    : Subscribe(std::move(entryPoint), std::move(spec), std::make_shared<ReportReaderDelegate>(reader),
                subscription, postOffice)
{
}

std::shared_ptr<Async::Job> Subscribe::Perform(Async::ActionHandler& handler)
{
    return Dml::Detail::PerformKeepingAlive(
        Reader, handler,
        [&](Async::ActionHandler& keeper)
        { return Office.Subscribe(EntryPoint, Spec, Reader, Slot, keeper); });
}

AsyncSubscribe::AsyncSubscribe(Core::EntryPoint entryPoint, ViewSpec spec,
                               std::shared_ptr<AsyncReportReader> reader,
                               std::unique_ptr<AsyncSubscription>& subscription, PostOffice& postOffice,
                               const Por::Construction::UnitFactory& factory)
    : ReadAction(std::move(entryPoint), std::move(spec), postOffice), Reader(std::move(reader)),
      Slot(subscription), Factory(factory)
{
}

AsyncSubscribe::AsyncSubscribe(Core::EntryPoint entryPoint, ViewSpec spec, AsyncReportReader& reader,
                               std::unique_ptr<AsyncSubscription>& subscription, PostOffice& postOffice,
                               const Por::Construction::UnitFactory& factory)
    : AsyncSubscribe(std::move(entryPoint), std::move(spec), Details::Unowned(reader), subscription,
                     postOffice, factory)
{
}

std::shared_ptr<Async::Job> AsyncSubscribe::Perform(Async::ActionHandler& handler)
{
    if (Reader == nullptr)
    {
        handler.Completed(Errors::MakeNullPointer(COMMON_LOCATION("Dml::Actions::AsyncSubscribe::Perform")));
        return nullptr;
    }
    // The store fills the slot inside the new object, whose address outlives the feed.
    Slot = std::make_unique<AsyncSubscription>(nullptr, Factory);
    auto report = std::make_shared<AsyncReport>(EntryPoint, Spec, &Slot->GetSubscriptionSlot(), *Reader,
                                                Office, Factory);
    const std::unique_ptr<Async::Action> reading =
        Async::MakeAsynchronizer(std::move(report), Async::AsynchronizerKind::Sequence);
    return Dml::Detail::PerformKeepingAlive(
        Reader, handler, [&](Async::ActionHandler& keeper) { return reading->Perform(keeper); });
}

} // namespace Dml::Actions
