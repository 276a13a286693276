// The two machine inspectors end to end: this machine's record and the tenant settings written to the
// memory store, the host's machine manager and profile vault, the timers on the virtual clock.
#include "AlertTesting.h"
#include "RecordingListener.h"
#include "access/contract/CredentialScopes.h"
#include "access/contract/SystemProfileId.h"
#include "alerts/AlertErrors.h"
#include "alerts/AlertGuids.h"
#include "alerts/AlertIdentity.h"
#include "alerts/contract/Inspector.h"
#include "alerts/inspectors/InspectorFactories.h"
#include "async/DefaultService.h"
#include "common/Clock.h"
#include "common/VirtualClock.h"
#include "components/Components.h"
#include "dml/ServiceHolder.h"
#include "dml/SynchronousDataStore.h"
#include "por/ConstUnit.h"
#include "por/PorUnit.h"

#include <gtest/gtest.h>

namespace
{

using AlertTesting::Id;
using Testing::RecordingListener;

const Common::Guid MachineId = Id(0x4D41);

// Installs a virtual clock for the test's life.
struct VirtualTime
{
    VirtualTime() { Common::SetClock(&Clock); }
    ~VirtualTime() { Common::SetClock(nullptr); }
    Common::VirtualClock Clock;
};

class MachineInspectorTest : public ::testing::Test
{
protected:
    using Factory = std::unique_ptr<Alerts::Inspector> (*)(Runtime::ServiceHolder&);

    void Begin(Factory factory, const Por::Unit& settings = Por::Unit::Composite())
    {
        Holder = std::make_unique<Runtime::ServiceHolder>(Parts.MakeServiceHolder());
        Inspector = factory(*Holder);
        Inspector->Initialize(Listener, settings.Get());
        Inspector->Start();
    }
    void TearDown() override
    {
        if (Inspector != nullptr)
        {
            Inspector->Stop();
            Inspector->Deinitialize();
        }
    }

    // Waits until the feed has delivered what was written and the timers due now have run.
    void Settle()
    {
        for (int round = 0; round < 3; ++round)
        {
            Time.Clock.Settle();
            Async::Detail::WaitUntilIdle();
        }
    }
    std::vector<std::string> Calls()
    {
        Settle();
        return Listener->TakeLines();
    }
    void Write(const Por::Unit& object) { Client.StoreOrUpdate(CORE_ENTRY_POINT(), object.Get()); }
    void Erase(const Por::Unit& object) { Client.Delete(CORE_ENTRY_POINT(), object["ID"].Get()); }

