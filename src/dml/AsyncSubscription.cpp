#include "dml/AsyncSubscription.h"

#include "async/Asynchronizer.h"
#include "dml/Errors.h"
#include "dml/Subscription.h"
#include "dml/SubscriptionActionReader.h"

namespace Dml
{

AsyncSubscription::AsyncSubscription(std::unique_ptr<Subscription> subscription,
                                     const Por::Construction::UnitFactory& factory)
    : Wrapped(std::move(subscription)), Factory(factory)
{
}

AsyncSubscription::~AsyncSubscription() = default;

std::shared_ptr<Async::Job> AsyncSubscription::ReadNews(AsyncSubscriptionReader& reader,
                                                        Async::ActionHandler& handler)
{
    if (Wrapped == nullptr)
    {
        handler.Completed(Errors::MakeNullPointer(COMMON_LOCATION("Dml::AsyncSubscription::ReadNews")));
        return nullptr;
    }
    // In sequence, so the reader's actions run one at a time and in notification order.
    const std::unique_ptr<Async::Action> reading = Async::MakeAsynchronizer(
        std::make_shared<AsyncSubscriptionImpl::SubscriptionActionReader>(*Wrapped, Factory, reader),
        Async::AsynchronizerKind::Sequence);
    return reading->Perform(handler);
}

} // namespace Dml
