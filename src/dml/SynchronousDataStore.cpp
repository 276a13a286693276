#include "dml/SynchronousDataStore.h"

#include "async/ActionAdaptor.h"
#include "async/Synchronizer.h"
#include "dml/CountAction.h"
#include "dml/Errors.h"
#include "dml/KeepAlive.h"
#include "dml/OperationFactory.h"
#include "dml/PagedDelete.h"
#include "dml/PostOffice.h"
#include "dml/ProcessingActions.h"
#include "dml/ReportActions.h"
#include "dml/ReportReaderDelegate.h"
#include "dml/SingleObjectReader.h"
#include "dml/Subscription.h"
#include "dml/WriteActions.h"
#include "por/UnitAccess.h"

namespace Dml
{
namespace
{

// The caller's site as a location of its own: the entry point's id as line tag, no file, no line.
Common::ErrorLocation CallerSite(const Core::EntryPoint& entryPoint, const char* function)
{
    return Common::ErrorLocation{entryPoint.ID, nullptr, function, 0};
}

// The error made at the caller's site, chained under the same error made here.
template <class Make>
[[noreturn]] void ThrowTwoSided(const Core::EntryPoint& entryPoint, const Common::ErrorLocation& here,
                                Make&& make)
{
    const Common::Error atCaller = make(CallerSite(entryPoint, here.Function));
    Common::Error error = make(here);
    error.SetSubError(atCaller);
    throw error;
}

} // namespace

const Por::Construction::UnitFactory& SynchronousDataStore::GetObjectsFactory() const
{
    return Services.GetUnitFactory(COMMON_LOCATION("Dml::SynchronousDataStore::GetObjectsFactory"));
}

void SynchronousDataStore::Create(const Core::EntryPoint&, const Por::View::Unit& object) const
{
    const auto location = COMMON_LOCATION("Dml::SynchronousDataStore::Create");
    Actions::Register action(Services.GetObjectRegistry(location),
                             Por::Util::Copy(object, Services.GetUnitFactory(location)));
    Async::Perform(action);
}

void SynchronousDataStore::CreateIfNotExist(const Core::EntryPoint&, const Por::View::Unit& object) const
{
    const auto location = COMMON_LOCATION("Dml::SynchronousDataStore::CreateIfNotExist");
    Actions::RegisterIfAbsent action(Services.GetObjectRegistry(location),
                                     Por::Util::Copy(object, Services.GetUnitFactory(location)));
    Async::Perform(action);
}

void SynchronousDataStore::Update(const Core::EntryPoint&, const Por::View::Unit& key,
                                  const Por::View::Unit& patch) const
{
    const auto location = COMMON_LOCATION("Dml::SynchronousDataStore::Update");
    const auto& factory = Services.GetUnitFactory(location);
    Actions::Update action(Services.GetObjectRegistry(location), Por::Util::Copy(key, factory),
                           Por::Util::Copy(patch, factory));
    Async::Perform(action);
}

void SynchronousDataStore::UpdateIfExists(const Core::EntryPoint&, const Por::View::Unit& key,
                                          const Por::View::Unit& patch) const
{
    const auto location = COMMON_LOCATION("Dml::SynchronousDataStore::UpdateIfExists");
    const auto& factory = Services.GetUnitFactory(location);
    Actions::UpdateIfFound action(Services.GetObjectRegistry(location), Por::Util::Copy(key, factory),
                                  Por::Util::Copy(patch, factory));
    Async::Perform(action);
}

void SynchronousDataStore::Delete(const Core::EntryPoint&, const Por::View::Unit& key) const
{
    const auto location = COMMON_LOCATION("Dml::SynchronousDataStore::Delete");
    Actions::UnregisterIfFound action(Services.GetObjectRegistry(location),
                                      Por::Util::Copy(key, Services.GetUnitFactory(location)));
    Async::Perform(action);
}

void SynchronousDataStore::DeleteByPattern(const Core::EntryPoint& entryPoint,
                                           const Por::View::Unit& pattern) const
{
    const auto location = COMMON_LOCATION("Dml::SynchronousDataStore::DeleteByPattern");
    const auto& factory = Services.GetUnitFactory(location);
    Actions::UnregisterByPattern action(entryPoint, Por::Util::Copy(pattern, factory),
                                        Services.GetPostOffice(location),
                                        Services.GetObjectRegistry(location), factory);
    Async::Perform(action);
}

void SynchronousDataStore::DeleteBySpec(const Core::EntryPoint& entryPoint, const ViewSpec& spec) const
{
    const auto location = COMMON_LOCATION("Dml::SynchronousDataStore::DeleteBySpec");
    Actions::UnregisterBySpec action(entryPoint, spec, Services.GetPostOffice(location),
                                     Services.GetObjectRegistry(location), Services.GetUnitFactory(location));
    Async::Perform(action);
}

void SynchronousDataStore::StoreOrUpdate(const Core::EntryPoint& entryPoint,
                                         const Por::View::Unit& object) const
{
    const auto location = COMMON_LOCATION("Dml::SynchronousDataStore::StoreOrUpdate");
    const auto& factory = Services.GetUnitFactory(location);
    Actions::Overwrite action(entryPoint, Services.GetPostOffice(location),
                              Services.GetObjectRegistry(location), factory,
                              Por::Util::Copy(object, factory));
    Async::Perform(action);
}

void SynchronousDataStore::AtomicStoreOrUpdate(const Core::EntryPoint& entryPoint,
                                               const Por::View::Unit& object) const
{
    const auto location = COMMON_LOCATION("Dml::SynchronousDataStore::AtomicStoreOrUpdate");
    const auto& factory = Services.GetUnitFactory(location);
    const Por::ConstUnitPtr operation =
        Operation::OperationFactory::MakeStoreOrUpdate(Por::Util::Copy(object, factory), factory);
    Create(entryPoint, *operation);
}

Common::Error SynchronousDataStore::StoreOrConsolidate(const Core::EntryPoint& entryPoint,
                                                       const Por::View::Unit& object) const
{
    const auto location = COMMON_LOCATION("Dml::SynchronousDataStore::StoreOrConsolidate");
    const auto& factory = Services.GetUnitFactory(location);
    Actions::Consolidate action(entryPoint, Services.GetPostOffice(location),
                                Services.GetObjectRegistry(location), factory,
                                Por::Util::Copy(object, factory));
    try
    {
        Async::Perform(action);
    }
    catch (const Common::Error& error)
    {
        return error;
    }
    return Common::Success;
}

Por::UnitPtr SynchronousDataStore::Find(const Core::EntryPoint& entryPoint, const Por::View::Unit& key) const
{
    const auto location = COMMON_LOCATION("Dml::SynchronousDataStore::Find");
    const auto& factory = Services.GetUnitFactory(location);
    Por::UnitPtr result;
    Actions::Find action(entryPoint, Por::Util::Copy(key, factory), result, Services.GetPostOffice(location),
                         factory);
    Async::Perform(action);
    return result;
}

Por::UnitPtr SynchronousDataStore::FindById(const Core::EntryPoint& entryPoint,
                                            const Por::View::Unit& key) const
{
    Por::UnitPtr found = Find(entryPoint, key);
    if (found == nullptr)
    {
        ThrowTwoSided(entryPoint, COMMON_LOCATION("Dml::SynchronousDataStore::FindById"),
                      [&](const Common::ErrorLocation& at) { return Errors::MakeObjectNotFound(at, &key); });
    }
    return found;
}

Por::UnitPtr SynchronousDataStore::ReadSingleOrNone(const Core::EntryPoint& entryPoint,
                                                    const ViewSpec& spec) const
{
    const auto location = COMMON_LOCATION("Dml::SynchronousDataStore::ReadSingleOrNone");
    Por::UnitPtr result;
    SingleObjectReader reader(Services.GetUnitFactory(location), result);
    Actions::Report action(entryPoint, spec, reader, Services.GetPostOffice(location));
    Async::Perform(action);
    if (reader.GetCount() >= 2)
    {
        ThrowTwoSided(entryPoint, location,
                      [&](const Common::ErrorLocation& at)
                      { return Errors::MakeMoreThanOneMatch(at, spec); });
    }
    return result;
}

Por::UnitPtr SynchronousDataStore::ReadSingle(const Core::EntryPoint& entryPoint, const ViewSpec& spec) const
{
    Por::UnitPtr found = ReadSingleOrNone(entryPoint, spec);
    if (found == nullptr)
    {
        ThrowTwoSided(entryPoint, COMMON_LOCATION("Dml::SynchronousDataStore::ReadSingle"),
                      [&](const Common::ErrorLocation& at)
                      { return Errors::MakeNothingFoundByCriteria(at, spec.Pattern.get()); });
    }
    return found;
}

void SynchronousDataStore::Report(const Core::EntryPoint& entryPoint, const ViewSpec& spec,
                                  ReportReader& reader) const
{
    Actions::Report action(entryPoint, spec, reader,
                           Services.GetPostOffice(COMMON_LOCATION("Dml::SynchronousDataStore::Report")));
    Async::Perform(action);
}

void SynchronousDataStore::Report(const Core::EntryPoint& entryPoint, const ViewSpec& spec,
                                  AsyncReportReader& reader) const
{
    const auto location = COMMON_LOCATION("Dml::SynchronousDataStore::Report");
    Actions::LongReport action(entryPoint, spec, reader, Services.GetPostOffice(location),
                               Services.GetUnitFactory(location));
    Async::Perform(action);
}

std::unique_ptr<Subscription> SynchronousDataStore::Subscribe(const Core::EntryPoint& entryPoint,
                                                              const ViewSpec& spec,
                                                              ReportReader& reader) const
{
    PostOffice& office = Services.GetPostOffice(COMMON_LOCATION("Dml::SynchronousDataStore::Subscribe"));
    auto subscription = std::make_shared<std::unique_ptr<Subscription>>();
    auto delegate = std::make_shared<ReportReaderDelegate>(reader);
    auto action = Async::MakeAction(
        [&](Async::ActionHandler& handler)
        {
            return Detail::PerformKeepingAlive(
                subscription, handler,
                [&](Async::ActionHandler& keeper)
                { return office.Subscribe(entryPoint, spec, delegate, *subscription, keeper); });
        });
    Async::Perform(*action);
    return std::move(*subscription);
}

std::uint32_t SynchronousDataStore::Count(const Core::EntryPoint& entryPoint, const ViewSpec& spec) const
{
    const auto location = COMMON_LOCATION("Dml::SynchronousDataStore::Count");
    PostOffice& office = Services.GetPostOffice(location);
    const auto& factory = Services.GetUnitFactory(location);
    std::uint32_t count = 0;
    auto action = Async::MakeAction([&](Async::ActionHandler& handler)
                                    { return ReadCount(entryPoint, spec, office, factory, count, handler); });
    Async::Perform(*action);
    return count;
}

std::uint32_t SynchronousDataStore::EnsureSingleObjectExists(const Core::EntryPoint& entryPoint,
                                                             const ViewSpec& spec) const
{
    const std::uint32_t count = Count(entryPoint, spec);
    const auto location = COMMON_LOCATION("Dml::SynchronousDataStore::EnsureSingleObjectExists");
    if (count == 0)
    {
        ThrowTwoSided(entryPoint, location,
                      [&](const Common::ErrorLocation& at)
                      { return Errors::MakeNothingFoundByCriteria(at, spec.Pattern.get()); });
    }
    if (count >= 2)
    {
        ThrowTwoSided(entryPoint, location,
                      [&](const Common::ErrorLocation& at)
                      { return Errors::MakeMoreThanOneMatch(at, spec); });
    }
    return count;
}

} // namespace Dml
