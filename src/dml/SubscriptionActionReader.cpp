#include "dml/SubscriptionActionReader.h"

#include "async/ActionAdaptor.h"
#include "async/Errors.h"
#include "common/SafeAssert.h"
#include "dml/AsyncReport.h"
#include "dml/AsyncSubscriptionReader.h"
#include "dml/Subscription.h"
#include "por/UnitAccess.h"

namespace Dml::AsyncSubscriptionImpl
{

std::shared_ptr<Async::Job> SubscriptionActionReader::Read(Async::ActionConsumer& consumer,
                                                           Async::ActionHandler& handler)
{
    if (StoreRead)
    {
        // One store read per job: the news of the next read belongs to the next job.
        handler.Completed(Common::Success);
        return nullptr;
    }
    StoreRead = true;
    Consumer = &consumer;
    Handler = &handler;
    return Source.ReadNews(*this, *this);
}

void SubscriptionActionReader::Offer(std::shared_ptr<Async::Action> action)
{
    SAFE_ASSERT_TEXT(Consumer != nullptr, "EventHandler");
    if (Consumer == nullptr)
    {
        FirstError = Async::Errors::InvalidResult();
        return;
    }
    FirstError = Consumer->Consume(std::move(action));
}

void SubscriptionActionReader::OnCreated(const Por::View::Unit& object)
{
    if (IsRefused())
    {
        return;
    }
    AsyncSubscriptionReader& reader = Reader;
    Offer(Async::MakeAction([&reader, copy = Por::ConstUnitPtr(Por::Util::Copy(object, Factory))](
                                Async::ActionHandler& handler) { return reader.OnCreated(copy, handler); }));
}

void SubscriptionActionReader::OnUpdated(const Por::View::Unit& before, const Por::View::Unit& after)
{
    if (IsRefused())
    {
        return;
    }
    AsyncSubscriptionReader& reader = Reader;
    Offer(Async::MakeAction(
        [&reader, was = Por::ConstUnitPtr(Por::Util::Copy(before, Factory)),
         is = Por::ConstUnitPtr(Por::Util::Copy(after, Factory))](Async::ActionHandler& handler)
        { return reader.OnUpdated(was, is, handler); }));
}

void SubscriptionActionReader::OnDeleted(const Por::View::Unit& object)
{
    if (IsRefused())
    {
        return;
    }
    AsyncSubscriptionReader& reader = Reader;
    Offer(Async::MakeAction([&reader, copy = Por::ConstUnitPtr(Por::Util::Copy(object, Factory))](
                                Async::ActionHandler& handler) { return reader.OnDeleted(copy, handler); }));
}

void SubscriptionActionReader::Completed(const Common::Error& result)
{
    SAFE_ASSERT_TEXT(Handler != nullptr, "Handler");
    if (Handler == nullptr)
    {
        return;
    }
    // The handler may end the job that owns this reader: nothing of it is touched after the call.
    Async::ActionHandler& handler = *Handler;
    if (IsRefused())
    {
        handler.Completed(MakeConsumerFailed(
            COMMON_LOCATION("Dml::AsyncSubscriptionImpl::SubscriptionActionReader::Completed"), FirstError));
        return;
    }
    handler.Completed(result);
}

} // namespace Dml::AsyncSubscriptionImpl
