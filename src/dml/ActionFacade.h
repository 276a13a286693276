// Dml::ActionFacade: the store's operations as actions, for callers in the job world. Each action keeps
// the service holder alive as long as it lives and as long as its run does. Plain forms copy the unit
// they are given; Object forms share it; Unit forms take it over. A missing service throws 0xFC0031 when
// the action is made. Holds no mutable state: many threads may share one.
#pragma once

#include "async/Action.h"
#include "dml/ServiceHolder.h"
#include "dml/ViewSpec.h"
#include "por/Forward.h"
#include "runtime/EntryPoint.h"

#include <cstdint>
#include <memory>

namespace Por
{
class Unit;
}

namespace Dml
{

class AsyncReportReader;
class ReportReader;

class ActionFacade
{
public:
    using ActionPtr = std::unique_ptr<Async::Action>;

    explicit ActionFacade(std::shared_ptr<ServiceHolder> services) : Services(std::move(services)) {}

    ActionPtr Register(const Core::EntryPoint& entryPoint, const Por::View::Unit& object) const;
    ActionPtr RegisterObject(const Core::EntryPoint& entryPoint, Por::ConstUnitPtr object) const;
    ActionPtr RegisterUnit(const Core::EntryPoint& entryPoint, Por::UnitPtr object) const;
    ActionPtr CreateIfDoesNotExist(const Core::EntryPoint& entryPoint, const Por::View::Unit& object) const;
    ActionPtr CreateIfDoesNotExist(const Core::EntryPoint& entryPoint, Por::ConstUnitPtr object) const;

    ActionPtr Unregister(const Core::EntryPoint& entryPoint, const Por::View::Unit& key) const;
    ActionPtr UnregisterObject(const Core::EntryPoint& entryPoint, Por::ConstUnitPtr key) const;
    ActionPtr UnregisterUnit(const Core::EntryPoint& entryPoint, Por::UnitPtr key) const;
    ActionPtr DeleteIfExists(const Core::EntryPoint& entryPoint, const Por::View::Unit& key) const;
    ActionPtr DeleteIfExists(const Core::EntryPoint& entryPoint, Por::ConstUnitPtr key) const;

    ActionPtr Update(const Core::EntryPoint& entryPoint, const Por::View::Unit& key,
                     const Por::View::Unit& patch) const;
    ActionPtr UpdateObject(const Core::EntryPoint& entryPoint, Por::ConstUnitPtr key,
                           Por::ConstUnitPtr patch) const;
    ActionPtr UpdateUnit(const Core::EntryPoint& entryPoint, Por::UnitPtr key, Por::UnitPtr patch) const;
    ActionPtr UpdateIfExists(const Core::EntryPoint& entryPoint, const Por::View::Unit& key,
                             const Por::View::Unit& patch) const;
    ActionPtr UpdateIfExistsObject(const Core::EntryPoint& entryPoint, Por::ConstUnitPtr key,
                                   Por::ConstUnitPtr patch) const;

    ActionPtr StoreOrUpdate(const Core::EntryPoint& entryPoint, const Por::View::Unit& object) const;
    ActionPtr StoreOrUpdateObject(const Core::EntryPoint& entryPoint, Por::ConstUnitPtr object) const;
    ActionPtr StoreOrConsolidate(const Core::EntryPoint& entryPoint, const Por::View::Unit& object) const;
    ActionPtr StoreOrConsolidateObject(const Core::EntryPoint& entryPoint, Por::ConstUnitPtr object) const;
    ActionPtr ConsolidateIfExists(const Core::EntryPoint& entryPoint, const Por::View::Unit& object) const;
    ActionPtr ConsolidateIfExistsObject(const Core::EntryPoint& entryPoint, Por::ConstUnitPtr object) const;
    ActionPtr UnregisterByPattern(const Core::EntryPoint& entryPoint, const Por::View::Unit& pattern) const;
    ActionPtr UnregisterByPatternObject(const Core::EntryPoint& entryPoint, Por::ConstUnitPtr pattern) const;

    // The destination must live until the run completes; it is left as it was when nothing is found.
    ActionPtr FindById(const Core::EntryPoint& entryPoint, const Por::View::Unit& key,
                       Por::UnitPtr& result) const;
    ActionPtr FindByIdObject(const Core::EntryPoint& entryPoint, Por::ConstUnitPtr key,
                             Por::UnitPtr& result) const;
    ActionPtr FindUnitById(const Core::EntryPoint& entryPoint, const Por::View::Unit& key,
                           Por::Unit& result) const;

    // A reader by reference must outlive the run.
    ActionPtr Report(const Core::EntryPoint& entryPoint, const ViewSpec& spec, ReportReader& reader) const;
    ActionPtr Report(const Core::EntryPoint& entryPoint, const ViewSpec& spec,
                     std::shared_ptr<ReportReader> reader) const;
    ActionPtr ProcessReportAsync(const Core::EntryPoint& entryPoint, const ViewSpec& spec,
                                 std::shared_ptr<AsyncReportReader> reader) const;
    ActionPtr ProcessReportAsync(const Core::EntryPoint& entryPoint, const ViewSpec& spec,
                                 AsyncReportReader& reader) const;
    // The count arrives in `count` when the run succeeds; `count` must live until then.
    ActionPtr Count(const Core::EntryPoint& entryPoint, const ViewSpec& spec, std::uint32_t& count) const;

    const Por::Construction::UnitFactory& GetUnitFactory() const;

private:
    ActionPtr Hold(std::unique_ptr<Async::Action> action) const;
    Por::ConstUnitPtr CopyOf(const Por::View::Unit& unit) const;

    std::shared_ptr<ServiceHolder> Services;
};

} // namespace Dml
