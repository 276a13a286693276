#include "dml/PagedDelete.h"

#include "async/ActionAdaptor.h"
#include "async/ActionCycle.h"
#include "async/ActionSequence.h"
#include "async/Errors.h"
#include "dml/CountAction.h"
#include "dml/OperationFactory.h"
#include "dml/QueryReaders.h"
#include "dml/SpecWriters.h"
#include "dml/WriteActions.h"

#include <algorithm>
#include <limits>

namespace Dml::Actions
{
namespace
{

constexpr std::uint32_t NoLimit = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint32_t PageSize = 100;

struct PagedDeleteRecord
{
    Core::EntryPoint EntryPoint;
    ViewSpec PageSpec;
    std::uint32_t Limit = NoLimit;
    std::uint32_t Count = 0;
    std::uint32_t Processed = 0;
    PostOffice* Office = nullptr;
    ObjectRegistry* Registry = nullptr;
    const Por::Construction::UnitFactory* Factory = nullptr;
};

std::shared_ptr<Async::Job> DeleteNextPage(PagedDeleteRecord& record, Async::ActionHandler& handler)
{
    const std::uint32_t target = std::min(record.Count, record.Limit);
    if (record.Processed >= target)
    {
        handler.Completed(Async::Errors::CycleBreak());
        return nullptr;
    }
    const std::uint32_t chunk = std::min(target - record.Processed, PageSize);
    Operation::OperationFactory operations;
    operations.DeleteByPattern(Query::WithLimit(record.PageSpec, chunk, *record.Factory));
    record.Processed += chunk;
    Register page(*record.Registry, operations.MakeOperation());
    return page.Perform(handler);
}

} // namespace

UnregisterBySpec::UnregisterBySpec(Core::EntryPoint entryPoint, ViewSpec spec, PostOffice& postOffice,
                                   ObjectRegistry& registry, const Por::Construction::UnitFactory& factory)
    : UnregisterBySpec(std::move(entryPoint), spec,
                       spec.Options != nullptr && Query::HasLimit(*spec.Options)
                           ? Query::GetLimit(*spec.Options)
                           : NoLimit,
                       spec.Options == nullptr || Query::IsAscendingByTimeStamp(*spec.Options), postOffice,
                       registry, factory)
{
}

UnregisterBySpec::UnregisterBySpec(Core::EntryPoint entryPoint, ViewSpec spec, std::uint32_t limit,
                                   bool ascending, PostOffice& postOffice, ObjectRegistry& registry,
                                   const Por::Construction::UnitFactory& factory)
    : ReadWriteAction(std::move(entryPoint), postOffice, registry, factory), Spec(std::move(spec)),
      Limit(limit), Ascending(ascending)
{
}

std::shared_ptr<Async::Job> UnregisterBySpec::Perform(Async::ActionHandler& handler)
{
    auto record = std::make_shared<PagedDeleteRecord>();
    record->EntryPoint = EntryPoint;
    record->PageSpec = Spec;
    if (Limit < NoLimit)
    {
        record->PageSpec = Query::WithLimit(record->PageSpec, Limit, Factory);
    }
    if (Ascending)
    {
        record->PageSpec = Query::WithAscendingTimeStampOrder(record->PageSpec, Factory);
    }
    record->Limit = Limit;
    record->Office = &Office;
    record->Registry = &Registry;
    record->Factory = &Factory;

    auto pages = std::make_shared<Async::ActionCycle>();
    pages->Execute(
        Async::MakeAction([record](Async::ActionHandler& next) { return DeleteNextPage(*record, next); }));
    Async::ActionSequence run;
    run.Execute(Async::MakeAction(
        [record](Async::ActionHandler& next)
        {
            return ReadCount(record->EntryPoint, record->PageSpec, *record->Office, *record->Factory,
                             record->Count, next);
        }));
    run.Execute(pages);
    return run.Perform(handler);
}

UnregisterByPattern::UnregisterByPattern(Core::EntryPoint entryPoint, Por::ConstUnitPtr pattern,
                                         PostOffice& postOffice, ObjectRegistry& registry,
                                         const Por::Construction::UnitFactory& factory)
    : UnregisterBySpec(std::move(entryPoint), ViewSpec{std::move(pattern), nullptr}, NoLimit, false,
                       postOffice, registry, factory)
{
}

} // namespace Dml::Actions
