// Dml::Actions::UnregisterByPattern and UnregisterBySpec delete by pattern in pages: the matches are
// counted once, then the store deletes at most 100 at a time with a DeleteByPattern operation whose
// order and limit make each page the next one. Nothing passes over the objects on the client. A failed
// page ends the run with its failure; pages already deleted stay deleted.
#pragma once

#include "dml/ActionBases.h"
#include "por/Forward.h"

namespace Dml::Actions
{

class UnregisterBySpec : public Detail::ReadWriteAction
{
public:
    // Pages in the view's time-stamp order (ascending unless its options say otherwise), up to its limit.
    UnregisterBySpec(Core::EntryPoint entryPoint, ViewSpec spec, PostOffice& postOffice,
                     ObjectRegistry& registry, const Por::Construction::UnitFactory& factory);
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override;

protected:
    UnregisterBySpec(Core::EntryPoint entryPoint, ViewSpec spec, std::uint32_t limit, bool ascending,
                     PostOffice& postOffice, ObjectRegistry& registry,
                     const Por::Construction::UnitFactory& factory);

private:
    const ViewSpec Spec;
    const std::uint32_t Limit;
    const bool Ascending;
};

// Every match of the pattern, in the store's order.
class UnregisterByPattern final : public UnregisterBySpec
{
public:
    UnregisterByPattern(Core::EntryPoint entryPoint, Por::ConstUnitPtr pattern, PostOffice& postOffice,
                        ObjectRegistry& registry, const Por::Construction::UnitFactory& factory);
};

} // namespace Dml::Actions
