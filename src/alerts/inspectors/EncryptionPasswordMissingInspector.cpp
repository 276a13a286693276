#include "alerts/inspectors/EncryptionPasswordMissingInspector.h"

#include "access/SystemProfile.h"
#include "access/contract/CredentialScopes.h"
#include "alerts/AddonNames.h"
#include "alerts/AlertErrors.h"
#include "alerts/AlertGuids.h"
#include "alerts/AlertTypes.h"
#include "alerts/InspectorAlertTypes.h"
#include "alerts/MachineId.h"
#include "alerts/contract/Listener.h"
#include "alerts/inspectors/InspectorFactories.h"
#include "alerts/utils/LogHelpers.h"
#include "common/CyclicTimeout.h"
#include "common/TimeoutPolicy.h"
#include "dml/AutoSubscription.h"
#include "por/ConstUnit.h"
#include "por/PorUnit.h"
#include "por/UnitAccess.h"

namespace Alerts
{
namespace
{

constexpr const char* Addon = AddonNames::EncryptionPasswordMissing;
constexpr std::uint32_t DefaultCheckPeriodSeconds = 3600;
constexpr std::uint32_t FirstCheckDelay = 60000;
constexpr std::uint32_t CheckDelayFactor = 5;

// "EncryptionPasswordMissing"."CheckPeriod" in milliseconds.
std::uint32_t ReadCheckPeriod(const Por::View::Unit& settings)
{
    const Por::View::Unit* section =
        Por::Util::FindPropertyValue(settings, AlertTypes::EncryptionPasswordMissing);
    const Por::View::Unit* period =
        section != nullptr ? Por::Util::FindPropertyValue(*section, "CheckPeriod") : nullptr;
    const std::uint32_t seconds =
        period != nullptr ? Por::Util::GetValue<std::uint32_t>(*period) : DefaultCheckPeriodSeconds;
    return seconds * 1000;
}

// "EnhancedSecurity"."Enabled"; throws Common::Error when it is missing.
bool IsEnhancedSecurityEnabled(const Por::View::Unit& settings)
{
    return Por::ConstUnit(Por::Util::Copy(settings, Por::GetUnitFactory()))["EnhancedSecurity"]["Enabled"]
        .As<bool>();
}

} // namespace

EncryptionPasswordMissingInspector::EncryptionPasswordMissingInspector(Runtime::ServiceHolder holder)
    : Holder(std::move(holder))
{
}

EncryptionPasswordMissingInspector::~EncryptionPasswordMissingInspector() = default;

void EncryptionPasswordMissingInspector::Initialize(std::shared_ptr<Listener> listener,
                                                    const Por::View::Unit& settings)
{
    TheListener = std::move(listener);
    Alert.emplace(Addon, AlertTypes::EncryptionPasswordMissing, EncryptionPasswordAlertSeed,
                  Detail::GetMachineId(Holder), &MakeEncryptionPasswordMissingError);
    Por::Unit pattern = Por::Unit::Composite();
    pattern.AddTrait("Is", Por::Unit(u"TenantSettings").Get());
    Timer = std::make_unique<Common::CyclicTimeout>(
        &EncryptionPasswordMissingInspector::CheckPassword, this,
        std::make_unique<Common::BackoffTimeoutPolicy>(FirstCheckDelay, CheckDelayFactor,
                                                       ReadCheckPeriod(settings)),
        true);
    Subscription = Dml::MakeAutoSubscription(CORE_ENTRY_POINT(), Holder.GetPostOffice(),
                                             {pattern.Result(), nullptr}, *this);
}

void EncryptionPasswordMissingInspector::Deinitialize()
{
    Subscription.reset();
    Timer.reset();
    TheListener.reset();
}

void EncryptionPasswordMissingInspector::Start()
{
    Subscription->Start();
}

void EncryptionPasswordMissingInspector::Stop()
{
    Subscription->Stop();
}

std::vector<std::string> EncryptionPasswordMissingInspector::GetAlertTypes()
{
    return Detail::GetEncryptionPasswordMissingAlertTypes();
}

void EncryptionPasswordMissingInspector::ChangeSettings(const std::string&, const Por::View::Unit&,
                                                        const Common::WideString&)
{
}

bool EncryptionPasswordMissingInspector::IsEncryptionPasswordSet() const
{
    const AccessManagement::Facade::SystemProfile profile(Holder);
    Common::WideString password;
    const bool set = profile.GetPassword(AccessManagement::CredentialScopes::AnyArchive,
                                         AccessManagement::AccessMode::ReadSecret, password);
    Util::LogText(Addon, 1, set ? "Encryption password is set" : "Encryption password is not set");
    return set;
}

void EncryptionPasswordMissingInspector::SetAlertState(bool active)
{
    if (active)
    {
        Alert->Activate(*TheListener, Holder.GetPostOffice());
        Timer->Start();
    }
    else
    {
        Timer->Stop();
        Alert->Deactivate(*TheListener);
    }
}

unsigned EncryptionPasswordMissingInspector::CheckPassword(void* self)
{
    auto* inspector = static_cast<EncryptionPasswordMissingInspector*>(self);
    inspector->SetAlertState(!inspector->IsEncryptionPasswordSet());
    return 0;
}

void EncryptionPasswordMissingInspector::HandleSettings(const Por::View::Unit& settings)
{
    SetAlertState(IsEnhancedSecurityEnabled(settings) && !IsEncryptionPasswordSet());
}

void EncryptionPasswordMissingInspector::OnCreated(const Por::View::Unit& object)
{
    try
    {
        Util::LogText(Addon, 1, "OnCreated Enhanced Security tenant settings");
        HandleSettings(object);
    }
    catch (const Common::Error& error)
    {
        Util::LogObjectFailure(COMMON_LOCATION("Alerts::EncryptionPasswordMissingInspector::OnCreated"),
                               Addon, object, error);
    }
}

void EncryptionPasswordMissingInspector::OnUpdated(const Por::View::Unit& before,
                                                   const Por::View::Unit& after)
{
    try
    {
        if (IsEnhancedSecurityEnabled(before) != IsEnhancedSecurityEnabled(after))
        {
            Util::LogText(Addon, 2, "Tenant settings changed. Encryption password check started.");
            HandleSettings(after);
        }
    }
    catch (const Common::Error& error)
    {
        Util::LogObjectFailure(COMMON_LOCATION("Alerts::EncryptionPasswordMissingInspector::OnUpdated"),
                               Addon, after, error);
    }
}

void EncryptionPasswordMissingInspector::OnDeleted(const Por::View::Unit& object)
{
    try
    {
        Alert->Deactivate(*TheListener);
        Timer->Stop();
        Util::LogText(Addon, 2,
                      "Encryption password is not checked anymore. Tenant settings have been removed.");
    }
    catch (const Common::Error& error)
    {
        Util::LogObjectFailure(COMMON_LOCATION("Alerts::EncryptionPasswordMissingInspector::OnDeleted"),
                               Addon, object, error);
    }
}

std::unique_ptr<Inspector> Detail::CreateEncryptionPasswordMissingInspector(Runtime::ServiceHolder& holder)
{
    return std::make_unique<EncryptionPasswordMissingInspector>(holder);
}

} // namespace Alerts
