#include "dml/PromiseFacade.h"

#include "async/ActionAdaptor.h"
#include "dml/AsyncSubscription.h"
#include "dml/CountAction.h"
#include "dml/Errors.h"
#include "dml/KeepAlive.h"
#include "dml/KeyPattern.h"
#include "dml/ObjectKey.h"
#include "dml/PostOffice.h"
#include "dml/PromiseReaders.h"
#include "dml/SpecWriters.h"
#include "dml/Subscription.h"
#include "dml/WriteActions.h"

namespace Dml
{
namespace PromiseFacadeImpl
{

std::shared_ptr<Async::Job> FindByIdAction(const Core::EntryPoint& entryPoint, const Por::View::Unit& key,
                                           Por::UnitPtr& result, PostOffice& postOffice,
                                           const Por::Construction::UnitFactory& factory,
                                           Async::ActionHandler& handler)
{
    auto reader = std::make_shared<PorPromiseReader>(factory, result);
    const ViewSpec spec{MakeKeyPattern(key, factory), nullptr};
    return Dml::Detail::PerformKeepingAlive(reader, handler,
                                            [&](Async::ActionHandler& keeper)
                                            { return postOffice.Report(entryPoint, spec, reader, keeper); });
}

std::shared_ptr<Async::Job> ReadObjectsAction(const Core::EntryPoint& entryPoint, const ViewSpec& spec,
                                              PostOffice& postOffice,
                                              const Por::Construction::UnitFactory& factory,
                                              std::vector<Por::UnitPtr>& result,
                                              Async::ActionHandler& handler)
{
    auto reader = std::make_shared<UnitArrayPromiseReader>(factory, result);
    return Dml::Detail::PerformKeepingAlive(reader, handler,
                                            [&](Async::ActionHandler& keeper)
                                            { return postOffice.Report(entryPoint, spec, reader, keeper); });
}

std::shared_ptr<Async::Job> ReadCountAction(const Core::EntryPoint& entryPoint, const ViewSpec& spec,
                                            std::uint32_t& count, PostOffice& postOffice,
                                            const Por::Construction::UnitFactory& factory,
                                            Async::ActionHandler& handler)
{
    return ReadCount(entryPoint, spec, postOffice, factory, count, handler);
}

} // namespace PromiseFacadeImpl

namespace
{

using Details::PromiseState;

template <class T>
T Required(T pointer, const char* function)
{
    if (pointer == nullptr)
    {
        throw Errors::MakeNullPointer(COMMON_LOCATION(function));
    }
    return pointer;
}

// The promise of `start(state, recorder)` run over a fresh state at each Perform.
template <class T, class State, class Start>
Promise<T> MakePromise(std::shared_ptr<State> state, Start start)
{
    auto perform = [state, start = std::move(start)](Async::ActionHandler& handler)
    {
        state->Begin();
        try
        {
            return Details::PerformRecording(
                state, handler, [&](Async::ActionHandler& recorder) { return start(*state, recorder); });
        }
        catch (const Common::Error& error)
        {
            // A run that fails at once (a missing service, a null argument) is the value's failure too.
            Common::Error failure = error;
            state->Finish(failure);
            throw;
        }
    };
    return Promise<T>{std::shared_ptr<Async::Action>(Async::MakeAction(std::move(perform))),
                      Async::Future<T>([state] { return state->Take(); })};
}

// A subscribe whose feed becomes an AsyncSubscription when the store has opened it.
class AsyncSubscribeState final : public PromiseState<AsyncSubscribedSnapshot>
{
public:
    void Begin() override
    {
        PromiseState::Begin();
        Opened.reset();
    }
    void Finish(Common::Error& result) override
    {
        if (result.GetCode() == 0)
        {
            Value.Feed = std::make_unique<AsyncSubscription>(std::move(Opened), *Factory);
        }
        PromiseState::Finish(result);
    }

