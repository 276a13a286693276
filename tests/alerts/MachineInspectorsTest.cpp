// The two machine inspectors end to end: this machine's record and the tenant settings written to the
// memory store, the host's machine manager and profile vault, the timers on the virtual clock.
#include "TimingTesting.h"
#include "access/contract/CredentialScopes.h"
#include "access/contract/SystemProfileId.h"
#include "alerts/AlertGuids.h"
#include "alerts/AlertIdentity.h"
#include "alerts/inspectors/InspectorFactories.h"
#include "common/ThrownError.h"

#include <gtest/gtest.h>

namespace
{

using AlertTesting::Id;
using Lines = std::vector<std::string>;
using Testing::RecordingListener;

class MachineInspectorTest : public TimingTesting::InspectorTest
{
protected:
    // Waits until the feed has delivered what was written and the timers due now have run.
    void Settle()
    {
        for (int round = 0; round < 3; ++round)
        {
            Time.Clock.Settle();
            Async::Detail::WaitUntilIdle();
        }
    }
    Lines Calls()
    {
        Settle();
        return Host->TakeLines();
    }
    std::string Line(bool active, const char* type, const Common::Guid& seed) const
    {
        return Testing::Line(active, type, Alerts::XorGuids(seed, MachineId));
    }
};

Por::Unit MachineRecord()
{
    return AlertTesting::MakeObject(u"MachineManagement::ThisMachine", Id(1));
}

TEST_F(MachineInspectorTest, IncompleteMachineInfoFollowsTheRecordsOsError)
{
    const std::string active = Line(true, "IncompleteMachineInfo", Alerts::IncompleteMachineInfoAlertSeed);
    const std::string inactive = Line(false, "IncompleteMachineInfo", Alerts::IncompleteMachineInfoAlertSeed);
    Write.Put(AlertTesting::MakeInstance(Id(7), 1));

    // Created without "Info": the default is success, so the alert is told inactive.
    Write.Put(MachineRecord());
    Begin(&Alerts::Detail::CreateIncompleteMachineInfoInspector);
    EXPECT_EQ(Calls(), Lines{inactive});

    Por::Unit failed = MachineRecord();
    failed[".Info.OS.Error"] = Common::Error(COMMON_LOCATION("Test"), 0x80041001);
    Write.Put(failed);
    Settle();
    const std::vector<RecordingListener::Call> calls = Host->Take();
    ASSERT_EQ(RecordingListener::Lines(calls), Lines{active});
    const Por::ConstUnit meta(calls[0].Meta);
    EXPECT_EQ(meta["MachineID"].As<Common::Guid>(), MachineId);
    EXPECT_EQ(meta["InstanceID"].As<Common::Guid>(), Id(7));
    EXPECT_EQ(meta["MachineName"].As<Common::WideString>(), u"machine-1");
    EXPECT_EQ(meta["Error"].As<Common::Error>().GetCode(), 0x011A0041u);
    EXPECT_EQ(meta["Error"].As<Common::Error>().GetMessage(),
              u"Machine info is not complete. It could be caused by a failure of WMI service.");

    // The same state again is told again: the inspector keeps no memory of the alert.
    failed["Name"] = u"renamed";
    Write.Put(failed);
    EXPECT_EQ(Calls(), Lines{active});

    // An update without "Error" is swallowed without a log line and leaves the alert as it was.
    const std::size_t linesBefore = Log.Lines().size();
    Por::Unit withoutError = MachineRecord();
    withoutError[".Info.OS.Name"] = u"Linux";
    Write.Put(withoutError);
    EXPECT_TRUE(Calls().empty());
    EXPECT_EQ(Log.Lines().size(), linesBefore);

    Write.Delete(Id(1));
    EXPECT_EQ(Calls(), Lines{inactive});
}

TEST_F(MachineInspectorTest, MachineIdFailureSurfacesInInitializeAndSettingsChangeNothing)
{
    Parts.GetMachineManager().SetFailure(Common::Error(COMMON_LOCATION("Test"), 0x1234));
    Runtime::ServiceHolder holder = Parts.MakeServiceHolder();
    for (const Factory factory : {&Alerts::Detail::CreateIncompleteMachineInfoInspector,
                                  &Alerts::Detail::CreateEncryptionPasswordMissingInspector})
    {
        const std::unique_ptr<Alerts::Inspector> inspector = factory(holder);
        const auto initialize = [&] { inspector->Initialize(Host, Por::Unit::Composite().Get()); };
        EXPECT_EQ(Testing::ThrownError(initialize).GetCode(), 0x1234u);
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

    const std::string Active = Line(true, "EncryptionPasswordMissing", Alerts::EncryptionPasswordAlertSeed);
    const std::string Inactive =
        Line(false, "EncryptionPasswordMissing", Alerts::EncryptionPasswordAlertSeed);
};

// With the default period the checks come at 300 s and then every 3600 s: the policy's first delay is
// already 60 s times 5, and in each round the alert's restart inside the callback takes one delay and
// the cycle's own re-arm after the callback the next, which replaces it (1500 s, then 3600 s).
TEST_F(EncryptionPasswordTest, TheAlertRepeatsAtEachCheckUntilThePasswordIsSet)
{
    Write.Put(TenantSettings(true));
    Begin(&Alerts::Detail::CreateEncryptionPasswordMissingInspector);
    const std::vector<RecordingListener::Call> calls = (Settle(), Host->Take());
    ASSERT_EQ(RecordingListener::Lines(calls), Lines{Active});
    const Por::ConstUnit meta(calls[0].Meta);
    EXPECT_EQ(meta["MachineID"].As<Common::Guid>(), MachineId);
    EXPECT_EQ(meta["Error"].As<Common::Error>().GetCode(), 0x011A003Du);
    EXPECT_EQ(meta["Error"].As<Common::Error>().GetMessage(),
              u"The device doesn't have an encryption password specified");

    Time.Seconds(299);
    EXPECT_TRUE(Calls().empty());
    Time.Seconds(1);
    EXPECT_EQ(Calls(), Lines{Active});
    Time.Seconds(3599);
    EXPECT_TRUE(Calls().empty());
    Time.Seconds(1);
    EXPECT_EQ(Calls(), Lines{Active});

    // The password set later clears the alert at the next round, and the checks stop.
    SetPassword(u"secret");
    Time.Seconds(3600);
    EXPECT_EQ(Calls(), Lines{Inactive});
    const std::size_t reads = Parts.GetProfileVault().GetReadCount();
    Time.Seconds(4 * 3600);
    EXPECT_TRUE(Calls().empty());
    EXPECT_EQ(Parts.GetProfileVault().GetReadCount(), reads);
}

TEST_F(EncryptionPasswordTest, TheSettingTurnedOffOrRemovedEndsTheAlertAndTheChecks)
{
    Write.Put(TenantSettings(true));
    Begin(&Alerts::Detail::CreateEncryptionPasswordMissingInspector,
          AlertTesting::With(".EncryptionPasswordMissing.CheckPeriod", std::uint32_t{600}));
    EXPECT_EQ(Calls(), Lines{Active});

    // Another tenant setting changing checks nothing.
    const std::size_t reads = Parts.GetProfileVault().GetReadCount();
    Por::Unit other = TenantSettings(true);
    other["Language"] = u"en";
    Write.Put(other);
    EXPECT_TRUE(Calls().empty());
    EXPECT_EQ(Parts.GetProfileVault().GetReadCount(), reads);

    Write.Put(TenantSettings(false));
    EXPECT_EQ(Calls(), Lines{Inactive});
    Time.Seconds(3600);
    EXPECT_TRUE(Calls().empty());

    // On again with a check period of 600 s: 300 s, then 600 s (1500 s capped) between checks.
    Write.Put(TenantSettings(true));
    EXPECT_EQ(Calls(), Lines{Active});
    Time.Seconds(300);
    EXPECT_EQ(Calls(), Lines{Active});
    Time.Seconds(600);
    EXPECT_EQ(Calls(), Lines{Active});

    Write.Delete(Id(2));
    EXPECT_EQ(Calls(), Lines{Inactive});
    Time.Seconds(3600);
    EXPECT_TRUE(Calls().empty());
}

} // namespace
