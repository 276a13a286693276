// Object processing: look objects up by a view or a key and hand each found one to a processor, or tell it
// that nothing was found. The lookup is a report whose objects are processed one at a time in report
// order; a failed report ends the run with its failure and no branch runs. The job keeps the processor
// alive until the run has completed.
#pragma once

#include "async/Action.h"
#include "dml/ViewSpec.h"
#include "runtime/EntryPoint.h"

#include <memory>

namespace Por
{
class Unit;
}

namespace Dml
{

class ObjectProcessor;
class ObjectRegistry;
class PostOffice;

std::shared_ptr<Async::Job> ProcessObjectBySpec(const Core::EntryPoint& entryPoint, const ViewSpec& spec,
                                                PostOffice& postOffice,
                                                std::shared_ptr<ObjectProcessor> processor,
                                                const Por::Construction::UnitFactory& factory,
                                                Async::ActionHandler& handler);
// By the key pattern of `key`, with empty options.
std::shared_ptr<Async::Job> ProcessObjectByKey(const Core::EntryPoint& entryPoint, const Por::View::Unit& key,
                                               PostOffice& postOffice,
                                               std::shared_ptr<ObjectProcessor> processor,
                                               const Por::Construction::UnitFactory& factory,
                                               Async::ActionHandler& handler);

} // namespace Dml

namespace Dml::PersistActions
{

struct Services
{
    PostOffice& Office;
    ObjectRegistry& Registry;
    const Por::Construction::UnitFactory& Factory;
};

// Looked up by the object's own key.
std::shared_ptr<Async::Job> StoreOrUpdate(const Core::EntryPoint& entryPoint, Por::ConstUnitPtr object,
                                          const Services& services, Async::ActionHandler& handler);
std::shared_ptr<Async::Job> CreateIfNotExists(const Core::EntryPoint& entryPoint, Por::ConstUnitPtr object,
                                              const Services& services, Async::ActionHandler& handler);
std::shared_ptr<Async::Job> StoreOrConsolidate(const Core::EntryPoint& entryPoint, Por::ConstUnitPtr object,
                                               const Services& services, Async::ActionHandler& handler);
std::shared_ptr<Async::Job> ConsolidateIfExists(const Core::EntryPoint& entryPoint, Por::ConstUnitPtr object,
                                                const Services& services, Async::ActionHandler& handler);
// Looked up by the given key.
std::shared_ptr<Async::Job> DeleteIfExists(const Core::EntryPoint& entryPoint, const Por::View::Unit& key,
                                           const Services& services, Async::ActionHandler& handler);
// Into `holder` or, when it is null, assigned to `unit`.
std::shared_ptr<Async::Job> FindObject(const Core::EntryPoint& entryPoint, const Por::View::Unit& key,
                                       PostOffice& postOffice, const Por::Construction::UnitFactory& factory,
                                       Por::UnitPtr* holder, Por::Unit* unit, Async::ActionHandler& handler);
std::shared_ptr<Async::Job> FindObjectStrict(const Core::EntryPoint& entryPoint, const Por::View::Unit& key,
                                             PostOffice& postOffice,
                                             const Por::Construction::UnitFactory& factory,
                                             Por::UnitPtr* holder, Por::Unit* unit,
                                             Async::ActionHandler& handler);
std::shared_ptr<Async::Job> ObjectExists(const Core::EntryPoint& entryPoint, const Por::View::Unit& key,
                                         PostOffice& postOffice,
                                         const Por::Construction::UnitFactory& factory, bool& result,
                                         Async::ActionHandler& handler);

} // namespace Dml::PersistActions