    std::unique_ptr<Subscription> Opened;
    const Por::Construction::UnitFactory* Factory = nullptr; // set before the store is asked
};

std::shared_ptr<Async::Job> SubscribeInto(PostOffice& office, const Core::EntryPoint& entryPoint,
                                          const ViewSpec& spec, const Por::Construction::UnitFactory& factory,
                                          std::vector<Por::UnitPtr>& snapshot,
                                          std::unique_ptr<Subscription>& feed, Async::ActionHandler& handler)
{
    std::shared_ptr<ReportReader> reader =
        std::make_shared<PromiseFacadeImpl::SnapshotReader>(factory, snapshot);
    return Dml::Detail::PerformKeepingAlive(
        reader, handler,
        [&](Async::ActionHandler& keeper)
        { return office.Subscribe(entryPoint, spec, reader, feed, keeper); });
}

} // namespace

std::shared_ptr<PromiseFacade> PromiseFacade::Create(PostOffice* postOffice)
{
    return std::shared_ptr<PromiseFacade>(new PromiseFacade(ServiceHolder(postOffice)));
}

std::shared_ptr<PromiseFacade> PromiseFacade::Create(PostOffice* postOffice, ObjectRegistry* registry)
{
    return std::shared_ptr<PromiseFacade>(new PromiseFacade(ServiceHolder(postOffice, registry)));
}

std::shared_ptr<PromiseFacade> PromiseFacade::Create(PostOffice* postOffice, ObjectRegistry* registry,
                                                     const Por::Construction::UnitFactory* factory)
{
    return std::shared_ptr<PromiseFacade>(new PromiseFacade(ServiceHolder(postOffice, registry, factory)));
}

PostOffice& PromiseFacade::GetPostOffice() const
{
    return Services.GetPostOffice(COMMON_LOCATION("Dml::PromiseFacade::GetPostOffice"));
}

ObjectRegistry& PromiseFacade::GetRegistry() const
{
    return Services.GetObjectRegistry(COMMON_LOCATION("Dml::PromiseFacade::GetRegistry"));
}

const Por::Construction::UnitFactory& PromiseFacade::GetUnitFactory() const
{
    return Services.GetUnitFactory(COMMON_LOCATION("Dml::PromiseFacade::GetUnitFactory"));
}

Promise<void> PromiseFacade::Register(Async::Future<Por::ConstUnitPtr> object)
{
    return {Async::MakeAction(
        [self = shared_from_this(), object = std::move(object)](Async::ActionHandler& handler)
        {
            Actions::Register action(self->GetRegistry(),
                                     Required(object.Get(), "Dml::PromiseFacade::Register"));
            return action.Perform(handler);
        })};
}

Promise<void> PromiseFacade::Unregister(Async::Future<Por::ConstUnitPtr> key)
{
    return {Async::MakeAction(
        [self = shared_from_this(), key = std::move(key)](Async::ActionHandler& handler)
        {
            Actions::Unregister action(self->GetRegistry(),
                                       Required(key.Get(), "Dml::PromiseFacade::Unregister"));
            return action.Perform(handler);
        })};
}

Promise<void> PromiseFacade::UnregisterObject(Async::Future<Por::ConstUnitPtr> object)
{
    return {Async::MakeAction(
        [self = shared_from_this(), object = std::move(object)](Async::ActionHandler& handler)
        {
            ObjectRegistry& registry = self->GetRegistry();
            const Por::ConstUnitPtr whole = Required(object.Get(), "Dml::PromiseFacade::UnregisterObject");
            // The key lives inside the object: the handle keeps the whole object.
            Actions::Unregister action(registry, Por::ConstUnitPtr(whole, &GetObjectKey(*whole)));
            return action.Perform(handler);
        })};
}

Promise<Por::UnitPtr> PromiseFacade::FindById(const Core::EntryPoint& entryPoint,
                                              Async::Future<Por::ConstUnitPtr> key)
{
    return MakePromise<Por::UnitPtr>(
        std::make_shared<PromiseState<Por::UnitPtr>>(),
        [self = shared_from_this(), entryPoint, key = std::move(key)](PromiseState<Por::UnitPtr>& state,
                                                                      Async::ActionHandler& handler)
        {
            const Por::ConstUnitPtr value = Required(key.Get(), "Dml::PromiseFacade::FindById");
            return PromiseFacadeImpl::FindByIdAction(entryPoint, *value, state.Value, self->GetPostOffice(),
                                                     self->GetUnitFactory(), handler);
        });
}

Promise<std::vector<Por::UnitPtr>> PromiseFacade::Report(const Core::EntryPoint& entryPoint,
                                                         Async::Future<ViewSpec> spec)
{
    using State = PromiseState<std::vector<Por::UnitPtr>>;
    return MakePromise<std::vector<Por::UnitPtr>>(
        std::make_shared<State>(),
        [self = shared_from_this(), entryPoint, spec = std::move(spec)](State& state,
                                                                        Async::ActionHandler& handler)
        {
            return PromiseFacadeImpl::ReadObjectsAction(entryPoint, spec.Get(), self->GetPostOffice(),
                                                        self->GetUnitFactory(), state.Value, handler);
        });
}

Promise<SubscribedSnapshot> PromiseFacade::Subscribe(const Core::EntryPoint& entryPoint,
                                                     Async::Future<ViewSpec> spec)
{
    using State = PromiseState<SubscribedSnapshot>;
    return MakePromise<SubscribedSnapshot>(
        std::make_shared<State>(),
        [self = shared_from_this(), entryPoint, spec = std::move(spec)](State& state,
                                                                        Async::ActionHandler& handler)
        {
            return SubscribeInto(self->GetPostOffice(), entryPoint, spec.Get(), self->GetUnitFactory(),
                                 state.Value.Snapshot, state.Value.Feed, handler);
        });
}

Promise<SubscribedSnapshot> PromiseFacade::SubscribeWithoutReport(const Core::EntryPoint& entryPoint,
                                                                  Async::Future<ViewSpec> spec)
{
    using State = PromiseState<SubscribedSnapshot>;
    return MakePromise<SubscribedSnapshot>(
        std::make_shared<State>(),
        [self = shared_from_this(), entryPoint, spec = std::move(spec)](State& state,
                                                                        Async::ActionHandler& handler)
        {
            const Por::Construction::UnitFactory& factory = self->GetUnitFactory();
            return SubscribeInto(self->GetPostOffice(), entryPoint, Query::WithLimit(spec.Get(), 0, factory),
                                 factory, state.Value.Snapshot, state.Value.Feed, handler);
        });
}

Promise<AsyncSubscribedSnapshot> PromiseFacade::AsyncSubscribe(const Core::EntryPoint& entryPoint,
                                                               Async::Future<ViewSpec> spec)
{
    return MakePromise<AsyncSubscribedSnapshot>(
        std::make_shared<AsyncSubscribeState>(),
        [self = shared_from_this(), entryPoint, spec = std::move(spec)](AsyncSubscribeState& state,
                                                                        Async::ActionHandler& handler)
        {
            state.Factory = &self->GetUnitFactory();
            return SubscribeInto(self->GetPostOffice(), entryPoint, spec.Get(), *state.Factory,
                                 state.Value.Snapshot, state.Opened, handler);
        });
}

Promise<std::vector<Por::UnitPtr>> PromiseFacade::ReadCreated(Async::Future<Subscription*> subscription)
{
    using State = PromiseState<std::vector<Por::UnitPtr>>;
    return MakePromise<std::vector<Por::UnitPtr>>(
        std::make_shared<State>(),
        [self = shared_from_this(), subscription = std::move(subscription)](State& state,
                                                                            Async::ActionHandler& handler)
        {
            Subscription* const feed = Required(subscription.Get(), "Dml::PromiseFacade::ReadCreated");
            auto reader = std::make_shared<PromiseFacadeImpl::CreatedObjectsReader>(self->GetUnitFactory(),
                                                                                    state.Value);
            return Dml::Detail::PerformKeepingAlive(reader, handler,
                                                    [&](Async::ActionHandler& keeper)
                                                    { return feed->ReadNews(*reader, keeper); });
        });
}

Promise<std::uint32_t> PromiseFacade::Count(const Core::EntryPoint& entryPoint, Async::Future<ViewSpec> spec)
{
    using State = PromiseState<std::uint32_t>;
    return MakePromise<std::uint32_t>(std::make_shared<State>(),
                                      [self = shared_from_this(), entryPoint,
                                       spec = std::move(spec)](State& state, Async::ActionHandler& handler)
                                      {
                                          return PromiseFacadeImpl::ReadCountAction(
                                              entryPoint, spec.Get(), state.Value, self->GetPostOffice(),
                                              self->GetUnitFactory(), handler);
                                      });
}

} // namespace Dml
