#include "dml/ObjectProcessors.h"

#include "dml/Errors.h"
#include "dml/ObjectKey.h"
#include "dml/ObjectRegistry.h"
#include "por/Diff.h"
#include "por/PorUnit.h"
#include "por/Unit.h"
#include "por/UnitAccess.h"

namespace Dml::Detail
{
namespace
{

std::shared_ptr<Async::Job> Succeed(Async::ActionHandler& handler)
{
    handler.Completed(Common::Success);
    return nullptr;
}

// Composites merge property by property: the new object's properties join or replace the stored ones,
// the stored ones it lacks stay; any other value is replaced whole. Traits stay the stored object's.
void Overlay(Por::Unit target, const Por::View::Unit& source)
{
    const Por::View::CompositeValue* composite = Por::Util::FindComposite(source);
    if (composite == nullptr || !target.Exists() || Por::Util::FindComposite(target.Get()) == nullptr)
    {
        target = source;
        return;
    }
    for (auto property = composite->GetIterator(); property->IsValid(); property->Next())
    {
        Overlay(target[property->Current().GetName()], property->Current().GetValue());
    }
}

} // namespace

WriteObject::WriteObject(Por::ConstUnitPtr object, ObjectRegistry& registry,
                         const Por::Construction::UnitFactory& factory)
    : Object(std::move(object)), Registry(registry), Factory(factory)
{
}

std::shared_ptr<Async::Job> WriteObject::ProcessObject(const Por::View::Unit& stored,
                                                       Async::ActionHandler& handler)
{
    PatchHolder = Por::Util::Diff(stored, *Object, Factory);
    KeyHolder = Por::Util::Copy(GetObjectKey(*Object), Factory);
    return Registry.Update(*KeyHolder, *PatchHolder, handler);
}

std::shared_ptr<Async::Job> WriteObject::ProcessEmptySelection(Async::ActionHandler& handler)
{
    return Registry.Register(*Object, handler);
}

std::shared_ptr<Async::Job> StoreNewObject::ProcessObject(const Por::View::Unit&,
                                                          Async::ActionHandler& handler)
{
    return Succeed(handler);
}

ConsolidateObject::ConsolidateObject(Por::ConstUnitPtr object, ObjectRegistry& registry,
                                     const Por::Construction::UnitFactory& factory)
    : Object(std::move(object)), Registry(registry), Factory(factory)
{
}

std::shared_ptr<Async::Job> ConsolidateObject::ProcessObject(const Por::View::Unit& stored,
                                                             Async::ActionHandler& handler)
{
    Por::Unit merged(Por::Util::Copy(stored, Factory), Factory);
    Overlay(merged, *Object);
    PatchHolder = Por::Util::Diff(stored, merged.Get(), Factory);
    KeyHolder = Por::Util::Copy(GetObjectKey(*Object), Factory);
    return Registry.Update(*KeyHolder, *PatchHolder, handler);
}

std::shared_ptr<Async::Job> ConsolidateObject::ProcessEmptySelection(Async::ActionHandler& handler)
{
    return Registry.Register(*Object, handler);
}

std::shared_ptr<Async::Job> ConsolidateObjectIfExists::ProcessEmptySelection(Async::ActionHandler& handler)
{
    return Succeed(handler);
}

std::shared_ptr<Async::Job> DeleteObject::ProcessObject(const Por::View::Unit& stored,
                                                        Async::ActionHandler& handler)
{
    KeyHolder = Por::Util::Copy(GetObjectKey(stored), Factory);
    return Registry.Unregister(*KeyHolder, handler);
}

std::shared_ptr<Async::Job> DeleteObject::ProcessEmptySelection(Async::ActionHandler& handler)
{
    return Succeed(handler);
}

std::shared_ptr<Async::Job> FindPlainObject::ProcessObject(const Por::View::Unit& stored,
                                                           Async::ActionHandler& handler)
{
    if (Holder != nullptr)
    {
        *Holder = Por::Util::Copy(stored, Factory);
    }
    else
    {
        *Unit = stored;
    }
    return Succeed(handler);
}

std::shared_ptr<Async::Job> FindPlainObject::ProcessEmptySelection(Async::ActionHandler& handler)
{
    return Succeed(handler);
}

std::shared_ptr<Async::Job> StrictFindPlainObject::ProcessEmptySelection(Async::ActionHandler& handler)
{
    handler.Completed(Errors::MakeObjectNotFound(
        COMMON_LOCATION("Dml::PersistActionsImpl::StrictFindPlainObject"), Key.get()));
    return nullptr;
}

std::shared_ptr<Async::Job> ObjectExistenceChecker::ProcessObject(const Por::View::Unit&,
                                                                  Async::ActionHandler& handler)
{
    Result = true;
    return Succeed(handler);
}

std::shared_ptr<Async::Job> ObjectExistenceChecker::ProcessEmptySelection(Async::ActionHandler& handler)
{
    Result = false;
    return Succeed(handler);
}

} // namespace Dml::Detail
