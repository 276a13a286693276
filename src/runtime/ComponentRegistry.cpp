#include "runtime/ComponentRegistry.h"

#include "common/CatalogIds.h"
#include "common/FormatText.h"
#include "common/TextCatalog.h"
#include "common/Utf8.h"

#include <string>

namespace Runtime
{
namespace
{

struct ComponentName
{
    ComponentId Id;
    const char* Name;
};

// Only for messages; the spelling of 304 is the host's own.
constexpr ComponentName ComponentNames[] = {
    {TaskManagerId, "TaskManagement::TaskManager"},
    {MachineManagerId, "MachineManagement::MachineManager"},
    {ConfigurationManagerId, "ConfigurationManagement::ConfigurationManager"},
    {PostOfficeId, "Dml::PostOffice"},
    {ObjectRegistryId, "Dml::ObjectRegistry"},
    {EnvironmentAccessorId, "EnvironmentAccessor"},
    {UnitFactoryProviderId, "Por::UnitFactoryProvider"},
    {MessageProcessorId, "Tol::MesssageProcessor"},
    {MessagingSystemId, "Messaging::MessagingSystem"},
    {ProfileVaultId, "AccessManagement::ProfileVault"},
    {ProfileViewId, "AccessManagement::ProfileView"},
    {SessionManagerId, "Core::Sessions::SessionManager"},
};

Common::WideString Widen(std::string_view text)
{
    Common::WideString wide;
    Common::Utf8ToWide(wide, text.data(), text.size());
    return wide;
}

Common::WideString Number(ComponentId id)
{
    return Widen(std::to_string(id));
}

} // namespace

const char* GetComponentName(ComponentId id)
{
    for (const ComponentName& entry : ComponentNames)
    {
        if (entry.Id == id)
        {
            return entry.Name;
        }
    }
    return nullptr;
}

Common::Error ComponentRegistry::MakeNotFoundError(ComponentId id)
{
    const char* name = GetComponentName(id);
    const Common::WideString text =
        name != nullptr
            ? Common::FormatText(Common::GetText(Common::Texts::ComponentNotFound), {Widen(name)})
            : Common::FormatText(Common::GetText(Common::Texts::ComponentIdNotFound), {Number(id)});
    return Common::Error(COMMON_LOCATION("Runtime::ComponentRegistry::MakeNotFoundError"),
                         Common::MakeErrorCode(0x00AC, 0x0002), text);
}

Common::Error ComponentRegistry::MakeBadCastError(ComponentId id, std::string_view interfaceName)
{
    const char* name = GetComponentName(id);
    const Common::WideString interface = Widen(interfaceName);
    const Common::WideString text =
        name != nullptr
            ? Common::FormatText(Common::GetText(Common::Texts::ComponentBadCast), {Widen(name), interface})
            : Common::FormatText(Common::GetText(Common::Texts::ComponentIdBadCast), {Number(id), interface});
    return Common::Error(COMMON_LOCATION("Runtime::ComponentRegistry::MakeBadCastError"),
                         Common::MakeErrorCode(0x017E, 0x0019), text);
}

} // namespace Runtime
