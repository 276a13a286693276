// The object model against nlohmann::json doing the same work, in one run: building a document of a
// million nodes shaped like activity records (time and peak heap per node), matching a subscription-like
// pattern against a hand-written predicate over the same units, and a property lookup in a 64-property
// composite. The last benchmark, Ratios, puts the pairs side by side.
#include "common/Guid.h"
#include "por/Match.h"
#include "por/UnitAccess.h"
#include "por/UnitFactory.h"

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <ctime>
#include <map>
#include <new>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

// Live heap bytes (as malloc hands them out) and their high-water mark, over every allocation of the
// process: the core library's included, since the executable's operator new takes precedence. The
// benchmarks run on one thread, so plain loads and stores keep the counting cheap.
namespace
{
std::atomic<std::size_t> LiveBytes{0};
std::atomic<std::size_t> PeakBytes{0};
std::atomic<std::size_t> Allocations{0};

void Add(std::atomic<std::size_t>& counter, std::size_t amount)
{
    counter.store(counter.load(std::memory_order_relaxed) + amount, std::memory_order_relaxed);
}

void* Allocate(std::size_t size)
{
    void* memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr)
    {
        throw std::bad_alloc();
    }
    Add(LiveBytes, malloc_usable_size(memory));
    Add(Allocations, 1);
    const std::size_t live = LiveBytes.load(std::memory_order_relaxed);
    if (live > PeakBytes.load(std::memory_order_relaxed))
    {
        PeakBytes.store(live, std::memory_order_relaxed);
    }
    return memory;
}

void Release(void* memory) noexcept
{
    if (memory != nullptr)
    {
        Add(LiveBytes, 0 - malloc_usable_size(memory));
        std::free(memory);
    }
}
} // namespace

