// The fixture of the activity failing inspector's stories: the host's components over a memory store, the
// inspector made by its add-on's factory and restarted over the same store, activities started and
// finished by store writes, and the listener's calls read up to a probe: a started activity of its own
// plan whose clearing call, coming after everything written before it, tells that the feed has caught up.
#pragma once

#include "AlertTesting.h"
#include "RecordingListener.h"
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

namespace ActivityFailingTesting
{

using AlertTesting::Id;
using Lines = std::vector<std::string>;
using Call = Testing::RecordingListener::Call;

const Common::Guid Machine = Id(0x3C);
const Common::Guid Instance = Id(0x1A);
const Common::Guid Verify = Id(0xC0); // a command that is no backup
const Common::Guid ProbeCommand = Id(0xC1);
constexpr std::uint32_t Running = 1;
constexpr std::uint32_t Finished = 5;

inline Common::Error Failure(std::uint32_t code, Common::Error cause = {})
{
    Common::Error error(COMMON_LOCATION("Test"), code, u"failure");
    if (cause.GetCode() != 0)
    {
        error.SetSubError(cause);
    }
    return error;
}

// The id of the alerts of a backup of `plan`, and of a command that is no backup.
inline Common::Guid BackupAlert(const Common::Guid& plan)
{
    return Alerts::XorGuids(Instance, plan);
}
inline Common::Guid CommandAlert(const Common::Guid& plan, const Common::Guid& command)
{
    return Alerts::XorGuids(BackupAlert(plan), command);
}

inline std::string Active(const char* type, const Common::Guid& id)
{
    return std::string("active ") + type + " " + Common::GuidToString(id);
}
inline std::string Inactive(const Common::Guid& id)
{
    return "inactive * " + Common::GuidToString(id);
}

inline Lines ToLines(const std::vector<Call>& calls)
{
    Lines lines;
    for (const Call& call : calls)
    {
        lines.push_back(call.Active ? Active(call.Type.c_str(), call.Id) : Inactive(call.Id));
    }
    return lines;
}

// A started activity of `command` on the instance under `plan`.
inline Por::Unit MakeRun(const Common::Guid& id, const Common::Guid& command, const Common::Guid& plan)
{
    Por::Unit activity = AlertTesting::MakeActivity(id);
    activity[".Details.CommandID"] = command;
    activity[".Environment.InstanceID"] = Instance;
    activity[".Environment.ProtectionPlanID"] = plan;
    activity["State"] = Running;
    activity[".Period.StartTime"] = std::int64_t{10};
    return activity;
}

inline Por::Unit Issues(std::initializer_list<Common::Error> errors)
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
        Change(id, patch);
    }
    void Change(const Common::Guid& id, Por::UpdateBuilder& patch)
    {
        Client.Update(CORE_ENTRY_POINT(), *Dml::MakeKeyPatternFromValue(id), *patch.Result());
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
    Lines SettleLines() { return ToLines(Settle()); }

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

// A meta field, or nothing when the meta lacks it.
inline Por::ConstUnit MetaField(const Call& call, const char* key)
{
    return Por::ConstUnit(call.Meta)[key];
}

} // namespace ActivityFailingTesting
