// The activity not responding inspector end to end: activities written to the memory store, the host's
// components, the watchdogs on the virtual clock, alerts seen by a recording host listener.
#include "alerts/inspectors/ActivityNotRespondingInspector.h"

#include "TimingTesting.h"
#include "alerts/AlertGuids.h"
#include "alerts/AlertIdentity.h"
#include "alerts/inspectors/InspectorFactories.h"
#include "alerts/inspectors/ProgressReader.h"
#include "alerts/utils/ActivityProgressAlertListener.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using AlertTesting::Id;
using Lines = std::vector<std::string>;
using Testing::RecordingListener;
using TimingTesting::MakeRunning;

const Common::Guid Process = Id(0x50);
const Common::Guid OtherCommand = Id(0xC0);

std::string Cleared(const char* type, const Common::Guid& process)
{
    return Testing::Inactive(type, Alerts::XorGuids(process, Alerts::ProgressAlertKey));
}

// The watchdog's clear-then-raise of one firing.
Lines Fired(const char* type, const Common::Guid& process)
{
    return {Cleared(type, process),
            Testing::Active(type, Alerts::XorGuids(process, Alerts::ProgressAlertKey))};
}

class NotRespondingTest : public TimingTesting::InspectorTest
{
protected:
    void Begin(const Por::Unit& settings = Por::Unit::Composite())
    {
        InspectorTest::Begin(&Alerts::Detail::CreateActivityNotRespondingInspector, settings);
    }
    static Por::Unit Durations(std::int32_t activity, std::int32_t backup, std::int32_t queued)
    {
        Por::Unit settings = Por::Unit::Composite();
        settings[".ActivityNotResponding.Duration"] = activity;
        settings[".BackupNotResponding.Duration"] = backup;
        settings[".BackupQueued.Duration"] = queued;
        return settings;
    }
    static Por::Unit Queued(const Common::Guid& id, const Common::Guid& instance, const Common::Guid& process)
    {
        Por::Unit activity = AlertTesting::MakeActivity(id);
        activity["State"] = std::uint32_t{0};
        activity[".Details.CommandID"] = Alerts::QueuedBackupCommandID;
        activity[".Environment.InstanceID"] = instance;
        activity[".Origin.ParentProcess"] = process;
        return activity;
    }
    const Alerts::Detail::ProgressReader& Progress()
    {
        return *static_cast<Alerts::ActivityNotRespondingInspector&>(*Inspector).GetProgressReader();
    }
    std::uint32_t StoredAlerts(const char16_t* type)
    {
        Por::Unit pattern = Por::Unit::Composite();
        pattern.AddTrait("Is", Por::Unit(u"Alerts::Object").Get());
        pattern["Type"] = type;
        return Client.Count(CORE_ENTRY_POINT(), {pattern.Result(), nullptr});
    }
};