    VirtualTime Time;
    AlertTesting::LogCapture Log;
    Host::Components Parts{MachineId};
    Dml::SynchronousDataStore Client{Dml::ServiceHolder(&Parts.GetStore(), &Parts.GetStore())};
    std::shared_ptr<RecordingListener> Listener = std::make_shared<RecordingListener>();
    std::unique_ptr<Runtime::ServiceHolder> Holder;
    std::unique_ptr<Alerts::Inspector> Inspector;
};

Por::Unit MachineRecord()
{
    return AlertTesting::MakeObject(u"MachineManagement::ThisMachine", Id(1));
}

std::string Line(const char* state, const char* type, const Common::Guid& seed)
{
    return std::string(state) + " " + type + " " + Common::GuidToString(Alerts::XorGuids(seed, MachineId));
}

TEST_F(MachineInspectorTest, IncompleteMachineInfoFollowsTheRecordsOsError)
{
    const std::string active =
        Line("active", "IncompleteMachineInfo", Alerts::IncompleteMachineInfoAlertSeed);
    const std::string inactive =
        Line("inactive", "IncompleteMachineInfo", Alerts::IncompleteMachineInfoAlertSeed);
    Por::Unit instance = AlertTesting::MakeObject(u"InstanceManagement::Instance", Id(7));
    instance["Type"] = std::int32_t{1}; // the instance types are signed
    instance["FullPath"] = u"host.example";
    Write(instance);

    // Created without "Info": the default is success, so the alert is told inactive.
    Write(MachineRecord());
    Begin(&Alerts::Detail::CreateIncompleteMachineInfoInspector);
    EXPECT_EQ(Calls(), std::vector<std::string>{inactive});

    Por::Unit failed = MachineRecord();
    failed[".Info.OS.Error"] = Common::Error(COMMON_LOCATION("Test"), 0x80041001);
    Write(failed);
    Settle();
    const std::vector<RecordingListener::Call> calls = Listener->Take();
    ASSERT_EQ(calls.size(), 1u);
    const Por::ConstUnit meta(calls[0].Meta);
    EXPECT_EQ(meta["MachineID"].As<Common::Guid>(), MachineId);
    EXPECT_EQ(meta["InstanceID"].As<Common::Guid>(), Id(7));
    EXPECT_EQ(meta["MachineName"].As<Common::WideString>(), u"host.example");
    EXPECT_EQ(meta["Error"].As<Common::Error>().GetCode(), Alerts::ErrorCodes::IncompleteMachineInfo);
    EXPECT_EQ(meta["Error"].As<Common::Error>().GetMessage(),
              u"Machine info is not complete. It could be caused by a failure of WMI service.");

    // The same state again is told again: the inspector keeps no memory of the alert.
    failed["Name"] = u"renamed";
    Write(failed);
    EXPECT_EQ(Calls(), std::vector<std::string>{active});

    // An update without "Error" is swallowed without a log line and leaves the alert as it was.
    const std::size_t linesBefore = Log.Lines().size();
    Por::Unit withoutError = MachineRecord();
    withoutError[".Info.OS.Name"] = u"Linux";
    Write(withoutError);
    EXPECT_TRUE(Calls().empty());
    EXPECT_EQ(Log.Lines().size(), linesBefore);

    Erase(MachineRecord());
    EXPECT_EQ(Calls(), std::vector<std::string>{inactive});
}

TEST_F(MachineInspectorTest, MachineIdFailureSurfacesInInitializeAndSettingsChangeNothing)
{
    Parts.GetMachineManager().SetFailure(Common::Error(COMMON_LOCATION("Test"), 0x1234));
    Runtime::ServiceHolder holder = Parts.MakeServiceHolder();
    for (const Factory factory : {&Alerts::Detail::CreateIncompleteMachineInfoInspector,
                                  &Alerts::Detail::CreateEncryptionPasswordMissingInspector})
    {
        std::unique_ptr<Alerts::Inspector> inspector = factory(holder);
        try
        {
            inspector->Initialize(Listener, Por::Unit::Composite().Get());
            ADD_FAILURE() << "Initialize succeeded without a machine id";
        }
        catch (const Common::Error& error)
        {
            EXPECT_EQ(error.GetCode(), 0x1234u);
        }
    }
    Parts.GetMachineManager().SetFailure(Common::Success);
    Begin(&Alerts::Detail::CreateEncryptionPasswordMissingInspector);
    Settle();
    const std::size_t linesBefore = Log.Lines().size();
    Inspector->ChangeSettings("EncryptionPasswordMissing", Por::Unit::Composite().Get(), u"");
    EXPECT_EQ(Log.Lines().size(), linesBefore);
    EXPECT_TRUE(Calls().empty());
}

class EncryptionPasswordTest : public MachineInspectorTest
{
protected:
    static Por::Unit TenantSettings(bool enhancedSecurity)
    {
        Por::Unit settings = AlertTesting::MakeObject(u"TenantSettings", Id(2));
        settings[".EnhancedSecurity.Enabled"] = enhancedSecurity;
        return settings;
    }
    void SetPassword(const char16_t* password)
    {
        Parts.GetProfileVault().SetPassword(AccessManagement::SystemProfileId,
                                            AccessManagement::CredentialScopes::AnyArchive, password);
    }
    void Advance(std::uint64_t seconds)
    {
        Time.Clock.Advance(seconds * 1000);
        Settle();
    }