void* operator new(std::size_t size)
{
    return Allocate(size);
}
void* operator new[](std::size_t size)
{
    return Allocate(size);
}
void operator delete(void* memory) noexcept
{
    Release(memory);
}
void operator delete[](void* memory) noexcept
{
    Release(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    Release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept
{
    Release(memory);
}

namespace
{

using namespace Por;
using Json = nlohmann::json;

constexpr std::size_t BuildRecords = 20000;
constexpr std::size_t NodesPerRecord = 50; // values: containers, properties and elements; tags aside
constexpr std::size_t MatchRecords = 100000;

const Construction::UnitFactory& Factory = GetUnitFactory();

// The thread's processor time: other processes on the machine don't inflate it; page faults count.
double CpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// Figures kept for Ratios: seconds per item, bytes per node.
std::map<std::string, double>& Figures()
{
    static std::map<std::string, double> figures;
    return figures;
}

Common::Guid MakeGuid(std::uint32_t seed, std::uint16_t kind)
{
    return Common::Guid{seed * 2654435761u, kind, static_cast<std::uint16_t>(seed), {1, 2, 3, 4, 5, 6, 7, 8}};
}

// The values of one record, made once so that both builders copy the same data.
struct Activity
{
    Common::Guid Id, ProfileId, ParentProcess, ParentActivity, InstanceId, PlanId, CommandId;
    std::string IdText, ProfileIdText, ParentProcessText, ParentActivityText, InstanceIdText, PlanIdText,
        CommandIdText;
    std::string UserName, Uid, Name, Description, Message, InstanceName, Specific, MessageId, MachineName,
        Tag1, Tag2;
    String WideUserName, WideUid, WideName, WideDescription, WideMessage, WideInstanceName, WideSpecific,
        WideMessageId, WideMachineName, WideTag1, WideTag2;
    std::uint32_t Status, State, Total, Current, PlanType, ProcessId, Code;
    std::uint64_t Created, Started, Finished, DmlTimeStamp, SourceMs, EncodingMs, DestinationMs;
    std::int64_t Timestamp, IssueTime;
    std::uint16_t SourcePercent, EncodingPercent, DestinationPercent;
};

String Wide(const std::string& text)
{
    return String(text.begin(), text.end());
}

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

const std::vector<Activity>& Activities()
{
    static const std::vector<Activity> activities = MakeActivities(MatchRecords);
    return activities;
}

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

// Builds the document in each iteration; the build is timed, the tear-down is not. With a warm heap the
// memory freed by the last tear-down is reused (as in a long-running service); a cold heap hands it back
// to the system first, so every build also pays the page faults of fresh memory.
template <typename Build>
void BuildDocument(benchmark::State& state, const std::string& figure, Build build)
{
    const bool cold = state.range(0) != 0;
    const std::vector<Activity>& activities = Activities();
    if (!cold)
    {
        build(activities);
    }
    std::size_t peak = 0;
    std::size_t allocations = 0;
    double seconds = 0;
    for (auto _ : state)
    {
        const std::size_t baseline = LiveBytes.load();
        PeakBytes.store(baseline);
        const std::size_t allocationsBefore = Allocations.load();
        const double start = CpuSeconds();
        auto document = build(activities);
        seconds += CpuSeconds() - start;
        peak = std::max(peak, PeakBytes.load() - baseline);
        allocations = Allocations.load() - allocationsBefore;
        benchmark::DoNotOptimize(document);
        state.PauseTiming();
        document = decltype(document)();
        if (cold)
        {
            malloc_trim(0);
        }
        state.ResumeTiming();
    }
    constexpr double nodes = BuildRecords * NodesPerRecord;
    state.counters["ns_per_node"] = seconds / static_cast<double>(state.iterations()) / nodes * 1e9;
    state.counters["peak_bytes_per_node"] = static_cast<double>(peak) / nodes;
    state.counters["allocations_per_node"] = static_cast<double>(allocations) / nodes;
    const std::string heap = cold ? ".cold" : ".warm";
    Figures()[figure + heap + ".time"] = seconds / static_cast<double>(state.iterations());
    Figures()[figure + ".bytes"] = static_cast<double>(peak) / nodes;
}

void BuildPorDocument(benchmark::State& state)
{
    BuildDocument(state, "build.por",
                  [](const std::vector<Activity>& activities)
                  {
                      UnitPtr root = Factory.CreateArray();
                      Construction::ArrayValue& records = Util::GetArray(*root);
                      for (std::size_t i = 0; i < BuildRecords; ++i)
                      {
                          records.PushBack(BuildActivity(activities[i]));
                      }
                      return root;
                  });
}

void BuildJsonDocument(benchmark::State& state)
{
    BuildDocument(state, "build.json",
                  [](const std::vector<Activity>& activities)
                  {
                      Json root = Json::array();
                      for (std::size_t i = 0; i < BuildRecords; ++i)
                      {
                          root.push_back(BuildJsonActivity(activities[i]));
                      }
                      return root;
                  });
}

const std::vector<ConstUnitPtr>& MatchUnits()
{
    static const std::vector<ConstUnitPtr> units = []
    {
        std::vector<ConstUnitPtr> built;
        built.reserve(MatchRecords);
        for (const Activity& activity : Activities())
        {
            built.push_back(BuildActivity(activity));
        }
        return built;
    }();
    return units;
}

constexpr std::uint64_t StampAbove = MatchRecords / 4;

// Activities of the class, in state 3 or 5, stamped after a mark, of the business sort.
ConstUnitPtr MakeSubscriptionPattern()
{
    UnitPtr pattern = Factory.CreateComposite();
    pattern->GetTraits().Add(Factory.CreateTrait("Is", IsTag(u"Tol::History::Plain::Activity")));
    UnitPtr states = Factory.CreateArray();
    Util::GetArray(*states).PushBack(Factory.CreateDWord(3));
    Util::GetArray(*states).PushBack(Factory.CreateDWord(5));
    UnitPtr state = Factory.CreateDWord(0);
    state->GetTraits().Add(Factory.CreateTrait("ValueIn", std::move(states)));
    UnitPtr stamp = Factory.CreateQWord(0);
    stamp->GetTraits().Add(Factory.CreateTrait("Greater", Factory.CreateQWord(StampAbove)));
    UnitPtr details = Factory.CreateComposite();
    Util::AddProperty(*details, "Specific", Factory.CreateString(u"Business"), Factory);
    Util::AddProperty(*pattern, "Details", std::move(details), Factory);
    Util::AddProperty(*pattern, "DmlTimeStamp", std::move(stamp), Factory);
    Util::AddProperty(*pattern, "State", std::move(state), Factory);
    return pattern;
}

const String* StringOf(const View::Unit& unit)
{
    const ResolvedValue value = Resolve(unit);
    return value.Kind == ValueKind::String ? &value.As<View::ComplexValue<String>>().Get() : nullptr;
}

// The same test written by hand, reading through the unit interfaces in the order Match does.
bool HandWrittenPredicate(const View::Unit& unit)
{
    bool typed = false;
    auto isActivity = MakeProcessor<const View::Trait>(
        [&](const View::Trait& trait)
        {
            const String* text = StringOf(trait.GetValue());
            typed = text != nullptr && *text == u"Tol::History::Plain::Activity";
            return typed;
        });
    unit.GetTraits().ForEachNamed("Is", isActivity);
    const View::CompositeValue* record = Util::FindComposite(unit);
    if (!typed || record == nullptr)
    {
        return false;
    }
    const View::Property* details = record->Find("Details");
    const View::CompositeValue* detailsValue =
        details != nullptr ? Util::FindComposite(details->GetValue()) : nullptr;
    const View::Property* specific = detailsValue != nullptr ? detailsValue->Find("Specific") : nullptr;
    const String* sort = specific != nullptr ? StringOf(specific->GetValue()) : nullptr;
    if (sort == nullptr || *sort != u"Business")
    {
        return false;
    }
    const View::Property* stamp = record->Find("DmlTimeStamp");
    if (stamp == nullptr || Util::GetValueOr<std::uint64_t>(stamp->GetValue(), 0) <= StampAbove)
    {
        return false;
    }
    const View::Property* state = record->Find("State");
    const std::uint32_t value = state != nullptr ? Util::GetValueOr<std::uint32_t>(state->GetValue(), 0) : 0;
    return value == 3 || value == 5;
}

// Runs over all units, or over a spread few that stay in the cache after the first pass.
template <typename Predicate>
void MatchAll(benchmark::State& state, const std::string& figure, Predicate predicate)
{
    const std::vector<ConstUnitPtr>& all = MatchUnits();
    const auto count = static_cast<std::size_t>(state.range(0));
    std::vector<const View::Unit*> units;
    for (std::size_t i = 0; i < count; ++i)
    {
        units.push_back(all[count == all.size() ? i : i * 7919 % all.size()].get());
    }
    std::size_t matched = 0;
    double seconds = 0;
    for (auto _ : state)
    {
        matched = 0;
        const double start = CpuSeconds();
        for (const View::Unit* unit : units)
        {
            matched += predicate(*unit) ? 1 : 0;
        }
        seconds += CpuSeconds() - start;
    }
    state.counters["ns_per_unit"] =
        seconds / static_cast<double>(state.iterations()) / static_cast<double>(units.size()) * 1e9;
    state.counters["matched"] = static_cast<double>(matched);
    const std::string key = figure + (count == all.size() ? ".all" : ".hot");
    Figures()[key + ".time"] = seconds / static_cast<double>(state.iterations());
    Figures()[key + ".matched"] = static_cast<double>(matched);
}

void MatchSubscriptionPattern(benchmark::State& state)
{
    const ConstUnitPtr pattern = MakeSubscriptionPattern();
    MatchAll(state, "match.por", [&](const View::Unit& unit) { return Match(unit, *pattern); });
}

void MatchHandWritten(benchmark::State& state)
{
    MatchAll(state, "match.hand", HandWrittenPredicate);
}

std::vector<std::string> PropertyNames()
{
    std::vector<std::string> names;
    for (int i = 0; i < 64; ++i)
    {
        names.push_back("Property" + std::to_string(100 + i * 7 % 64));
    }
    return names;
}

template <typename Find>
void LookUp(benchmark::State& state, const char* figure, Find find)
{
    const std::vector<std::string> names = PropertyNames();
    std::size_t next = 0;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(find(names[next]));
        next = (next + 1) & 63;
    }
    const double start = CpuSeconds();
    constexpr int Rounds = 10000000;
    for (int i = 0; i < Rounds; ++i)
    {
        benchmark::DoNotOptimize(find(names[static_cast<std::size_t>(i) & 63]));
    }
    Figures()[std::string(figure) + ".time"] = (CpuSeconds() - start) / Rounds;
}

void LookUpPorProperty(benchmark::State& state)
{
    UnitPtr unit = Factory.CreateComposite();
    for (const std::string& name : PropertyNames())
    {
        Util::AddProperty(*unit, name, Factory.CreateDWord(1), Factory);
    }
    const View::CompositeValue& composite = Util::GetComposite(static_cast<const View::Unit&>(*unit));
    LookUp(state, "lookup.por", [&](const std::string& name) { return composite.Find(name); });
}

void LookUpJsonMember(benchmark::State& state)
{
    Json object = Json::object();
    for (const std::string& name : PropertyNames())
    {
        object[name] = 1u;
    }
    const Json& view = object;
    LookUp(state, "lookup.json", [&](const std::string& name) { return view.find(name) != view.end(); });
}

double Figure(const std::string& name)
{
    const auto found = Figures().find(name);
    return found != Figures().end() ? found->second : 0.0;
}

// The pairs above, side by side: below 1 means the object model is the faster or smaller one.
void Ratios(benchmark::State& state)
{
    for (auto _ : state)
    {
    }
    if (Figure("build.json.warm.time") == 0 || Figure("build.json.cold.time") == 0 ||
        Figure("match.hand.all.time") == 0 || Figure("match.hand.hot.time") == 0 ||
        Figure("lookup.json.time") == 0)
    {
        state.SkipWithError("run the whole file: the ratios need every benchmark's figures");
        return;
    }
    if (Figure("match.por.all.matched") != Figure("match.hand.all.matched") ||
        Figure("match.por.hot.matched") != Figure("match.hand.hot.matched"))
    {
        state.SkipWithError("Match and the hand-written predicate disagree");
        return;
    }
    state.counters["build_time_warm"] = Figure("build.por.warm.time") / Figure("build.json.warm.time");
    state.counters["build_time_cold"] = Figure("build.por.cold.time") / Figure("build.json.cold.time");
    state.counters["build_bytes"] = Figure("build.por.bytes") / Figure("build.json.bytes");
    state.counters["match_time"] = Figure("match.por.all.time") / Figure("match.hand.all.time");
    state.counters["match_time_hot"] = Figure("match.por.hot.time") / Figure("match.hand.hot.time");
    state.counters["lookup_time"] = Figure("lookup.por.time") / Figure("lookup.json.time");
}

} // namespace

BENCHMARK(BuildPorDocument)->ArgName("cold")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BuildJsonDocument)->ArgName("cold")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(MatchSubscriptionPattern)
    ->ArgName("units")
    ->Arg(MatchRecords)
    ->Arg(300)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(MatchHandWritten)->ArgName("units")->Arg(MatchRecords)->Arg(300)->Unit(benchmark::kMicrosecond);
BENCHMARK(LookUpPorProperty);
BENCHMARK(LookUpJsonMember);
BENCHMARK(Ratios)->Iterations(1);

int main(int argc, char** argv)
{
    // Freed memory stays with the process until a cold build trims it explicitly.
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
    {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
