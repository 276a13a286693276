#include "run/AlertBook.h"

#include "async/ImmediateResultAction.h"
#include "dml/SynchronousDataStore.h"
#include "por/PorUnit.h"
#include "por/UnitAccess.h"
#include "run/EventLog.h"

namespace Host::Run
{

Por::ConstUnitPtr MakeAlertPattern(const Common::Guid* id)
{
    Por::Unit pattern = Por::Unit::Composite();
    pattern.AddTrait("Is", Por::Unit(AlertObjectClass).Get());
    if (id != nullptr)
    {
        pattern["ID"] = *id;
    }
    return pattern.Result();
}

AlertBook::AlertBook(std::string inspector, std::size_t order, Dml::SynchronousDataStore& store,
                     EventLog& log, std::function<std::uint64_t()> now)
    : Inspector(std::move(inspector)), Order(order), Store(store), Log(log), Now(std::move(now))
{
}

void AlertBook::OnActive(const Common::Guid& id, const std::string& type, const Por::View::Unit& meta,
                         const Common::WideString& tenantID)
{
    const Por::ConstUnitPtr copy = Por::Util::Copy(meta, Por::GetUnitFactory());
    Log.AddAlert({Now(), Order, Inspector, true, type, id, tenantID, copy});
    const Common::WideString typeText(type.begin(), type.end());
    Por::Unit object = Por::Unit::Composite();
    object.AddTrait("Is", Por::Unit(AlertObjectClass).Get());
    object["Key"] = Common::GuidToWideString(id) + u"/" + typeText;
    object["Key"].AddTrait("PrimaryKey");
    object["ID"] = id;
    object["Type"] = typeText;
    object["Inspector"] = Common::WideString(Inspector.begin(), Inspector.end());
    object["TenantID"] = tenantID;
    object["Meta"] = *copy;
    Store.StoreOrUpdate(CORE_ENTRY_POINT(), object.Get());
}

void AlertBook::OnInactive(const Common::Guid& id, const std::string& type,
                           const Common::WideString& tenantID)
{
    Log.AddAlert({Now(), Order, Inspector, false, type, id, tenantID, nullptr});
    if (type.empty())
    {
        Store.DeleteByPattern(CORE_ENTRY_POINT(), *MakeAlertPattern(&id));
        return;
    }
    Por::Unit key(Common::GuidToWideString(id) + u"/" + Common::WideString(type.begin(), type.end()));
    key.AddTrait("PrimaryKey");
    Store.Delete(CORE_ENTRY_POINT(), key.Get());
}

std::unique_ptr<Async::Action> AlertBook::CleanupAlerts(const std::string&, const Por::View::Unit&)
{
    return Async::MakeImmediateResult();
}

std::unique_ptr<Async::Action> AlertBook::IgnoreAlerts(const std::string&, const Por::View::Unit&)
{
    return Async::MakeImmediateResult();
}

} // namespace Host::Run
