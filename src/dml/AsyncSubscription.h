// Dml::AsyncSubscription: the asynchronous face of a store feed. Each ReadNews turns what the store
// delivers into one action per notification, bound to the AsyncSubscriptionReader, and runs them one at a
// time in notification order; the read completes when the store's read and every action have ended.
#pragma once

#include "async/Action.h"
#include "common/NonCopyable.h"
#include "por/Forward.h"

#include <memory>

namespace Dml
{

class AsyncSubscriptionReader;
class Subscription;

class AsyncSubscription : Common::NonCopyable
{
public:
    // `subscription` may be empty, to be filled through GetSubscriptionSlot by the store. `factory` must
    // outlive this object.
    AsyncSubscription(std::unique_ptr<Subscription> subscription,
                      const Por::Construction::UnitFactory& factory);
    virtual ~AsyncSubscription();

    // `reader` is borrowed until `handler` was called. The result: the first failure of a notification's
    // action; else 0x00FC0001 "Async action consumer failed to handle action." with the refusal as cause
    // when an action was refused; else the store's result. Without a subscription 0x00AC0003 at once.
    // One read at a time.
    virtual std::shared_ptr<Async::Job> ReadNews(AsyncSubscriptionReader& reader,
                                                 Async::ActionHandler& handler);

    // The store's feed; its address stays the same for the life of this object.
    std::unique_ptr<Subscription>& GetSubscriptionSlot() { return Wrapped; }

private:
    std::unique_ptr<Subscription> Wrapped;
    const Por::Construction::UnitFactory& Factory;
};

} // namespace Dml
