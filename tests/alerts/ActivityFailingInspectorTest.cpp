// The activity failing inspector end to end: stories of activities started, changed and finished in the
// memory store, of the first start over item protections and of restarts over the same store, and the
// alerts that follow. The calls are read up to a probe: a started activity of its own plan whose clearing
// call, coming after everything written before it, tells that the feed has caught up.
#include "AlertTesting.h"
#include "RecordingListener.h"
#include "alerts/AlertErrors.h"
#include "alerts/AlertGuids.h"
#include "alerts/AlertIdentity.h"
#include "alerts/contract/Inspector.h"
#include "alerts/inspectors/InspectorFactories.h"
#include "alerts/inspectors/LastDmlTimeStamp.h"
#include "components/Components.h"
#include "dml/KeyPattern.h"
#include "por/ConstUnit.h"
#include "por/UpdateBuilder.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace
{

namespace Codes = Alerts::ErrorCodes;
using AlertTesting::Id;
using Lines = std::vector<std::string>;
using Testing::RecordingListener;
using Call = RecordingListener::Call;

const Common::Guid Machine = Id(0x3C);
const Common::Guid Instance = Id(0x1A);
const Common::Guid Verify = Id(0xC0); // a command that is no backup
const Common::Guid ProbeCommand = Id(0xC1);
constexpr std::uint32_t Running = 1;
constexpr std::uint32_t Finished = 5;

Common::Error Failure(std::uint32_t code)
{
    return Common::Error(COMMON_LOCATION("Test"), code, u"failure");
}

// The id of the alerts of a backup of `plan`, and of a command that is no backup.
Common::Guid BackupAlert(const Common::Guid& plan)
{
    return Alerts::XorGuids(Instance, plan);
}
Common::Guid CommandAlert(const Common::Guid& plan, const Common::Guid& command)
{
    return Alerts::XorGuids(BackupAlert(plan), command);
}

using Testing::Active;
std::string Inactive(const Common::Guid& id)
{
    return Testing::Inactive("", id);
}

// A started activity of `command` on the instance under `plan`.
Por::Unit MakeRun(const Common::Guid& id, const Common::Guid& command, const Common::Guid& plan)
{
    Por::Unit activity = AlertTesting::MakeActivity(id);
    activity[".Details.CommandID"] = command;
    activity[".Environment.InstanceID"] = Instance;
    activity[".Environment.ProtectionPlanID"] = plan;
    activity["State"] = Running;
    activity[".Period.StartTime"] = std::int64_t{10};
    return activity;
}

Por::Unit Issues(std::initializer_list<Common::Error> errors)
{
    Por::Unit issues = Por::Unit::Array();
    for (const Common::Error& error : errors)
    {
        Por::Unit issue = Por::Unit::Composite();
        issue["Error"] = error;
        issues.PushBack(issue.Get());
    }
    return issues;
}

class ActivityFailingTest : public ::testing::Test
{
protected:
    ~ActivityFailingTest() override
    {
        if (Inspector != nullptr)
        {
            Shutdown();
        }
    }

    void Launch()
    {
        Runtime::ServiceHolder holder = Parts.MakeServiceHolder();
        Inspector = Alerts::Detail::CreateActivityFailingInspector(holder);
        Inspector->Initialize(Listener, Por::Unit::Composite().Get());
        Inspector->Start();
    }
    void Shutdown()
    {
        Inspector->Stop();
        Inspector->Deinitialize();
        Inspector.reset();
    }
    // The next inspector, over the same store, tells a new listener.
    void Restart()
    {
        if (Inspector != nullptr)
        {
            Shutdown();
        }
        Listener = std::make_shared<Testing::RecordingListener>();
        Launch();
    }

    void Write(const Por::Unit& object) { Client.Create(CORE_ENTRY_POINT(), object.Get()); }
    // The activity's update to finished, with its result, finish time and warnings.
    void Finish(const Common::Guid& id, const Common::Error& result, std::int64_t finishTime = 20,
                const Por::Unit& warnings = Por::Unit::Array())
    {
        Por::UpdateBuilder patch;
        patch.Add(u".State", Por::Unit(Finished).Get())
            .Add(u".CompletionResult", Por::Unit(result).Get())
            .Add(u".Warnings", warnings.Get())
            .Add(u".Period.FinishTime", Por::Unit(finishTime).Get());
        Client.Update(CORE_ENTRY_POINT(), *Dml::MakeKeyPatternFromValue(id), *patch.Result());
    }
    void Set(const Common::Guid& id, const char16_t* path, const Por::Unit& value)
    {
        Client.Update(CORE_ENTRY_POINT(), *Dml::MakeKeyPatternFromValue(id),
                      *Por::UpdateBuilder().Add(path, value.Get()).Result());
    }

    // The calls that came before a new probe, with their meta; the probe is written, waited for and
    // deleted, so it is not in any later report.
    std::vector<Call> Settle()
    {
        const Common::Guid probe = Id(0xF000 + ++Probes);
        Write(MakeRun(probe, ProbeCommand, probe));
        std::vector<Call> calls;
        for (;;)
        {
            if (!Listener->WaitFor(1))
            {
                ADD_FAILURE() << "the probe's call did not come";
                break;
            }
            for (Call& call : Listener->Take())
            {
                calls.push_back(std::move(call));
            }
            if (!calls.back().Active && calls.back().Id == CommandAlert(probe, ProbeCommand))
            {
                calls.pop_back();
                break;
            }
        }
        Client.Delete(CORE_ENTRY_POINT(), *Dml::MakeKeyPatternFromValue(probe));
        return calls;
    }
    Lines SettleLines() { return RecordingListener::Lines(Settle()); }

    std::optional<std::int64_t> Mark() { return Alerts::Detail::ReadLastDmlTimeStamp(Client); }
    std::int64_t StampOf(const Common::Guid& id)
    {
        const Por::UnitPtr object = Client.FindById(CORE_ENTRY_POINT(), *Dml::MakeKeyPatternFromValue(id));
        return Por::ConstUnit(object)["DmlTimeStamp"].As<std::int64_t>();
    }

    Host::Components Parts{Machine};
    Dml::SynchronousDataStore Client{Dml::ServiceHolder(&Parts.GetStore(), &Parts.GetStore())};
    std::shared_ptr<Testing::RecordingListener> Listener = std::make_shared<Testing::RecordingListener>();
    std::unique_ptr<Alerts::Inspector> Inspector;
    AlertTesting::LogCapture Log;
    std::uint32_t Probes = 0;
};

const Common::Guid PlanA = Id(0xA0);
const Common::Guid PlanB = Id(0xB0);

// A canceled backup stays until a backup of the plan starts, under either backup command; nothing else
// clears: neither an update that is no finish nor an activity created finished.
TEST_F(ActivityFailingTest, OnlyAStartedBackupOfThePlanClearsItsAlert)
{
    Launch();
    Write(MakeRun(Id(1), Alerts::BackupCommandID, PlanA));
    Write(MakeRun(Id(2), Alerts::BackupCommandID, PlanA));
    Finish(Id(1), Failure(Codes::BackupCanceled));
    // The window's code counts anywhere in the chain, and before the plain cancel.
    Write(MakeRun(Id(3), Alerts::BackupCommandID, PlanB));
    Finish(Id(3), Failure(0x00AB0001).SetSubError(Failure(Codes::BackupCanceledDueClosedBackupWindow)));
    EXPECT_EQ(SettleLines(),
              (Lines{Inactive(BackupAlert(PlanA)), Inactive(BackupAlert(PlanA)),
                     Active("BackupCanceled", BackupAlert(PlanA)), Inactive(BackupAlert(PlanB)),
                     Active("BackupCanceledDueClosedBackupWindow", BackupAlert(PlanB))}));

    Set(Id(2), u".State", Por::Unit(std::uint32_t{2})); // a running activity moves on
    Set(Id(1), u".Name", Por::Unit(u"renamed"));        // a finished one changes again
    Por::Unit done = MakeRun(Id(4), Alerts::BackupCommandID, PlanA);
    done["State"] = Finished;
    Write(done);
    EXPECT_EQ(SettleLines(), Lines{});

    Write(MakeRun(Id(5), Alerts::BackupPlanCommandID, PlanA));
    EXPECT_EQ(SettleLines(), Lines{Inactive(BackupAlert(PlanA))});
}

// A failing business child under a running backup: its own alert and, unless its command does not
// escalate, the backup's alert with the same meta. The backup's own failure then raises nothing more.
TEST_F(ActivityFailingTest, AFailedChildAlertsForItselfAndEscalatesToItsBackupOnce)
{
    Write(AlertTesting::MakeInstance(Instance, 1));
    Launch();
    struct Case
    {
        Common::Guid Command;
        Common::Guid Plan;
        bool Escalates;
    };
    std::uint32_t next = 10;
    for (const Case& test : {Case{Verify, PlanA, true}, Case{Alerts::NonEscalatingCommandID, PlanB, false}})
    {
        const Common::Guid parent = Id(++next);
        const Common::Guid child = Id(++next);
        Write(MakeRun(parent, Alerts::BackupCommandID, test.Plan));
        Por::Unit run = MakeRun(child, test.Command, test.Plan);
        run[".Details.Specific"] = u"Business";
        run[".Environment.ParentProtectActivityID"] = parent;
        run[".Environment.ProtectionPlanName"] = u"Nightly";
        run["Name"] = u"Verify archive";
        Write(run);
        EXPECT_EQ(SettleLines(),
                  (Lines{Inactive(BackupAlert(test.Plan)), Inactive(CommandAlert(test.Plan, test.Command))}));

        Finish(child, Failure(0x00AB0007), 30);
        Finish(parent, Failure(0x00AB0008), 40);
        const std::vector<Call> calls = Settle();
        Lines expected{Active("ActivityFailed", CommandAlert(test.Plan, test.Command))};
        if (test.Escalates)
        {
            expected.push_back(Active("BackupFailed", BackupAlert(test.Plan)));
        }
        ASSERT_EQ(RecordingListener::Lines(calls), expected);
        for (const Call& call : calls)
        {
            EXPECT_EQ(call.Field("Error").As<Common::Error>().GetCode(), 0x00AB0007u);
            EXPECT_EQ(call.Field("ActivityName").As<Por::String>(), u"Verify archive");
            EXPECT_EQ(call.Field("MachineName").As<Por::String>(), u"machine-1");
            // The plan can't be read: the activity's own plan fields stand in.
            EXPECT_EQ(call.Field("PlanID").As<Common::Guid>(), test.Plan);
            EXPECT_EQ(call.Field("PlanName").As<Por::String>(), u"Nightly");
            EXPECT_EQ(call.Field("ActivityID").As<Common::Guid>(), child);
            EXPECT_EQ(call.Field("FinishTime").As<std::int64_t>(), 30);
        }
    }
}

// "WarningsCount" belongs to a backup alone; a canceled command that is no backup is a warning whose
// "Warning" is the cancel itself; an activity's name is kept unless it is the placeholder.
TEST_F(ActivityFailingTest, WarningsAndCancelsOfBackupsAndOtherCommands)
{
    const Common::Error first = Failure(0x00AB0011);
    const Common::Error second = Failure(0x00AB0012);
    const Common::Error cancel = Failure(Codes::BackupCanceled);
    struct Case
    {
        Common::Guid Command;
        const char16_t* Name;
        Common::Error Result;
        bool WithWarnings;
        const char* Type;
        std::uint32_t Warning;
        std::optional<std::uint32_t> Count;
    };
    const Case cases[] = {
        {Alerts::BackupPlanCommandID, u"Backup", {}, true, "BackupFinishedWithWarnings", 0x00AB0011, 2},
        {Verify, u"Validate", {}, true, "ActivityFinishedWithWarnings", 0x00AB0011, std::nullopt},
        {Verify, u"<unnamed-activity>", cancel, false, "ActivityFinishedWithWarnings", Codes::BackupCanceled,
         std::nullopt},
    };
    Launch();
    std::uint32_t number = 0;
    for (const Case& test : cases)
    {
        SCOPED_TRACE(test.Type);
        const Common::Guid plan = Id(0xD0 + ++number);
        Por::Unit run = MakeRun(Id(number), test.Command, plan);
        run["Name"] = test.Name;
        Write(run);
        Finish(Id(number), test.Result, 20, test.WithWarnings ? Issues({first, second}) : Por::Unit::Array());
        const std::vector<Call> calls = Settle();
        const Common::Guid id = test.Command == Verify ? CommandAlert(plan, Verify) : BackupAlert(plan);
        ASSERT_EQ(RecordingListener::Lines(calls), (Lines{Inactive(id), Active(test.Type, id)}));
        const Call& alert = calls.back();
        EXPECT_EQ(alert.Field("Warning").As<Common::Error>().GetCode(), test.Warning);
        EXPECT_FALSE(alert.Field("Error").Exists());
        EXPECT_EQ(alert.Field("WarningsCount").Exists(), test.Count.has_value());
        if (test.Count)
        {
            EXPECT_EQ(alert.Field("WarningsCount").As<std::uint32_t>(), *test.Count);
        }
        const bool named =
            test.Command == Verify && test.Name != Common::WideStringView(u"<unnamed-activity>");
        EXPECT_EQ(alert.Field("ActivityName").Exists(), named);
    }
}

Por::Unit MakeItemProtection(std::uint32_t number, const Common::Guid& plan, const Common::Error& result,
                             const Por::Unit& warnings = Por::Unit::Array())
{
    Por::Unit item = AlertTesting::MakeObject(u"Gtob::Dto::ItemProtection", Id(0x1700 + number));
    item[".Local.PlanID"] = plan;
    item["InstanceID"] = Instance;
    item[".LastFinishInfo.CompletionResult"] = result;
    item[".LastFinishInfo.Warnings"] = warnings.Get();
    return item;
}

TEST_F(ActivityFailingTest, TheFirstStartRaisesTheItemProtectionsLastFinishesUnderThePlanIdAndNoHistory)
{
    const Common::Guid failed = Id(0x51);
    const Common::Guid canceled = Id(0x52);
    const Common::Guid warned = Id(0x53);
    Write(MakeItemProtection(1, failed, Failure(0x00AB0021)));
    Write(MakeItemProtection(2, canceled, Failure(Codes::BackupCanceled)));
    Write(MakeItemProtection(3, warned, {}, Issues({Failure(0x00AB0022), Failure(0x00AB0023)})));
    Write(MakeItemProtection(4, Id(0x54), {}));
    Write(AlertTesting::MakePlan(failed, failed));
    // History before the first start is not reported.
    Por::Unit history = MakeRun(Id(1), Alerts::BackupCommandID, Id(0x55));
    history["State"] = Finished;
    history["CompletionResult"] = Failure(0x00AB0024);
    Write(history);

    Launch();
    const std::vector<Call> calls = Settle();
    ASSERT_EQ(RecordingListener::Lines(calls),
              (Lines{Active("BackupFailed", failed), Active("BackupCanceled", canceled),
                     Active("BackupFinishedWithWarnings", warned)}));
    EXPECT_EQ(calls[0].Field("Error").As<Common::Error>().GetCode(), 0x00AB0021u);
    EXPECT_EQ(calls[0].Field("PlanName").As<Por::String>(), u"Daily");
    EXPECT_EQ(calls[0].Field("InstanceID").As<Common::Guid>(), Instance);
    EXPECT_EQ(calls[2].Field("WarningsCount").As<std::uint32_t>(), 2u);
    EXPECT_EQ(calls[2].Field("Warning").As<Common::Error>().GetCode(), 0x00AB0022u);
    EXPECT_FALSE(Mark().has_value());

    // The next run of the plan clears under instance ^ plan, which is not the first start's id.
    Write(MakeRun(Id(2), Alerts::BackupCommandID, failed));
    EXPECT_EQ(SettleLines(), Lines{Inactive(BackupAlert(failed))});
    EXPECT_NE(BackupAlert(failed), failed);
}

// Before the restart a child alerts for itself and its backup. While the inspector is down the backup
// fails and two more backups finish, written in the reverse of their finish order. After the restart they
// come oldest finish first, the backup alerts again (the walker's memory starts empty), and nothing that
// was handled before the mark comes again.
TEST_F(ActivityFailingTest, ARestartReplaysWhatFinishedAfterTheMarkOldestFirst)
{
    const Common::Guid backupPlan = Id(0xA0);
    Launch();
    Write(MakeRun(Id(1), Alerts::BackupCommandID, backupPlan));
    Por::Unit child = MakeRun(Id(2), Verify, backupPlan);
    child[".Details.Specific"] = u"Business";
    child[".Environment.ParentProtectActivityID"] = Id(1);
    Write(child);
    Finish(Id(2), Failure(0x00AB0031), 100);
    EXPECT_EQ(SettleLines(),
              (Lines{Inactive(BackupAlert(backupPlan)), Inactive(CommandAlert(backupPlan, Verify)),
                     Active("ActivityFailed", CommandAlert(backupPlan, Verify)),
                     Active("BackupFailed", BackupAlert(backupPlan))}));
    EXPECT_EQ(Mark(), StampOf(Id(2)));
    Shutdown();

    Finish(Id(1), Failure(0x00AB0032), 400);
    for (const auto& [number, finishTime] : {std::pair{3u, 300}, std::pair{4u, 200}})
    {
        Por::Unit run = MakeRun(Id(number), Alerts::BackupCommandID, Id(0xB0 + number));
        run["State"] = Finished;
        run["CompletionResult"] = Failure(0x00AB0033);
        run[".Period.FinishTime"] = std::int64_t{finishTime};
        Write(run);
    }
    Restart();
    EXPECT_EQ(SettleLines(), (Lines{Active("BackupFailed", BackupAlert(Id(0xB4))),
                                    Active("BackupFailed", BackupAlert(Id(0xB3))),
                                    Active("BackupFailed", BackupAlert(backupPlan))}));
    EXPECT_EQ(Mark(), StampOf(Id(1)));
}

TEST_F(ActivityFailingTest, AnAlertThatFailsKeepsTheMarkBeforeItsActivityWhichComesAgainAfterARestart)
{
    Launch();
    Write(MakeRun(Id(1), Alerts::BackupCommandID, Id(0xA1)));
    Write(MakeRun(Id(2), Alerts::BackupCommandID, Id(0xA2)));
    Finish(Id(1), Failure(0x00AB0041));
    EXPECT_EQ(SettleLines().size(), 3u);

    Listener->FailNext(1, Failure(0x00AB0042));
    Finish(Id(2), Failure(0x00AB0043));
    EXPECT_EQ(SettleLines(), Lines{Active("BackupFailed", BackupAlert(Id(0xA2)))});
    EXPECT_EQ(Mark(), StampOf(Id(1)));
    // Logged as the object's failure (the plan and instance reads that found nothing log theirs, too).
    std::size_t objectFailures = 0;
    for (const std::string& text : Log.Texts(4))
    {
        objectFailures += text.rfind("011A0010 Failed to handle DML object in Alerts inspector", 0) == 0;
    }
    EXPECT_EQ(objectFailures, 1u);

    Restart();
    EXPECT_EQ(SettleLines(), Lines{Active("BackupFailed", BackupAlert(Id(0xA2)))});
    EXPECT_EQ(Mark(), StampOf(Id(2)));
}

} // namespace
