// The module's entry as a host sees it: the built shared object is loaded with dlopen, LoadAddons hands
// five add-ons in a fixed order, each answers its cast table only for the inspector factory, the
// factory's errors and Configure reach across the module boundary. The controller's reuse is watched
// through the same objects linked into this test.
#include "alerts/LoadAddons.h"

#include "AddonTesting.h"
#include "addons/AddonLoaderProvider.h"
#include "addons/AddonLoaderProviderClient.h"
#include "addons/AddonLoadingTrigger.h"
#include "alerts/InspectorAlertTypes.h"
#include "alerts/ModuleController.h"
#include "alerts/contract/Inspector.h"
#include "alerts/contract/InspectorFactory.h"
#include "alerts/inspectors/InspectorFactories.h"
#include "common/DynamicCaster.h"
#include "common/ThrownError.h"
#include "components/Components.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

namespace
{

using AddonTesting::ExpectedNames;
using AddonTesting::RecordingSink;

Core::LoadAddonsFunction LoadFromSharedObject()
{
    // Kept loaded for the whole process: the add-ons' code lives in it.
    static void* const module = dlopen(VELTRIX_ADDON_PATH, RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr)
    {
        ADD_FAILURE() << "dlopen: " << dlerror();
        return nullptr;
    }
    return reinterpret_cast<Core::LoadAddonsFunction>(dlsym(module, "LoadAddons"));
}

class LoadAddonsTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        Load = LoadFromSharedObject();
        ASSERT_NE(Load, nullptr);
        // The module's own entry, not the copy linked into this test.
        ASSERT_NE(Load, &::LoadAddons);
    }

    Core::LoadAddonsFunction Load = nullptr;
};

// A null sink gets nothing; Configure of a loaded add-on sets this process's globals.
TEST_F(LoadAddonsTest, HandsFiveNewAddonsInFixedOrderOnEveryCallWhoseConfigureSetsTheGlobals)
{
    Core::Detail::ResetAddonGlobalsForTesting();
    Core::AddonLoaderProvider provider;
    Load(nullptr);
    RecordingSink first;
    Load(&first);
    RecordingSink second;
    Load(&second);

    std::set<const Core::Addon*> distinct;
    for (const RecordingSink* sink : {&first, &second})
    {
        EXPECT_EQ(sink->Names(), ExpectedNames);
        for (const auto& addon : sink->Addons)
        {
            EXPECT_EQ(addon->GetVersion(), 1u);
            distinct.insert(addon.get());
            addon->Configure({&provider, 3});
        }
    }
    EXPECT_EQ(distinct.size(), 10u);
    EXPECT_EQ(&Core::AddonLoaderProviderClient::GetGlobalInstance(), &provider);
    EXPECT_EQ(Core::AddonLoaderProviderClient::GetGlobalTraceLevel(), 3u);
    Core::Detail::ResetAddonGlobalsForTesting();
}

TEST_F(LoadAddonsTest, CastTableAnswersOnlyForTheFactoryTypeName)
{
    RecordingSink sink;
    Load(&sink);
    const char* const others[] = {
        nullptr,
        "",
        "Alerts::InspectorFactory",
        typeid(Alerts::InspectorFactory).name(),
        Common::InterfaceTypeName<Core::Addon>(),
        Common::InterfaceTypeName<Alerts::Inspector>(),
        Common::InterfaceTypeName<Common::DynamicCaster>(),
    };
    for (const auto& addon : sink.Addons)
    {
        SCOPED_TRACE(addon->GetName());
        void* const factory = addon->Cast(Common::InterfaceTypeName<Alerts::InspectorFactory>());
        ASSERT_NE(factory, nullptr);
        // The table's entry is the factory itself, the same that a dynamic cast finds from this side.
        EXPECT_EQ(static_cast<Alerts::InspectorFactory*>(factory),
                  dynamic_cast<Alerts::InspectorFactory*>(addon.get()));
        for (const char* name : others)
        {
            EXPECT_EQ(addon->Cast(name), nullptr) << (name != nullptr ? name : "(null)");
        }
    }
}

// The inspector of each add-on, in order, with its alert types as the host reads them: the activity
// failing list keeps its deliberate mismatch with what that inspector activates (no
// "BackupCanceledDueClosedBackupWindow").
struct InspectorCase
{
    std::vector<std::string> (*AlertTypes)();
    std::vector<std::string> Expected;
    bool MachineIdInConstructor;
};
const InspectorCase Inspectors[] = {
    {Alerts::Detail::GetActivityFailingAlertTypes,
     {"BackupFailed", "BackupFinishedWithWarnings", "BackupCanceled", "ActivityFailed",
      "ActivityFinishedWithWarnings", "ValidationFailed", "ArchiveCorrupted"},
     true},
    {Alerts::Detail::GetActivityNotRespondingAlertTypes,
     {"ActivityNotResponding", "BackupNotResponding", "BackupQueued"},
     true},
    {Alerts::Detail::GetBackupDidNotStartAlertTypes, {"BackupDidNotStart"}, true},
    {Alerts::Detail::GetEncryptionPasswordMissingAlertTypes, {"EncryptionPasswordMissing"}, false},
    {Alerts::Detail::GetIncompleteMachineInfoAlertTypes, {"IncompleteMachineInfo"}, false},
};