// Each sign of life clears the process's alert of the type before the watchdog is re-armed.
TEST_F(NotRespondingTest, EveryActivityUnderThePlansProcessIsBackupWorkAlertedTheDurationAfterItsLastUpdate)
{
    Begin(Durations(120, 60, 5));
    Write.Create(MakeRunning(Id(1), Alerts::BackupPlanCommandID, Process));
    Write.Create(MakeRunning(Id(2), OtherCommand, Process));
    Write.Create(MakeRunning(Id(3), OtherCommand, Id(0x51)));
    EXPECT_TRUE(Progress().IsPlanProcess(Process));
    Time.Seconds(30);
    Write.Set(Id(1), u".Progress.Timestamp", std::int64_t{30});
    EXPECT_EQ(Host->TakeLines(), Lines{Cleared("BackupNotResponding", Process)});
    Time.Seconds(59);
    EXPECT_TRUE(Host->Take().empty());
    Time.Seconds(1);
    std::vector<RecordingListener::Call> calls = Host->Take();
    ASSERT_EQ(RecordingListener::Lines(calls), Fired("BackupNotResponding", Process));
    const Por::ConstUnit meta(calls[1].Meta);
    EXPECT_EQ(meta["MachineID"].As<Common::Guid>(), MachineId);
    EXPECT_EQ(meta["ParentProcess"].As<Common::Guid>(), Process);
    EXPECT_EQ(meta["ActivityID"].As<Common::Guid>(), Id(1));
    EXPECT_EQ(meta["StartTime"].As<std::int64_t>(), 1000);
    EXPECT_FALSE(meta["ActivityName"].Exists()); // only "ActivityNotResponding" names the activity
    Time.Seconds(30);
    calls = Host->Take();
    ASSERT_EQ(RecordingListener::Lines(calls), Fired("ActivityNotResponding", Id(0x51)));
    EXPECT_EQ(calls[1].Field("ActivityName").As<Common::WideString>(), u"Backing up");
    // The plan's run ends: its process is no longer backup work.
    Write.Set(Id(1), u".State", std::uint32_t{5});
    EXPECT_FALSE(Progress().IsPlanProcess(Process));
}

TEST_F(NotRespondingTest, TwoActivitiesOfOneProcessShareOneTimerThatTheFirstLeavingClears)
{
    Begin(Durations(100, 60, 5));
    Write.Create(MakeRunning(Id(1), OtherCommand, Process));
    Time.Seconds(50);
    // The second one's sign of life replaces the first one's timer: due at 150 now.
    Write.Create(MakeRunning(Id(2), OtherCommand, Process));
    Time.Seconds(50);
    EXPECT_TRUE(Host->Take().empty());
    Time.Seconds(20);
    Write.Set(Id(1), u".Progress.Timestamp", std::int64_t{120}); // due at 220
    EXPECT_EQ(Host->TakeLines(), Lines{Cleared("ActivityNotResponding", Process)});
    Time.Seconds(40);
    Write.Set(Id(1), u".State", std::uint32_t{5});
    EXPECT_EQ(Host->TakeLines(), Lines{Cleared("ActivityNotResponding", Process)});
    // The second activity still runs, but its process's timer went with the first.
    Time.Seconds(1000);
    EXPECT_TRUE(Host->Take().empty());
    EXPECT_EQ(Progress().GetTrackedCount(), 1u);
}

TEST_F(NotRespondingTest, AnActivityWhoseTypeChangesClearsTheOldTypesTimerFirst)
{
    Begin(Durations(100, 60, 5));
    Write.Create(MakeRunning(Id(2), OtherCommand, Process));
    Time.Seconds(10);
    // The plan's run shows up later: from its next update on, the first activity is backup work.
    Write.Create(MakeRunning(Id(1), Alerts::BackupPlanCommandID, Process));
    Write.Set(Id(2), u".Progress.Timestamp", std::int64_t{10});
    EXPECT_EQ(Host->TakeLines(), Lines{Cleared("ActivityNotResponding", Process)});
    Time.Seconds(60);
    EXPECT_EQ(Host->TakeLines(), Fired("BackupNotResponding", Process));
    Time.Seconds(200);
    EXPECT_TRUE(Host->Take().empty());
}

TEST_F(NotRespondingTest, AnUnknownActivityLeavingIsLoggedAndClearsNothing)
{
    Alerts::Detail::ActivityProgressAlertListener watchdog(Client, MachineId);
    watchdog.SetNextListener(Host);
    Alerts::Detail::ProgressReader reader(watchdog, MachineId, Client,
                                          "Inspector of activity not responding.");
    reader.OnDeleted(MakeRunning(Id(9), OtherCommand, Process).Get());
    EXPECT_TRUE(Host->Take().empty());
    EXPECT_EQ(Log.Texts(4),
              Lines{"Activity with id " + Common::GuidToString(Id(9)) + " was not found in ProgressReader"});
}

