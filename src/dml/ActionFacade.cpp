#include "dml/ActionFacade.h"

#include "async/ActionAdaptor.h"
#include "dml/CountAction.h"
#include "dml/KeepAlive.h"
#include "dml/PagedDelete.h"
#include "dml/ProcessingActions.h"
#include "dml/ReportActions.h"
#include "dml/WriteActions.h"
#include "por/UnitAccess.h"

namespace Dml
{
namespace
{

#define DML_FACADE_SITE(name) COMMON_LOCATION("Dml::ActionFacade::" name)

// Keeps the service holder alive with the action and with each of its runs.
class ServiceHoldingAction final : public Async::Action
{
public:
    ServiceHoldingAction(std::shared_ptr<ServiceHolder> services, std::unique_ptr<Async::Action> inner)
        : Services(std::move(services)), Inner(std::move(inner))
    {
    }

    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override
    {
        return Detail::PerformKeepingAlive(
            Services, handler, [&](Async::ActionHandler& keeper) { return Inner->Perform(keeper); });
    }

private:
    const std::shared_ptr<ServiceHolder> Services;
    const std::unique_ptr<Async::Action> Inner;
};

} // namespace

ActionFacade::ActionPtr ActionFacade::Hold(std::unique_ptr<Async::Action> action) const
{
    return std::make_unique<ServiceHoldingAction>(Services, std::move(action));
}

Por::ConstUnitPtr ActionFacade::CopyOf(const Por::View::Unit& unit) const
{
    return Por::Util::Copy(unit, Services->GetUnitFactory(DML_FACADE_SITE("CopyOf")));
}

const Por::Construction::UnitFactory& ActionFacade::GetUnitFactory() const
{
    return Services->GetUnitFactory(DML_FACADE_SITE("GetUnitFactory"));
}

ActionFacade::ActionPtr ActionFacade::Register(const Core::EntryPoint& entryPoint,
                                               const Por::View::Unit& object) const
{
    return RegisterObject(entryPoint, CopyOf(object));
}

ActionFacade::ActionPtr ActionFacade::RegisterObject(const Core::EntryPoint&, Por::ConstUnitPtr object) const
{
    return Hold(std::make_unique<Actions::Register>(Services->GetObjectRegistry(DML_FACADE_SITE("Register")),
                                                    std::move(object)));
}

ActionFacade::ActionPtr ActionFacade::RegisterUnit(const Core::EntryPoint& entryPoint,
                                                   Por::UnitPtr object) const
{
    return RegisterObject(entryPoint, std::move(object));
}

ActionFacade::ActionPtr ActionFacade::CreateIfDoesNotExist(const Core::EntryPoint& entryPoint,
                                                           const Por::View::Unit& object) const
{
    return CreateIfDoesNotExist(entryPoint, CopyOf(object));
}

ActionFacade::ActionPtr ActionFacade::CreateIfDoesNotExist(const Core::EntryPoint&,
                                                           Por::ConstUnitPtr object) const
{
    return Hold(std::make_unique<Actions::RegisterIfAbsent>(
        Services->GetObjectRegistry(DML_FACADE_SITE("CreateIfDoesNotExist")), std::move(object)));
}

ActionFacade::ActionPtr ActionFacade::Unregister(const Core::EntryPoint& entryPoint,
                                                 const Por::View::Unit& key) const
{
    return UnregisterObject(entryPoint, CopyOf(key));
}

ActionFacade::ActionPtr ActionFacade::UnregisterObject(const Core::EntryPoint&, Por::ConstUnitPtr key) const
{
    return Hold(std::make_unique<Actions::Unregister>(
        Services->GetObjectRegistry(DML_FACADE_SITE("Unregister")), std::move(key)));
}

ActionFacade::ActionPtr ActionFacade::UnregisterUnit(const Core::EntryPoint& entryPoint,
                                                     Por::UnitPtr key) const
{
    return UnregisterObject(entryPoint, std::move(key));
}

ActionFacade::ActionPtr ActionFacade::DeleteIfExists(const Core::EntryPoint& entryPoint,
                                                     const Por::View::Unit& key) const
{
    return DeleteIfExists(entryPoint, CopyOf(key));
}

ActionFacade::ActionPtr ActionFacade::DeleteIfExists(const Core::EntryPoint&, Por::ConstUnitPtr key) const
{
    return Hold(std::make_unique<Actions::UnregisterIfFound>(
        Services->GetObjectRegistry(DML_FACADE_SITE("DeleteIfExists")), std::move(key)));
}

ActionFacade::ActionPtr ActionFacade::Update(const Core::EntryPoint& entryPoint, const Por::View::Unit& key,
                                             const Por::View::Unit& patch) const
{
    return UpdateObject(entryPoint, CopyOf(key), CopyOf(patch));
}

ActionFacade::ActionPtr ActionFacade::UpdateObject(const Core::EntryPoint&, Por::ConstUnitPtr key,
                                                   Por::ConstUnitPtr patch) const
{
    return Hold(std::make_unique<Actions::Update>(Services->GetObjectRegistry(DML_FACADE_SITE("Update")),
                                                  std::move(key), std::move(patch)));
}

ActionFacade::ActionPtr ActionFacade::UpdateUnit(const Core::EntryPoint& entryPoint, Por::UnitPtr key,
                                                 Por::UnitPtr patch) const
{
    return UpdateObject(entryPoint, std::move(key), std::move(patch));
}

ActionFacade::ActionPtr ActionFacade::UpdateIfExists(const Core::EntryPoint& entryPoint,
                                                     const Por::View::Unit& key,
                                                     const Por::View::Unit& patch) const
{
    return UpdateIfExistsObject(entryPoint, CopyOf(key), CopyOf(patch));
}

ActionFacade::ActionPtr ActionFacade::UpdateIfExistsObject(const Core::EntryPoint&, Por::ConstUnitPtr key,
                                                           Por::ConstUnitPtr patch) const
{
    return Hold(std::make_unique<Actions::UpdateIfFound>(
        Services->GetObjectRegistry(DML_FACADE_SITE("UpdateIfExists")), std::move(key), std::move(patch)));
}

ActionFacade::ActionPtr ActionFacade::StoreOrUpdate(const Core::EntryPoint& entryPoint,
                                                    const Por::View::Unit& object) const
{
    return StoreOrUpdateObject(entryPoint, CopyOf(object));
}

ActionFacade::ActionPtr ActionFacade::StoreOrUpdateObject(const Core::EntryPoint& entryPoint,
                                                          Por::ConstUnitPtr object) const
{
    const auto site = DML_FACADE_SITE("StoreOrUpdate");
    return Hold(std::make_unique<Actions::Overwrite>(entryPoint, Services->GetPostOffice(site),
                                                     Services->GetObjectRegistry(site),
                                                     Services->GetUnitFactory(site), std::move(object)));
}

ActionFacade::ActionPtr ActionFacade::StoreOrConsolidate(const Core::EntryPoint& entryPoint,
                                                         const Por::View::Unit& object) const
{
    return StoreOrConsolidateObject(entryPoint, CopyOf(object));
}

ActionFacade::ActionPtr ActionFacade::StoreOrConsolidateObject(const Core::EntryPoint& entryPoint,
                                                               Por::ConstUnitPtr object) const
{
    const auto site = DML_FACADE_SITE("StoreOrConsolidate");
    return Hold(std::make_unique<Actions::Consolidate>(entryPoint, Services->GetPostOffice(site),
                                                       Services->GetObjectRegistry(site),
                                                       Services->GetUnitFactory(site), std::move(object)));
}

ActionFacade::ActionPtr ActionFacade::ConsolidateIfExists(const Core::EntryPoint& entryPoint,
                                                          const Por::View::Unit& object) const
{
    return ConsolidateIfExistsObject(entryPoint, CopyOf(object));
}

ActionFacade::ActionPtr ActionFacade::ConsolidateIfExistsObject(const Core::EntryPoint& entryPoint,
                                                                Por::ConstUnitPtr object) const
{
    const auto site = DML_FACADE_SITE("ConsolidateIfExists");
    return Hold(std::make_unique<Actions::ConsolidateIfFound>(
        entryPoint, Services->GetPostOffice(site), Services->GetObjectRegistry(site),
        Services->GetUnitFactory(site), std::move(object)));
}

ActionFacade::ActionPtr ActionFacade::UnregisterByPattern(const Core::EntryPoint& entryPoint,
                                                          const Por::View::Unit& pattern) const
{
    return UnregisterByPatternObject(entryPoint, CopyOf(pattern));
}

ActionFacade::ActionPtr ActionFacade::UnregisterByPatternObject(const Core::EntryPoint& entryPoint,
                                                                Por::ConstUnitPtr pattern) const
{
    const auto site = DML_FACADE_SITE("UnregisterByPattern");
    return Hold(std::make_unique<Actions::UnregisterByPattern>(
        entryPoint, std::move(pattern), Services->GetPostOffice(site), Services->GetObjectRegistry(site),
        Services->GetUnitFactory(site)));
}

ActionFacade::ActionPtr ActionFacade::FindById(const Core::EntryPoint& entryPoint, const Por::View::Unit& key,
                                               Por::UnitPtr& result) const
{
    return FindByIdObject(entryPoint, CopyOf(key), result);
}

ActionFacade::ActionPtr ActionFacade::FindByIdObject(const Core::EntryPoint& entryPoint,
                                                     Por::ConstUnitPtr key, Por::UnitPtr& result) const
{
    const auto site = DML_FACADE_SITE("FindById");
    return Hold(std::make_unique<Actions::Find>(
        entryPoint, std::move(key), result, Services->GetPostOffice(site), Services->GetUnitFactory(site)));
}

ActionFacade::ActionPtr ActionFacade::FindUnitById(const Core::EntryPoint& entryPoint,
                                                   const Por::View::Unit& key, Por::Unit& result) const
{
    const auto site = DML_FACADE_SITE("FindUnitById");
    return Hold(std::make_unique<Actions::Find>(
        entryPoint, CopyOf(key), result, Services->GetPostOffice(site), Services->GetUnitFactory(site)));
}

ActionFacade::ActionPtr ActionFacade::Report(const Core::EntryPoint& entryPoint, const ViewSpec& spec,
                                             ReportReader& reader) const
{
    return Hold(std::make_unique<Actions::Report>(entryPoint, spec, reader,
                                                  Services->GetPostOffice(DML_FACADE_SITE("Report"))));
}

ActionFacade::ActionPtr ActionFacade::Report(const Core::EntryPoint& entryPoint, const ViewSpec& spec,
                                             std::shared_ptr<ReportReader> reader) const
{
    return Hold(std::make_unique<Actions::Report>(entryPoint, spec, std::move(reader),
                                                  Services->GetPostOffice(DML_FACADE_SITE("Report"))));
}

ActionFacade::ActionPtr ActionFacade::ProcessReportAsync(const Core::EntryPoint& entryPoint,
                                                         const ViewSpec& spec,
                                                         std::shared_ptr<AsyncReportReader> reader) const
{
    const auto site = DML_FACADE_SITE("ProcessReportAsync");
    return Hold(std::make_unique<Actions::LongReport>(
        entryPoint, spec, std::move(reader), Services->GetPostOffice(site), Services->GetUnitFactory(site)));
}

ActionFacade::ActionPtr ActionFacade::ProcessReportAsync(const Core::EntryPoint& entryPoint,
                                                         const ViewSpec& spec,
                                                         AsyncReportReader& reader) const
{
    const auto site = DML_FACADE_SITE("ProcessReportAsync");
    return Hold(std::make_unique<Actions::LongReport>(entryPoint, spec, reader, Services->GetPostOffice(site),
                                                      Services->GetUnitFactory(site)));
}

ActionFacade::ActionPtr ActionFacade::Count(const Core::EntryPoint& entryPoint, const ViewSpec& spec,
                                            std::uint32_t& count) const
{
    const auto site = DML_FACADE_SITE("Count");
    PostOffice& office = Services->GetPostOffice(site);
    const Por::Construction::UnitFactory& factory = Services->GetUnitFactory(site);
    return Hold(Async::MakeAction([entryPoint, spec, &office, &factory, &count](Async::ActionHandler& handler)
                                  { return ReadCount(entryPoint, spec, office, factory, count, handler); }));
}

#undef DML_FACADE_SITE

} // namespace Dml
