#include "dml/AsyncReport.h"

#include "async/ActionAdaptor.h"
#include "common/CatalogIds.h"
#include "common/SafeAssert.h"
#include "common/TextCatalog.h"
#include "dml/Errors.h"
#include "dml/KeepAlive.h"
#include "dml/PostOffice.h"
#include "dml/ReportReaderDelegate.h"
#include "por/UnitAccess.h"

namespace Dml
{

Common::Error MakeConsumerFailed(const Common::ErrorLocation& location, const Common::Error& cause)
{
    Common::Error error(location, ErrorCodes::General,
                        Common::WideStringView(Common::GetText(Common::Texts::DmlConsumerFailed)));
    error.SetSubError(cause);
    return error;
}

AsyncReport::AsyncReport(Core::EntryPoint entryPoint, ViewSpec spec,
                         std::unique_ptr<Subscription>* subscription, AsyncReportReader& reader,
                         PostOffice& postOffice, const Por::Construction::UnitFactory& factory)
    : EntryPoint(std::move(entryPoint)), Spec(std::move(spec)), SubscriptionSlot(subscription),
      Reader(reader), Office(postOffice), Factory(factory)
{
}

std::shared_ptr<Async::Job> AsyncReport::Read(Async::ActionConsumer& consumer, Async::ActionHandler& handler)
{
    if (StoreRead)
    {
        // The store was read in the first round; an empty round ends the stream.
        handler.Completed(Common::Success);
        return nullptr;
    }
    StoreRead = true;
    Consumer = &consumer;
    Handler = &handler;
    auto delegate = std::make_shared<ReportReaderDelegate>(static_cast<ReportReader&>(*this));
    return Detail::PerformKeepingAlive(delegate, *this,
                                       [&](Async::ActionHandler& keeper)
                                       {
                                           if (SubscriptionSlot != nullptr)
                                           {
                                               return Office.Subscribe(EntryPoint, Spec, delegate,
                                                                       *SubscriptionSlot, keeper);
                                           }
                                           return Office.Report(EntryPoint, Spec, delegate, keeper);
                                       });
}

void AsyncReport::OnSubject(const Por::View::Unit& object)
{
    if (FirstError.GetCode() != 0)
    {
        return;
    }
    Por::ConstUnitPtr copy = Por::Util::Copy(object, Factory);
    AsyncReportReader& reader = Reader;
    std::shared_ptr<Async::Action> action =
        Async::MakeAction([&reader, copy = std::move(copy)](Async::ActionHandler& handler)
                          { return reader.OnSubject(copy, handler); });
    SAFE_ASSERT_TEXT(Consumer != nullptr, "EventHandler");
    FirstError = Consumer->Consume(std::move(action));
}

void AsyncReport::Completed(const Common::Error& result)
{
    SAFE_ASSERT_TEXT(Handler != nullptr, "Handler");
    Async::ActionHandler* handler = Handler;
    if (FirstError.GetCode() != 0)
    {
        handler->Completed(MakeConsumerFailed(COMMON_LOCATION("Dml::AsyncReport::Completed"), FirstError));
        return;
    }
    handler->Completed(result);
}

} // namespace Dml