TEST_F(NotRespondingTest, ChangeSettingsSetsTheRunningDurationsAndLeavesTheQueuedOne)
{
    Begin(AlertTesting::With(".ActivityNotResponding.Duration", std::int32_t{100}));
    const Por::Unit ten = AlertTesting::With("Duration", std::int32_t{10});
    Inspector->ChangeSettings("ActivityNotResponding", ten.Get(), u"");
    Inspector->ChangeSettings("BackupNotResponding", ten.Get(), u"");
    EXPECT_EQ(Progress().GetTimeout("ActivityNotResponding"), 10u);
    EXPECT_EQ(Progress().GetTimeout("BackupNotResponding"), 10u);
    Write.Create(MakeRunning(Id(1), OtherCommand, Process));
    Time.Seconds(10);
    EXPECT_EQ(Host->TakeLines(), Fired("ActivityNotResponding", Process));

    // An empty object: the value of the settings given at Initialize, or the default without one.
    Inspector->ChangeSettings("ActivityNotResponding", Por::Unit::Composite().Get(), u"");
    Inspector->ChangeSettings("BackupNotResponding", Por::Unit::Composite().Get(), u"");
    EXPECT_EQ(Progress().GetTimeout("ActivityNotResponding"), 100u);
    EXPECT_EQ(Progress().GetTimeout("BackupNotResponding"), 3600u);

    // The queue's duration is fixed at Initialize: still 5 seconds.
    Inspector->ChangeSettings("BackupQueued", AlertTesting::With("Duration", std::int32_t{1}).Get(), u"");
    EXPECT_EQ(Progress().GetTimeout("ActivityNotResponding"), 100u);
    EXPECT_EQ(Progress().GetTimeout("BackupNotResponding"), 3600u);
    Write.Create(AlertTesting::MakeInstance(Id(0x1A), 1));
    Write.Create(Queued(Id(2), Id(0x1A), Id(0x52)));
    Host->Take();
    Time.Seconds(4);
    EXPECT_TRUE(Host->Take().empty());
    Time.Seconds(1);
    EXPECT_EQ(Host->TakeLines(), Fired("BackupQueued", Id(0x52)));
}

// Queued on an instance of an ignored type, or on one that does not exist, arms nothing.
TEST_F(NotRespondingTest, AQueuedBackupAlertsAfterFiveSecondsUnlessItsInstanceIsIgnoredOrMissing)
{
    Write.Create(AlertTesting::MakeInstance(Id(0x1A), 1));
    Write.Create(AlertTesting::MakeInstance(Id(0x1C), 20));
    Begin();
    const std::int64_t queuedAt = Time.Now();
    Write.Create(Queued(Id(1), Id(0x1A), Process));
    Write.Create(Queued(Id(2), Id(0x1C), Id(0x51)));
    Write.Create(Queued(Id(3), Id(0x1B), Id(0x53)));
    // The process's first queued activity clears its queue alert.
    EXPECT_EQ(Host->TakeLines(), Lines{Cleared("BackupQueued", Process)});
    Time.Seconds(4);
    EXPECT_TRUE(Host->Take().empty());
    Time.Seconds(1);
    const std::vector<RecordingListener::Call> calls = Host->Take();
    ASSERT_EQ(calls.size(), 2u);
    const Por::ConstUnit meta(calls[1].Meta);
    EXPECT_EQ(meta["InstanceID"].As<Common::Guid>(), Id(0x1A));
    EXPECT_EQ(meta["MachineName"].As<Common::WideString>(), u"machine-1");
    EXPECT_EQ(meta["Time"].As<std::int64_t>(), queuedAt);
    EXPECT_FALSE(meta["ParentProcess"].Exists());
    // Leaving the queue clears it.
    Write.Set(Id(1), u".State", std::uint32_t{2});
    EXPECT_EQ(Host->TakeLines(), Lines{Cleared("BackupQueued", Process)});
}

