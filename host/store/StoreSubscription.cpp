#include "StoreSubscription.h"

#include "Feed.h"
#include "StoreCore.h"

namespace Host::Store
{

StoreSubscription::StoreSubscription(std::shared_ptr<Detail::StoreCore> core,
                                     std::shared_ptr<Detail::Feed> feed)
    : Core(std::move(core)), News(std::move(feed))
{
}

StoreSubscription::~StoreSubscription()
{
    Core->RemoveFeed(*News);
    News->Close();
}

std::shared_ptr<Async::Job> StoreSubscription::ReadNews(Dml::SubscriptionReader& reader,
                                                        Async::ActionHandler& handler)
{
    return News->Read(reader, handler, Core->TakeReadNewsFault());
}

} // namespace Host::Store
