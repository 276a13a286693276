// The module's five add-ons, one per inspector. Each answers its cast table only for
// Alerts::InspectorFactory and makes its inspector over the host's services; LoadAddons hands them to
// the host in the order declared here.
#pragma once

#include "addons/AddOnImplBase.h"
#include "alerts/contract/InspectorFactory.h"

#include <cstdint>
#include <memory>
#include <string>

namespace Alerts
{

using InspectorAddonBase = Core::AddOnImplBase<InspectorFactory, Core::Detail::EmptyBase>;

// The version every add-on of this module reports.
inline constexpr std::uint32_t AddonVersion = 1;

class ActivityFailingInspectorAddon final : public InspectorAddonBase
{
public:
    ActivityFailingInspectorAddon(std::string name, std::uint32_t version);
    std::unique_ptr<Inspector> CreateInspector(Runtime::ServiceHolder& holder) override;
};

class ActivityNotRespondingInspectorAddon final : public InspectorAddonBase
{
public:
    ActivityNotRespondingInspectorAddon(std::string name, std::uint32_t version);
    std::unique_ptr<Inspector> CreateInspector(Runtime::ServiceHolder& holder) override;
};

class BackupDidNotStartInspectorAddon final : public InspectorAddonBase
{
public:
    BackupDidNotStartInspectorAddon(std::string name, std::uint32_t version);
    std::unique_ptr<Inspector> CreateInspector(Runtime::ServiceHolder& holder) override;
};

class EncryptionPasswordMissingInspectorAddon final : public InspectorAddonBase
{
public:
    EncryptionPasswordMissingInspectorAddon(std::string name, std::uint32_t version);
    std::unique_ptr<Inspector> CreateInspector(Runtime::ServiceHolder& holder) override;
};

class IncompleteMachineInfoInspectorAddon final : public InspectorAddonBase
{
public:
    IncompleteMachineInfoInspectorAddon(std::string name, std::uint32_t version);
    std::unique_ptr<Inspector> CreateInspector(Runtime::ServiceHolder& holder) override;
};

} // namespace Alerts