TEST_F(NotRespondingTest, TwoQueuedActivitiesOfOneProcessKeepTheTimerWhenOneIsDeleted)
{
    Write.Create(AlertTesting::MakeInstance(Id(0x1A), 1));
    Begin();
    Write.Create(Queued(Id(1), Id(0x1A), Process));
    Time.Seconds(2);
    Write.Create(Queued(Id(2), Id(0x1A), Process));
    EXPECT_EQ(Host->TakeLines(), Lines{Cleared("BackupQueued", Process)});
    Time.Seconds(1);
    Write.Delete(Id(1));
    Time.Seconds(3);
    EXPECT_TRUE(Host->Take().empty());
    Time.Seconds(1);
    EXPECT_EQ(Host->TakeLines(), Fired("BackupQueued", Process));
    Write.Delete(Id(2));
    EXPECT_EQ(Host->TakeLines(), Lines{Cleared("BackupQueued", Process)});
}

TEST_F(NotRespondingTest, StopAndStartWipeTheStoredAlertsAndReportRunningActivitiesAfresh)
{
    std::uint32_t key = 0x100;
    const auto storeAlert = [&](const char16_t* type)
    {
        Por::Unit alert = AlertTesting::MakeObject(u"Alerts::Object", Id(++key));
        alert["Type"] = type;
        Write.Create(alert);
    };
    for (const char16_t* type :
         {u"ActivityNotResponding", u"BackupNotResponding", u"BackupQueued", u"BackupFailed"})
    {
        storeAlert(type);
    }
    Write.Create(MakeRunning(Id(1), Alerts::BackupPlanCommandID, Process));
    Begin(Durations(100, 60, 5));
    EXPECT_EQ(StoredAlerts(u"ActivityNotResponding") + StoredAlerts(u"BackupNotResponding") +
                  StoredAlerts(u"BackupQueued"),
              0u);
    EXPECT_EQ(StoredAlerts(u"BackupFailed"), 1u);
    Time.Seconds(60);
    EXPECT_EQ(Host->TakeLines(), Fired("BackupNotResponding", Process));

    Time.Seconds(30);
    Write.Set(Id(1), u".Progress.Timestamp", std::int64_t{90});
    Inspector->Stop();
    Host->Take();
    Time.Seconds(120);
    EXPECT_TRUE(Host->Take().empty());
    storeAlert(u"BackupNotResponding");
    Inspector->Start();
    Async::Detail::WaitUntilIdle();
    EXPECT_EQ(StoredAlerts(u"BackupNotResponding"), 0u);
    Time.Seconds(59);
    EXPECT_TRUE(Host->Take().empty());
    Time.Seconds(1);
    EXPECT_EQ(Host->TakeLines(), Fired("BackupNotResponding", Process));
}

// The second Start watches as usual, until the activity leaves the running states.
TEST_F(NotRespondingTest, AFailedWipeLeavesStartBeforeEitherFeed)
{
    Write.Create(MakeRunning(Id(1), OtherCommand, Process));
    Make(&Alerts::Detail::CreateActivityNotRespondingInspector, Durations(100, 60, 5));
    Parts.GetStore().FailNextWrite(Common::Error(COMMON_LOCATION("NotRespondingTest"), 0x00FC0001));
    EXPECT_THROW(Inspector->Start(), Common::Error);
    Time.Seconds(200);
    EXPECT_TRUE(Host->Take().empty());
    Inspector->Start();
    Async::Detail::WaitUntilIdle();
    Time.Seconds(100);
    EXPECT_EQ(Host->TakeLines(), Fired("ActivityNotResponding", Process));
    Write.Set(Id(1), u".State", std::uint32_t{5});
    EXPECT_EQ(Host->TakeLines(), Lines{Cleared("ActivityNotResponding", Process)});
    Time.Seconds(1000);
    EXPECT_TRUE(Host->Take().empty());
}

} // namespace