TEST(InspectorNotInBuildTest, NamesTheInspector)
{
    const Common::Error error =
        Alerts::Detail::MakeInspectorNotInBuildError(COMMON_LOCATION("Test"), "Alerts::SomeInspector");
    EXPECT_EQ(error.GetCode(), 0x011A0100u);
    EXPECT_EQ(error.GetMessage(), u"The inspector 'Alerts::SomeInspector' is not part of this build.");
}

// Each factory makes its inspector with its add-on's alert types. A failing machine manager stops the
// first three in CreateInspector and lets the last two be made, to fail in Initialize.
TEST_F(LoadAddonsTest, EachFactoryMakesItsInspectorWithItsAlertTypes)
{
    const Common::Error machineFailure(COMMON_LOCATION("Test"), 0x00AB0042, u"no machine record");
    for (const bool machineFails : {false, true})
    {
        Host::Components components;
        if (machineFails)
        {
            components.GetMachineManager().SetFailure(machineFailure);
        }
        Runtime::ServiceHolder holder = components.MakeServiceHolder();
        RecordingSink sink;
        Load(&sink);
        ASSERT_EQ(sink.Addons.size(), std::size(Inspectors));
        for (std::size_t index = 0; index < sink.Addons.size(); ++index)
        {
            const InspectorCase& expected = Inspectors[index];
            SCOPED_TRACE(ExpectedNames[index] + (machineFails ? ", machine fails" : ""));
            EXPECT_EQ(expected.AlertTypes(), expected.Expected);
            auto& factory = *Common::DynamicCast<Alerts::InspectorFactory>(*sink.Addons[index]);
            if (machineFails && expected.MachineIdInConstructor)
            {
                EXPECT_EQ(Testing::ThrownError([&] { factory.CreateInspector(holder); }).GetCode(),
                          machineFailure.GetCode());
                continue;
            }
            const std::unique_ptr<Alerts::Inspector> inspector = factory.CreateInspector(holder);
            ASSERT_NE(inspector, nullptr);
            EXPECT_EQ(inspector->GetAlertTypes(), expected.Expected);
        }
    }
}

// Appends its mark to a shared record, with the sink and what the sink held when it ran. Triggers stay
// with the module's controller for the rest of the process, so they own what they write to.
class RecordingTrigger final : public Core::AddonLoadingTrigger
{
public:
    using Record = std::vector<std::pair<std::string, const Core::AddonSink*>>;

    RecordingTrigger(std::string mark, std::shared_ptr<Record> record)
        : Mark(std::move(mark)), Entries(std::move(record))
    {
    }
    void OnLoading(Core::AddonSink& sink) override
    {
        Entries->emplace_back(Mark, &sink);
        const auto* recording = dynamic_cast<const RecordingSink*>(&sink);
        AddonsBefore.push_back(recording != nullptr ? recording->Addons.size() : 0);
    }

    const std::string Mark;
    const std::shared_ptr<Record> Entries;
    std::vector<std::size_t> AddonsBefore;
};

TEST(ModuleControllerTest, EveryLoadRunsTheTriggersInOrderBeforeTheAddonsOnTheSameController)
{
    Core::ModuleAddonController& controller = Alerts::GetModuleController();
    const auto record = std::make_shared<RecordingTrigger::Record>();
    const auto first = std::make_shared<RecordingTrigger>("first", record);
    controller.AddTrigger(first);
    controller.AddTrigger(nullptr); // keeps its place and is skipped
    controller.AddTrigger(std::make_shared<RecordingTrigger>("second", record));

    RecordingSink one;
    ::LoadAddons(&one);
    RecordingSink two;
    ::LoadAddons(&two);

    EXPECT_EQ(&Alerts::GetModuleController(), &controller);
    const RecordingTrigger::Record expected = {
        {"first", &one}, {"second", &one}, {"first", &two}, {"second", &two}};
    EXPECT_EQ(*record, expected);
    EXPECT_EQ(first->AddonsBefore, (std::vector<std::size_t>{0, 0}));
    EXPECT_EQ(two.Names(), ExpectedNames);
}

} // namespace
