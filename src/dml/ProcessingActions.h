// Dml::Actions that look an object up before they act: Overwrite (store or update), Consolidate (store
// or merge), ConsolidateIfFound (merge or nothing), and Find (a copy of the object of a key, or nothing).
#pragma once

#include "dml/ActionBases.h"
#include "por/Forward.h"

namespace Por
{
class Unit;
}

namespace Dml::Actions
{

class Overwrite final : public Detail::ReadWriteAction
{
public:
    Overwrite(Core::EntryPoint entryPoint, PostOffice& postOffice, ObjectRegistry& registry,
              const Por::Construction::UnitFactory& factory, Por::ConstUnitPtr object);
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override;

private:
    const Por::ConstUnitPtr Object;
};

class Consolidate final : public Detail::ReadWriteAction
{
public:
    Consolidate(Core::EntryPoint entryPoint, PostOffice& postOffice, ObjectRegistry& registry,
                const Por::Construction::UnitFactory& factory, Por::ConstUnitPtr object);
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override;

private:
    const Por::ConstUnitPtr Object;
};

class ConsolidateIfFound final : public Detail::ReadWriteAction
{
public:
    ConsolidateIfFound(Core::EntryPoint entryPoint, PostOffice& postOffice, ObjectRegistry& registry,
                       const Por::Construction::UnitFactory& factory, Por::ConstUnitPtr object);
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override;

private:
    const Por::ConstUnitPtr Object;
};

// The destination is left as it was when nothing is found; it must live until the run completes.
class Find final : public Detail::ReadAction
{
public:
    Find(Core::EntryPoint entryPoint, Por::ConstUnitPtr key, Por::UnitPtr& result, PostOffice& postOffice,
         const Por::Construction::UnitFactory& factory);
    Find(Core::EntryPoint entryPoint, Por::ConstUnitPtr key, Por::Unit& result, PostOffice& postOffice,
         const Por::Construction::UnitFactory& factory);
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override;

private:
    const Por::ConstUnitPtr Key;
    Por::UnitPtr* const Holder;
    Por::Unit* const Unit;
    const Por::Construction::UnitFactory& Factory;
};

} // namespace Dml::Actions
