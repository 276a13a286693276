#include "alerts/inspectors/IncompleteMachineInfoInspector.h"

#include "alerts/AddonNames.h"
#include "alerts/AlertErrors.h"
#include "alerts/AlertGuids.h"
#include "alerts/AlertTypes.h"
#include "alerts/InspectorAlertTypes.h"
#include "alerts/MachineId.h"
#include "alerts/contract/Listener.h"
#include "alerts/inspectors/InspectorFactories.h"
#include "alerts/utils/LogHelpers.h"
#include "dml/AutoSubscription.h"
#include "por/ConstUnit.h"
#include "por/PorUnit.h"

namespace Alerts
{
namespace
{

constexpr const char* Addon = AddonNames::IncompleteMachineInfo;

// "Info"."OS"."Error" of the record; throws Common::Error when it is missing or not an error.
Common::Error ReadOsError(const Por::View::Unit& record)
{
    return Por::ConstUnit(Por::Util::Copy(record, Por::GetUnitFactory()))["Info"]["OS"]["Error"]
        .As<Common::Error>();
}

} // namespace

IncompleteMachineInfoInspector::IncompleteMachineInfoInspector(Runtime::ServiceHolder holder)
    : Holder(std::move(holder))
{
}

IncompleteMachineInfoInspector::~IncompleteMachineInfoInspector() = default;

void IncompleteMachineInfoInspector::Initialize(std::shared_ptr<Listener> listener, const Por::View::Unit&)
{
    TheListener = std::move(listener);
    Alert.emplace(Addon, AlertTypes::IncompleteMachineInfo, IncompleteMachineInfoAlertSeed,
                  Detail::GetMachineId(Holder), &MakeIncompleteMachineInfoError);
    Por::Unit pattern = Por::Unit::Composite();
    pattern.AddTrait("Is", Por::Unit(u"MachineManagement::ThisMachine").Get());
    Subscription = Dml::MakeAutoSubscription(CORE_ENTRY_POINT(), Holder.GetPostOffice(),
                                             {pattern.Result(), nullptr}, *this);
}

void IncompleteMachineInfoInspector::Deinitialize()
{
    Subscription.reset();
    TheListener.reset();
}

void IncompleteMachineInfoInspector::Start()
{
    Subscription->Start();
}

void IncompleteMachineInfoInspector::Stop()
{
    Subscription->Stop();
}

std::vector<std::string> IncompleteMachineInfoInspector::GetAlertTypes()
{
    return Detail::GetIncompleteMachineInfoAlertTypes();
}

void IncompleteMachineInfoInspector::ChangeSettings(const std::string&, const Por::View::Unit&,
                                                    const Common::WideString&)
{
}

void IncompleteMachineInfoInspector::OnCreated(const Por::View::Unit& object)
{
    try
    {
        const Por::ConstUnit record(Por::Util::Copy(object, Por::GetUnitFactory()));
        const Por::ConstUnit error = record["Info"]["OS"]["Error"];
        Apply(error.Exists() ? error.As<Common::Error>() : Common::Success);
    }
    catch (const Common::Error& error)
    {
        Util::LogObjectFailure(COMMON_LOCATION("Alerts::IncompleteMachineInfoInspector::OnCreated"), Addon,
                               object, error);
    }
}

void IncompleteMachineInfoInspector::OnUpdated(const Por::View::Unit&, const Por::View::Unit& after)
{
    try
    {
        Apply(ReadOsError(after));
    }
    catch (const Common::Error&)
    {
        // An update without the error leaves the alert as it was, without a log line.
    }
}

void IncompleteMachineInfoInspector::OnDeleted(const Por::View::Unit&)
{
    Alert->Deactivate(*TheListener);
}

void IncompleteMachineInfoInspector::Apply(const Common::Error& osError)
{
    if (osError.GetCode() != 0)
    {
        Alert->Activate(*TheListener, Holder.GetPostOffice());
    }
    else
    {
        Alert->Deactivate(*TheListener);
    }
}

std::unique_ptr<Inspector> Detail::CreateIncompleteMachineInfoInspector(Runtime::ServiceHolder& holder)
{
    return std::make_unique<IncompleteMachineInfoInspector>(holder);
}

} // namespace Alerts
