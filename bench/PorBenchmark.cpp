// The object model against nlohmann::json doing the same work, in one run: building a document of a
// million nodes shaped like activity records (time and peak heap per node), matching a subscription-like
// pattern against a hand-written predicate over the same units, and a property lookup in a 64-property
// composite. The last benchmark, Ratios, puts the pairs side by side.
#include "common/Guid.h"
#include "por/Match.h"
#include "por/UnitAccess.h"
#include "por/UnitFactory.h"
#include "support/ActivityDocuments.h"
#include "support/HeapCounter.h"

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

using namespace Por;
using Json = nlohmann::json;

constexpr std::size_t BuildRecords = 20000;
constexpr std::size_t NodesPerRecord = 50; // values: containers, properties and elements; tags aside
constexpr std::size_t MatchRecords = 100000;

const Construction::UnitFactory& Factory = GetUnitFactory();
using Bench::Activity;
using Bench::BuildActivity;
using Bench::BuildJsonActivity;
using Bench::MakeActivities;

// The thread's processor time: other processes on the machine don't inflate it; page faults count.
double CpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

const std::vector<Activity>& Activities()
{
    static const std::vector<Activity> activities = MakeActivities(MatchRecords);
    return activities;
}

// Figures kept for Ratios: seconds per item, bytes per node.
std::map<std::string, double>& Figures()
{
    static std::map<std::string, double> figures;
    return figures;
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
        const std::size_t baseline = Bench::LiveHeapBytes();
        Bench::ResetPeakHeap();
        const std::size_t allocationsBefore = Bench::HeapAllocations();
        const double start = CpuSeconds();
        auto document = build(activities);
        seconds += CpuSeconds() - start;
        peak = std::max(peak, Bench::PeakHeapBytes() - baseline);
        allocations = Bench::HeapAllocations() - allocationsBefore;
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
    pattern->GetTraits().Add(Factory.CreateTrait("Is", Factory.CreateString(u"Tol::History::Plain::Activity")));
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