    const std::string Active =
        Line("active", "EncryptionPasswordMissing", Alerts::EncryptionPasswordAlertSeed);
    const std::string Inactive =
        Line("inactive", "EncryptionPasswordMissing", Alerts::EncryptionPasswordAlertSeed);
};

// With the default period the checks come at 300 s and then every 3600 s: the policy's first delay is
// already 60 s times 5, and in each round the alert's restart inside the callback takes one delay and
// the cycle's own re-arm after the callback the next, which replaces it (1500 s, then 3600 s).
TEST_F(EncryptionPasswordTest, TheAlertRepeatsAtEachCheckUntilThePasswordIsSet)
{
    Write(TenantSettings(true));
    Begin(&Alerts::Detail::CreateEncryptionPasswordMissingInspector);
    std::vector<RecordingListener::Call> calls = (Settle(), Listener->Take());
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].Type, "EncryptionPasswordMissing");
    const Por::ConstUnit meta(calls[0].Meta);
    EXPECT_EQ(meta["MachineID"].As<Common::Guid>(), MachineId);
    EXPECT_EQ(meta["Error"].As<Common::Error>().GetCode(), Alerts::ErrorCodes::EncryptionPasswordMissing);
    EXPECT_EQ(meta["Error"].As<Common::Error>().GetMessage(),
              u"The device doesn't have an encryption password specified");

    Advance(299);
    EXPECT_TRUE(Calls().empty());
    Advance(1);
    EXPECT_EQ(Calls(), std::vector<std::string>{Active});
    Advance(3599);
    EXPECT_TRUE(Calls().empty());
    Advance(1);
    EXPECT_EQ(Calls(), std::vector<std::string>{Active});

    // The password set later clears the alert at the next round, and the checks stop.
    SetPassword(u"secret");
    Advance(3600);
    EXPECT_EQ(Calls(), std::vector<std::string>{Inactive});
    const std::size_t reads = Parts.GetProfileVault().GetReadCount();
    Advance(4 * 3600);
    EXPECT_TRUE(Calls().empty());
    EXPECT_EQ(Parts.GetProfileVault().GetReadCount(), reads);
}

TEST_F(EncryptionPasswordTest, TheSettingTurnedOffOrRemovedEndsTheAlertAndTheChecks)
{
    Por::Unit settingsUnit = Por::Unit::Composite();
    settingsUnit[".EncryptionPasswordMissing.CheckPeriod"] = std::uint32_t{600};
    Write(TenantSettings(true));
    Begin(&Alerts::Detail::CreateEncryptionPasswordMissingInspector, settingsUnit);
    EXPECT_EQ(Calls(), std::vector<std::string>{Active});

    // Another tenant setting changing checks nothing.
    const std::size_t reads = Parts.GetProfileVault().GetReadCount();
    Por::Unit other = TenantSettings(true);
    other["Language"] = u"en";
    Write(other);
    EXPECT_TRUE(Calls().empty());
    EXPECT_EQ(Parts.GetProfileVault().GetReadCount(), reads);

    Write(TenantSettings(false));
    EXPECT_EQ(Calls(), std::vector<std::string>{Inactive});
    Advance(3600);
    EXPECT_TRUE(Calls().empty());

    // On again with a check period of 600 s: 300 s, then 600 s (1500 s capped) between checks.
    Write(TenantSettings(true));
    EXPECT_EQ(Calls(), std::vector<std::string>{Active});
    Advance(300);
    EXPECT_EQ(Calls(), std::vector<std::string>{Active});
    Advance(600);
    EXPECT_EQ(Calls(), std::vector<std::string>{Active});

    Erase(TenantSettings(true));
    EXPECT_EQ(Calls(), std::vector<std::string>{Inactive});
    Advance(3600);
    EXPECT_TRUE(Calls().empty());
}

} // namespace
