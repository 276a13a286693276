// Dml::AsyncReport reads a report (or opens a subscription with its report) as a stream of actions: each
// object is copied and bound to the AsyncReportReader's OnSubject, and the action handed to the consumer
// of the action-reading job that runs it. The first refusal of the consumer drops every later object,
// and the read then ends with 0xFC0001 "Async action consumer failed to handle action." with the
// refusal as cause. One round reads the store; any later round of the same job ends the stream.
#pragma once

#include "async/ActionReader.h"
#include "dml/AsyncReportReader.h"
#include "dml/ReportReader.h"
#include "dml/ViewSpec.h"
#include "runtime/EntryPoint.h"

#include <memory>

namespace Dml
{

class PostOffice;
class Subscription;

class AsyncReport final : public Async::ActionReader, public ReportReader, public Async::ActionHandler
{
public:
    // With a non-null `subscription` the read is a Subscribe that fills it.
    AsyncReport(Core::EntryPoint entryPoint, ViewSpec spec, std::unique_ptr<Subscription>* subscription,
                AsyncReportReader& reader, PostOffice& postOffice,
                const Por::Construction::UnitFactory& factory);

    std::shared_ptr<Async::Job> Read(Async::ActionConsumer& consumer, Async::ActionHandler& handler) override;

    using ReportReader::OnSubject;
    void OnSubject(const Por::View::Unit& object) override;
    void Completed(const Common::Error& result) override;

private:
    const Core::EntryPoint EntryPoint;
    const ViewSpec Spec;
    std::unique_ptr<Subscription>* const SubscriptionSlot;
    AsyncReportReader& Reader;
    PostOffice& Office;
    const Por::Construction::UnitFactory& Factory;
    Async::ActionConsumer* Consumer = nullptr;
    Async::ActionHandler* Handler = nullptr;
    Common::Error FirstError;
    bool StoreRead = false;
};

// The 0xFC0001 error of a consumer that refused an action, `cause` chained.
Common::Error MakeConsumerFailed(const Common::ErrorLocation& location, const Common::Error& cause);

} // namespace Dml
