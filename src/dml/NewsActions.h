// Dml::Actions that read a feed's news. ReadNews and AsyncReadNews read once: what happened since the last
// read reaches the reader, then the run completes. The cyclic forms read again as soon as a read has
// succeeded, without timer or back-off (the store sets the pace), until a read fails or the run is
// cancelled (0x00F90002). The subscription, and readers given by reference, must outlive the run; shared
// readers are kept until it has completed.
#pragma once

#include "async/Action.h"
#include "dml/AsyncSubscriptionReader.h"
#include "dml/SubscriptionReader.h"

#include <memory>

namespace Dml
{
class AsyncSubscription;
class Subscription;
} // namespace Dml

namespace Dml::Actions
{

class ReadNews final : public Async::Action
{
public:
    ReadNews(Subscription& subscription, std::shared_ptr<SubscriptionReader> reader);
    ReadNews(Subscription& subscription, SubscriptionReader& reader);
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override;

private:
    Subscription& Source;
    const std::shared_ptr<SubscriptionReader> Reader;
};

class AsyncReadNews final : public Async::Action
{
public:
    AsyncReadNews(AsyncSubscription& subscription, std::shared_ptr<AsyncSubscriptionReader> reader);
    AsyncReadNews(AsyncSubscription& subscription, AsyncSubscriptionReader& reader);
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override;

private:
    AsyncSubscription& Source;
    const std::shared_ptr<AsyncSubscriptionReader> Reader;
};

class ReadNewsCyclic final : public Async::Action
{
public:
    ReadNewsCyclic(Subscription& subscription, std::shared_ptr<SubscriptionReader> reader);
    ReadNewsCyclic(Subscription& subscription, SubscriptionReader& reader);
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override;

private:
    const std::shared_ptr<ReadNews> Round;
};

class AsyncReadNewsCyclic final : public Async::Action
{
public:
    AsyncReadNewsCyclic(AsyncSubscription& subscription, std::shared_ptr<AsyncSubscriptionReader> reader);
    AsyncReadNewsCyclic(AsyncSubscription& subscription, AsyncSubscriptionReader& reader);
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override;

private:
    const std::shared_ptr<AsyncReadNews> Round;
};

} // namespace Dml::Actions
