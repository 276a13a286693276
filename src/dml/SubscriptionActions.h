// Dml::Actions that open a feed. Subscribe walks the opening report into a report reader and, when the
// store has completed, leaves the feed in the caller's slot. AsyncSubscribe does the same with an
// AsyncReportReader, whose action for each object runs one at a time in report order, and leaves an
// AsyncSubscription over the feed in the caller's slot. Slots and readers given by reference must
// outlive the run (and, for a slot, the feed); shared readers are kept until the run has completed.
#pragma once

#include "dml/ActionBases.h"
#include "dml/AsyncReportReader.h"
#include "dml/ReportReader.h"

#include <memory>

namespace Dml
{
class AsyncSubscription;
class Subscription;
} // namespace Dml

namespace Dml::Actions
{

class Subscribe final : public Detail::ReadAction
{
public:
    // `reader` may be null: the report is then not read by anyone.
    Subscribe(Core::EntryPoint entryPoint, ViewSpec spec, std::shared_ptr<ReportReader> reader,
              std::unique_ptr<Subscription>& subscription, PostOffice& postOffice);
    Subscribe(Core::EntryPoint entryPoint, ViewSpec spec, ReportReader& reader,
              std::unique_ptr<Subscription>& subscription, PostOffice& postOffice);
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override;

private:
    const std::shared_ptr<ReportReader> Reader;
    std::unique_ptr<Subscription>& Slot;
};

class AsyncSubscribe final : public Detail::ReadAction
{
public:
    // A null reader fails with 0x00AC0003 at once. The slot gets its AsyncSubscription when performed,
    // before the store is asked; the store fills that object's own slot.
    AsyncSubscribe(Core::EntryPoint entryPoint, ViewSpec spec, std::shared_ptr<AsyncReportReader> reader,
                   std::unique_ptr<AsyncSubscription>& subscription, PostOffice& postOffice,
                   const Por::Construction::UnitFactory& factory);
    AsyncSubscribe(Core::EntryPoint entryPoint, ViewSpec spec, AsyncReportReader& reader,
                   std::unique_ptr<AsyncSubscription>& subscription, PostOffice& postOffice,
                   const Por::Construction::UnitFactory& factory);
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override;

private:
    const std::shared_ptr<AsyncReportReader> Reader;
    std::unique_ptr<AsyncSubscription>& Slot;
    const Por::Construction::UnitFactory& Factory;
};

} // namespace Dml::Actions
