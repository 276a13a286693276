// Dml::Subscription: the feed the store hands out. One ReadNews delivers what happened since the last
// call to the reader and then completes through the handler, once.
#pragma once

#include "async/Action.h"
#include "common/NonCopyable.h"

#include <memory>

namespace Dml
{

class SubscriptionReader;

class Subscription : Common::NonCopyable
{
public:
    virtual ~Subscription() = default;
    virtual std::shared_ptr<Async::Job> ReadNews(SubscriptionReader& reader,
                                                 Async::ActionHandler& handler) = 0;
};

} // namespace Dml
