// Dml::AsyncSubscriptionImpl::SubscriptionActionReader turns one store ReadNews into a stream of actions
// for the action-reading job: each notification is copied and bound to the AsyncSubscriptionReader, and
// the action handed to the consumer. The first refusal of the consumer drops every later notification
// unseen, and the read then ends with 0x00FC0001 "Async action consumer failed to handle action." with
// the refusal as cause. The first round reads the store; a later round of the same job ends the stream.
#pragma once

#include "async/ActionReader.h"
#include "dml/SubscriptionReader.h"

namespace Dml
{
class AsyncSubscriptionReader;
class Subscription;
} // namespace Dml

namespace Dml::AsyncSubscriptionImpl
{

class SubscriptionActionReader final : public Async::ActionReader,
                                       public SubscriptionReader,
                                       public Async::ActionHandler
{
public:
    // All three are borrowed for the life of this reader.
    SubscriptionActionReader(Subscription& subscription, const Por::Construction::UnitFactory& factory,
                             AsyncSubscriptionReader& reader)
        : Source(subscription), Factory(factory), Reader(reader)
    {
    }

    std::shared_ptr<Async::Job> Read(Async::ActionConsumer& consumer, Async::ActionHandler& handler) override;

    // The store's side.
    using SubscriptionReader::OnCreated;
    using SubscriptionReader::OnDeleted;
    using SubscriptionReader::OnUpdated;
    void OnCreated(const Por::View::Unit& object) override;
    void OnUpdated(const Por::View::Unit& before, const Por::View::Unit& after) override;
    void OnDeleted(const Por::View::Unit& object) override;
    void Completed(const Common::Error& result) override;

private:
    // Hands the action to the consumer unless one was refused already.
    void Offer(std::shared_ptr<Async::Action> action);
    bool IsRefused() const { return FirstError.GetCode() != 0; }

    Subscription& Source;
    const Por::Construction::UnitFactory& Factory;
    AsyncSubscriptionReader& Reader;
    Async::ActionConsumer* Consumer = nullptr;
    Async::ActionHandler* Handler = nullptr;
    Common::Error FirstError;
    bool StoreRead = false;
};

} // namespace Dml::AsyncSubscriptionImpl
