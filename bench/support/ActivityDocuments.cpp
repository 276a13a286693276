#include "ActivityDocuments.h"

#include "por/UnitAccess.h"
#include "por/UnitFactory.h"

namespace Bench
{
namespace
{

using namespace Por;
using Json = nlohmann::json;

const Construction::UnitFactory& Factory = GetUnitFactory();

Common::Guid MakeGuid(std::uint32_t seed, std::uint16_t kind)
{
    return Common::Guid{seed * 2654435761u, kind, static_cast<std::uint16_t>(seed), {1, 2, 3, 4, 5, 6, 7, 8}};
}

String Wide(const std::string& text)
{
    return String(text.begin(), text.end());
}

} // namespace

std::vector<Activity> MakeActivities(std::size_t count)
{
    static const char* const Sorts[] = {"Business", "System", "Infrastructural"};
    std::vector<Activity> activities(count);
    for (std::size_t i = 0; i < count; ++i)
    {
        Activity& a = activities[i];
        const auto seed = static_cast<std::uint32_t>(i);
        a.Id = MakeGuid(seed, 1);
        a.ProfileId = MakeGuid(seed, 2);
        a.ParentProcess = MakeGuid(seed, 3);
        a.ParentActivity = MakeGuid(seed, 4);
        a.InstanceId = MakeGuid(seed % 50, 5);
        a.PlanId = MakeGuid(seed % 200, 6);
        a.CommandId = MakeGuid(seed, 7);
        a.IdText = Common::GuidToString(a.Id);
        a.ProfileIdText = Common::GuidToString(a.ProfileId);
        a.ParentProcessText = Common::GuidToString(a.ParentProcess);
        a.ParentActivityText = Common::GuidToString(a.ParentActivity);
        a.InstanceIdText = Common::GuidToString(a.InstanceId);
        a.PlanIdText = Common::GuidToString(a.PlanId);
        a.CommandIdText = Common::GuidToString(a.CommandId);
        a.UserName = "user" + std::to_string(seed % 10);
        a.Uid = "S-1-5-21-" + std::to_string(1000 + seed % 10);
        a.Name = "Backup plan " + std::to_string(seed % 200);
        a.Description = seed % 3 == 0 ? "" : "Scheduled run";
        a.Message = "Processing " + std::to_string(seed % 1000) + " files";
        a.InstanceName = "machine-" + std::to_string(seed % 50);
        a.Specific = Sorts[seed % 3];
        a.MessageId = "TOL_ACTIVITY_" + std::to_string(seed % 7);
        a.MachineName = a.InstanceName;
        a.Tag1 = "daily";
        a.Tag2 = "tag" + std::to_string(seed % 13);
        a.WideUserName = Wide(a.UserName);
        a.WideUid = Wide(a.Uid);
        a.WideName = Wide(a.Name);
        a.WideDescription = Wide(a.Description);
        a.WideMessage = Wide(a.Message);
        a.WideInstanceName = Wide(a.InstanceName);
        a.WideSpecific = Wide(a.Specific);
        a.WideMessageId = Wide(a.MessageId);
        a.WideMachineName = Wide(a.MachineName);
        a.WideTag1 = Wide(a.Tag1);
        a.WideTag2 = Wide(a.Tag2);
        a.Status = seed % 4;
        a.State = seed % 6;
        a.Total = 1000;
        a.Current = seed % 1000;
        a.PlanType = seed % 3;
        a.ProcessId = 4000 + seed % 100;
        a.Code = seed % 5 == 0 ? 0x80004005u : 0u;
        a.Created = 133000000000000000ull + i * 10000000ull;
        a.Started = a.Created + 5000000;
        a.Finished = a.Started + 600000000;
        a.DmlTimeStamp = i + 1;
        a.SourceMs = seed % 5000;
        a.EncodingMs = seed % 3000;
        a.DestinationMs = seed % 7000;
        a.Timestamp = static_cast<std::int64_t>(a.Finished);
        a.IssueTime = static_cast<std::int64_t>(a.Started);
        a.SourcePercent = static_cast<std::uint16_t>(seed % 100);
        a.EncodingPercent = static_cast<std::uint16_t>(seed % 50);
        a.DestinationPercent = static_cast<std::uint16_t>(seed % 30);
    }
    return activities;
}

namespace
{

// Properties are set in name order, as a reader of a sorted stream delivers them.
class Composite
{
public:
    Composite() : Unit(Factory.CreateComposite()), Value(Util::GetComposite(*Unit)) {}
    Composite& Tag(const char* name, UnitPtr value)
    {
        Unit->GetTraits().Add(Factory.CreateTrait(name, std::move(value)));
        return *this;
    }
    template <typename T>
    Composite& Set(const char* name, const T& value)
    {
        return Set(name, Factory.Create(value));
    }
    Composite& Set(const char* name, UnitPtr value)
    {
        Value.Set(Factory.CreateProperty(name, std::move(value)));
        return *this;
    }
    Composite& Set(const char* name, Composite& value) { return Set(name, std::move(value.Unit)); }
    UnitPtr Done() { return std::move(Unit); }

private:
    UnitPtr Unit;
    Construction::CompositeValue& Value;
};

UnitPtr IsTag(const char16_t* name)
{
    return Factory.CreateString(name);
}

} // namespace

UnitPtr BuildActivity(const Activity& a)
{
    UnitPtr id = Factory.CreateGuid(a.Id);
    id->GetTraits().Add(Factory.CreateTrait("PrimaryKey", Factory.CreateNil()));
    UnitPtr tags = Factory.CreateArray();
    Util::GetArray(*tags).PushBack(Factory.CreateString(a.WideTag1));
    Util::GetArray(*tags).PushBack(Factory.CreateString(a.WideTag2));
    UnitPtr warnings = Factory.CreateArray();
    Util::GetArray(*warnings).PushBack(Composite()
                                           .Tag("Is", IsTag(u"Tol::History::Plain::Issue"))
                                           .Set("Code", a.Code)
                                           .Set("Time", a.IssueTime)
                                           .Done());

    Composite bottleneck;
    bottleneck.Set("DestinationMs", a.DestinationMs)
        .Set("DestinationPercent", a.DestinationPercent)
        .Set("EncodingMs", a.EncodingMs)
        .Set("EncodingPercent", a.EncodingPercent)
        .Set("SourceMs", a.SourceMs)
        .Set("SourcePercent", a.SourcePercent);
    Composite details;
    details.Tag("Is", IsTag(u"Tol::History::Plain::ActivityDetails"))
        .Set("CommandID", a.CommandId)
        .Set("IsProcessRoot", true)
        .Set("MachineName", a.WideMachineName)
        .Set("MessageID", a.WideMessageId)
        .Set("ProcessID", a.ProcessId)
        .Set("Specific", a.WideSpecific);
    Composite environment;
    environment.Tag("Is", IsTag(u"Tol::History::Plain::InstanceEnvironment"))
        .Set("InstanceID", a.InstanceId)
        .Set("InstanceName", a.WideInstanceName)
        .Set("PlanType", a.PlanType)
        .Set("ProtectionPlanID", a.PlanId);
    Composite origin;
    origin.Set("ParentActivity", a.ParentActivity).Set("ParentProcess", a.ParentProcess);
    Composite owner;
    owner.Set("HasAdminPrivileges", false)
        .Set("Name", a.WideUserName)
        .Set("ProfileID", a.ProfileId)
        .Set("UID", a.WideUid);
    Composite period;
    period.Set("CreationTime", a.Created).Set("FinishTime", a.Finished).Set("StartTime", a.Started);
    Composite progress;
    progress.Tag("Is", IsTag(u"Tol::History::Plain::CoreProgress"))
        .Set("Current", a.Current)
        .Set("Message", a.WideMessage)
        .Set("Timestamp", a.Timestamp)
        .Set("Total", a.Total);

    return Composite()
        .Tag("Is", IsTag(u"Tol::History::Plain::Activity"))
        .Tag("Is", IsTag(u"Tol::History::Plain::CumulativeActivity"))
        .Set("Bottleneck", bottleneck)
        .Set("Description", a.WideDescription)
        .Set("Details", details)
        .Set("DmlTimeStamp", a.DmlTimeStamp)
        .Set("Environment", environment)
        .Set("ID", std::move(id))
        .Set("Name", a.WideName)
        .Set("Origin", origin)
        .Set("Owner", owner)
        .Set("Period", period)
        .Set("Progress", progress)
        .Set("State", a.State)
        .Set("Status", a.Status)
        .Set("Tags", std::move(tags))
        .Set("Warnings", std::move(warnings))
        .Done();
}

// The same document; class tags become an "Is" member and the key mark is left out.
Json BuildJsonActivity(const Activity& a)
{
    Json record = Json::object();
    record["Is"] = Json::array({"Tol::History::Plain::Activity", "Tol::History::Plain::CumulativeActivity"});
    Json& bottleneck = record["Bottleneck"] = Json::object();
    bottleneck["DestinationMs"] = a.DestinationMs;
    bottleneck["DestinationPercent"] = a.DestinationPercent;
    bottleneck["EncodingMs"] = a.EncodingMs;
    bottleneck["EncodingPercent"] = a.EncodingPercent;
    bottleneck["SourceMs"] = a.SourceMs;
    bottleneck["SourcePercent"] = a.SourcePercent;
    record["Description"] = a.Description;
    Json& details = record["Details"] = Json::object();
    details["Is"] = "Tol::History::Plain::ActivityDetails";
    details["CommandID"] = a.CommandIdText;
    details["IsProcessRoot"] = true;
    details["MachineName"] = a.MachineName;
    details["MessageID"] = a.MessageId;
    details["ProcessID"] = a.ProcessId;
    details["Specific"] = a.Specific;
    record["DmlTimeStamp"] = a.DmlTimeStamp;
    Json& environment = record["Environment"] = Json::object();
    environment["Is"] = "Tol::History::Plain::InstanceEnvironment";
    environment["InstanceID"] = a.InstanceIdText;
    environment["InstanceName"] = a.InstanceName;
    environment["PlanType"] = a.PlanType;
    environment["ProtectionPlanID"] = a.PlanIdText;
    record["ID"] = a.IdText;
    record["Name"] = a.Name;
    Json& origin = record["Origin"] = Json::object();
    origin["ParentActivity"] = a.ParentActivityText;
    origin["ParentProcess"] = a.ParentProcessText;
    Json& owner = record["Owner"] = Json::object();
    owner["HasAdminPrivileges"] = false;
    owner["Name"] = a.UserName;
    owner["ProfileID"] = a.ProfileIdText;
    owner["UID"] = a.Uid;
    Json& period = record["Period"] = Json::object();
    period["CreationTime"] = a.Created;
    period["FinishTime"] = a.Finished;
    period["StartTime"] = a.Started;
    Json& progress = record["Progress"] = Json::object();
    progress["Is"] = "Tol::History::Plain::CoreProgress";
    progress["Current"] = a.Current;
    progress["Message"] = a.Message;
    progress["Timestamp"] = a.Timestamp;
    progress["Total"] = a.Total;
    record["State"] = a.State;
    record["Status"] = a.Status;
    record["Tags"] = Json::array({a.Tag1, a.Tag2});
    Json issue = Json::object();
    issue["Is"] = "Tol::History::Plain::Issue";
    issue["Code"] = a.Code;
    issue["Time"] = a.IssueTime;
    Json& warnings = record["Warnings"] = Json::array();
    warnings.push_back(std::move(issue));
    return record;
}

} // namespace Bench
