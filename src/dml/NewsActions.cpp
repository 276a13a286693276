#include "dml/NewsActions.h"

#include "async/CyclicRunner.h"
#include "dml/AsyncSubscription.h"
#include "dml/KeepAlive.h"
#include "dml/NullDeleter.h"
#include "dml/Subscription.h"
#include "dml/SubscriptionReaderDelegate.h"

namespace Dml::Actions
{

ReadNews::ReadNews(Subscription& subscription, std::shared_ptr<SubscriptionReader> reader)
    : Source(subscription), Reader(std::move(reader))
{
}

ReadNews::ReadNews(Subscription& subscription, SubscriptionReader& reader)
    : ReadNews(subscription, std::make_shared<SubscriptionReaderDelegate>(reader))
{
}

std::shared_ptr<Async::Job> ReadNews::Perform(Async::ActionHandler& handler)
{
    return Dml::Detail::PerformKeepingAlive(
        Reader, handler, [&](Async::ActionHandler& keeper) { return Source.ReadNews(*Reader, keeper); });
}

AsyncReadNews::AsyncReadNews(AsyncSubscription& subscription, std::shared_ptr<AsyncSubscriptionReader> reader)
    : Source(subscription), Reader(std::move(reader))
{
}

AsyncReadNews::AsyncReadNews(AsyncSubscription& subscription, AsyncSubscriptionReader& reader)
    : AsyncReadNews(subscription, Details::Unowned(reader))
{
}

std::shared_ptr<Async::Job> AsyncReadNews::Perform(Async::ActionHandler& handler)
{
    return Dml::Detail::PerformKeepingAlive(
        Reader, handler, [&](Async::ActionHandler& keeper) { return Source.ReadNews(*Reader, keeper); });
}

ReadNewsCyclic::ReadNewsCyclic(Subscription& subscription, std::shared_ptr<SubscriptionReader> reader)
    : Round(std::make_shared<ReadNews>(subscription, std::move(reader)))
{
}

ReadNewsCyclic::ReadNewsCyclic(Subscription& subscription, SubscriptionReader& reader)
    : Round(std::make_shared<ReadNews>(subscription, reader))
{
}

std::shared_ptr<Async::Job> ReadNewsCyclic::Perform(Async::ActionHandler& handler)
{
    Async::Detail::CyclicRunAction cycle(Round);
    return cycle.Perform(handler);
}

AsyncReadNewsCyclic::AsyncReadNewsCyclic(AsyncSubscription& subscription,
                                         std::shared_ptr<AsyncSubscriptionReader> reader)
    : Round(std::make_shared<AsyncReadNews>(subscription, std::move(reader)))
{
}

AsyncReadNewsCyclic::AsyncReadNewsCyclic(AsyncSubscription& subscription, AsyncSubscriptionReader& reader)
    : Round(std::make_shared<AsyncReadNews>(subscription, reader))
{
}

std::shared_ptr<Async::Job> AsyncReadNewsCyclic::Perform(Async::ActionHandler& handler)
{
    Async::Detail::CyclicRunAction cycle(Round);
    return cycle.Perform(handler);
}

} // namespace Dml::Actions
