// Host::Store::StoreSubscription: the Dml::Subscription a memory store hands out. It owns the feed that
// the store fills since the opening report; destroying it unregisters the feed and completes a waiting
// ReadNews cancelled.
#pragma once

#include "dml/Subscription.h"

#include <memory>

namespace Host::Store
{
namespace Detail
{
class Feed;
class StoreCore;
} // namespace Detail

class StoreSubscription final : public Dml::Subscription
{
public:
    StoreSubscription(std::shared_ptr<Detail::StoreCore> core, std::shared_ptr<Detail::Feed> feed);
    ~StoreSubscription() override;

    // Delivers everything queued since the last call, waiting for news when there is none, on a thread of
    // the async service, then completes `handler` once. The job cancels a read still waiting (0x00F90002).
    // One read at a time: a second one while the first runs fails with 0x00FC0001.
    std::shared_ptr<Async::Job> ReadNews(Dml::SubscriptionReader& reader,
                                         Async::ActionHandler& handler) override;

private:
    const std::shared_ptr<Detail::StoreCore> Core;
    const std::shared_ptr<Detail::Feed> News;
};

} // namespace Host::Store
