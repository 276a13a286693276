#include "dml/ProcessingActions.h"

#include "dml/KeepAlive.h"
#include "dml/ObjectProcessing.h"

namespace Dml::Actions
{

Overwrite::Overwrite(Core::EntryPoint entryPoint, PostOffice& postOffice, ObjectRegistry& registry,
                     const Por::Construction::UnitFactory& factory, Por::ConstUnitPtr object)
    : ReadWriteAction(std::move(entryPoint), postOffice, registry, factory), Object(std::move(object))
{
}

std::shared_ptr<Async::Job> Overwrite::Perform(Async::ActionHandler& handler)
{
    return PersistActions::StoreOrUpdate(EntryPoint, Object, {Office, Registry, Factory}, handler);
}

Consolidate::Consolidate(Core::EntryPoint entryPoint, PostOffice& postOffice, ObjectRegistry& registry,
                         const Por::Construction::UnitFactory& factory, Por::ConstUnitPtr object)
    : ReadWriteAction(std::move(entryPoint), postOffice, registry, factory), Object(std::move(object))
{
}

std::shared_ptr<Async::Job> Consolidate::Perform(Async::ActionHandler& handler)
{
    return PersistActions::StoreOrConsolidate(EntryPoint, Object, {Office, Registry, Factory}, handler);
}

ConsolidateIfFound::ConsolidateIfFound(Core::EntryPoint entryPoint, PostOffice& postOffice,
                                       ObjectRegistry& registry,
                                       const Por::Construction::UnitFactory& factory,
                                       Por::ConstUnitPtr object)
    : ReadWriteAction(std::move(entryPoint), postOffice, registry, factory), Object(std::move(object))
{
}

std::shared_ptr<Async::Job> ConsolidateIfFound::Perform(Async::ActionHandler& handler)
{
    return PersistActions::ConsolidateIfExists(EntryPoint, Object, {Office, Registry, Factory}, handler);
}

Find::Find(Core::EntryPoint entryPoint, Por::ConstUnitPtr key, Por::UnitPtr& result, PostOffice& postOffice,
           const Por::Construction::UnitFactory& factory)
    : ReadAction(std::move(entryPoint), {}, postOffice), Key(std::move(key)), Holder(&result), Unit(nullptr),
      Factory(factory)
{
}

Find::Find(Core::EntryPoint entryPoint, Por::ConstUnitPtr key, Por::Unit& result, PostOffice& postOffice,
           const Por::Construction::UnitFactory& factory)
    : ReadAction(std::move(entryPoint), {}, postOffice), Key(std::move(key)), Holder(nullptr), Unit(&result),
      Factory(factory)
{
}

std::shared_ptr<Async::Job> Find::Perform(Async::ActionHandler& handler)
{
    return Dml::Detail::PerformKeepingAlive(
        Key, handler,
        [&](Async::ActionHandler& keeper)
        { return PersistActions::FindObject(EntryPoint, *Key, Office, Factory, Holder, Unit, keeper); });
}

} // namespace Dml::Actions
