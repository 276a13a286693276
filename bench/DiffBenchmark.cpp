// Diff and in-place apply of one changed leaf in a 10,000-node object, against nlohmann::json::diff with
// patch_inplace, and with patch (which copies the document), on the same document, in one run; and the parts
// of ours apart (diff, full merge, assignment of a full merge, in-place apply), to show where the time goes.
// Ratios puts them side by side.
#include "por/Assign.h"
#include "por/Diff.h"
#include "por/Merge.h"
#include "por/UnitAccess.h"
#include "por/UnitFactory.h"

#include <benchmark/benchmark.h>

#include <ctime>
#include <map>
#include <nlohmann/json.hpp>
#include <string>

namespace
{

using namespace Por;
using Json = nlohmann::json;

const Construction::UnitFactory& Factory = GetUnitFactory();

// 200 records of 50 nodes: scalars, a string array and a composite of details.
constexpr int Records = 200;
constexpr int Fields = 27;
constexpr int Details = 10;
constexpr int Tags = 5;

std::string Name(const char* prefix, int index)
{
    return prefix + std::to_string(100 + index).substr(1);
}

struct Documents
{
    UnitPtr Left;
    UnitPtr Right;
    Json JsonLeft;
    Json JsonRight;
};

UnitPtr BuildUnit(std::uint32_t changed)
{
    UnitPtr root = Factory.CreateComposite();
    for (int r = 0; r < Records; ++r)
    {
        Construction::Unit& record =
            Util::AddProperty(*root, Name("r", r), Factory.CreateComposite(), Factory);
        Util::AddProperty(record, "id", Factory.CreateQWord(static_cast<std::uint64_t>(r) * 7919), Factory);
        Util::AddProperty(record, "name",
                          Factory.CreateString(u"record " + Common::WideString(1, u'a' + r % 26)), Factory);
        Util::AddProperty(record, "state", Factory.CreateDWord(static_cast<std::uint32_t>(r % 6)), Factory);
        Util::AddProperty(record, "progress", Factory.CreateDouble(r / 200.0), Factory);
        Util::AddProperty(record, "flags", Factory.CreateWord(static_cast<std::uint16_t>(r)), Factory);
        Construction::Unit& tags = Util::AddProperty(record, "tags", Factory.CreateArray(), Factory);
        for (int t = 0; t < Tags; ++t)
        {
            Util::GetArray(tags).PushBack(Factory.CreateString(u"tag" + Common::WideString(1, u'0' + t)));
        }
        Construction::Unit& details =
            Util::AddProperty(record, "details", Factory.CreateComposite(), Factory);
        for (int d = 0; d < Details; ++d)
        {
            const bool isChanged = r == Records / 2 && d == Details / 2;
            Util::AddProperty(details, Name("d", d), Factory.CreateDWord(isChanged ? changed : d), Factory);
        }
        for (int f = 0; f < Fields; ++f)
        {
            Util::AddProperty(record, Name("f", f), Factory.CreateSQWord(r * f), Factory);
        }
    }
    return root;
}

Json BuildJson(std::uint32_t changed)
{
    Json root = Json::object();
    for (int r = 0; r < Records; ++r)
    {
        Json& record = root[Name("r", r)];
        record["id"] = static_cast<std::uint64_t>(r) * 7919;
        record["name"] = "record " + std::string(1, static_cast<char>('a' + r % 26));
        record["state"] = static_cast<std::uint32_t>(r % 6);
        record["progress"] = r / 200.0;
        record["flags"] = static_cast<std::uint16_t>(r);
        Json& tags = record["tags"] = Json::array();
        for (int t = 0; t < Tags; ++t)
        {
            tags.push_back("tag" + std::string(1, static_cast<char>('0' + t)));
        }
        Json& details = record["details"] = Json::object();
        for (int d = 0; d < Details; ++d)
        {
            const bool isChanged = r == Records / 2 && d == Details / 2;
            details[Name("d", d)] = isChanged ? changed : static_cast<std::uint32_t>(d);
        }
        for (int f = 0; f < Fields; ++f)
        {
            record[Name("f", f)] = static_cast<std::int64_t>(r * f);
        }
    }
    return root;
}

const Documents& GetDocuments()
{
    static const Documents documents{BuildUnit(5), BuildUnit(555), BuildJson(5), BuildJson(555)};
    return documents;
}

std::map<std::string, double>& Figures()
{
    static std::map<std::string, double> figures;
    return figures;
}

// Keeps the mean time of an iteration under `key`.
void Record(benchmark::State& state, const std::string& key, double seconds)
{
    Figures()[key] = seconds / static_cast<double>(state.iterations());
}

// The thread's processor time: other processes on the machine don't inflate it.
double CpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

template <typename Body>
void Run(benchmark::State& state, const std::string& key, Body body)
{
    const double start = CpuSeconds();
    for (auto _ : state)
    {
        body();
    }
    Record(state, key, CpuSeconds() - start);
}

void PorDiffAndApply(benchmark::State& state)
{
    const Documents& documents = GetDocuments();
    const UnitPtr target = Util::Copy(*documents.Left, Factory);
    Run(state, "por.diff_apply",
        [&]
        {
            const UnitPtr diff = Util::Diff(*documents.Left, *documents.Right, Factory);
            Util::ApplyDiff(*target, *diff, Factory);
        });
}

void JsonDiffAndPatch(benchmark::State& state)
{
    const Documents& documents = GetDocuments();
    Json target = documents.JsonLeft;
    Run(state, "json.diff_patch",
        [&]
        {
            const Json patch = Json::diff(documents.JsonLeft, documents.JsonRight);
            target.patch_inplace(patch);
        });
}

// patch makes a new document, as a merge does.
void JsonDiffAndCopyingPatch(benchmark::State& state)
{
    const Documents& documents = GetDocuments();
    Run(state, "json.diff_copying_patch",
        [&]
        {
            const Json patch = Json::diff(documents.JsonLeft, documents.JsonRight);
            benchmark::DoNotOptimize(documents.JsonLeft.patch(patch));
        });
}

void PorDiff(benchmark::State& state)
{
    const Documents& documents = GetDocuments();
    Run(state, "por.diff",
        [&] { benchmark::DoNotOptimize(Util::Diff(*documents.Left, *documents.Right, Factory)); });
}

void JsonDiff(benchmark::State& state)
{
    const Documents& documents = GetDocuments();
    Run(state, "json.diff",
        [&] { benchmark::DoNotOptimize(Json::diff(documents.JsonLeft, documents.JsonRight)); });
}

// The full merge copies every untouched property.
void PorInternalMerge(benchmark::State& state)
{
    const Documents& documents = GetDocuments();
    const UnitPtr diff = Util::Diff(*documents.Left, *documents.Right, Factory);
    Run(state, "por.merge",
        [&] { benchmark::DoNotOptimize(Util::InternalMerge(*documents.Left, *diff, Factory, true, false)); });
}

// What applying would cost if it assigned the full merge: every value written back as it was.
void PorAssignFullMerge(benchmark::State& state)
{
    const Documents& documents = GetDocuments();
    const UnitPtr merged = Util::InternalMerge(
        *documents.Left, *Util::Diff(*documents.Left, *documents.Right, Factory), Factory, true, false);
    const UnitPtr target = Util::Copy(*documents.Left, Factory);
    Run(state, "por.assign_full", [&] { Util::Assign(*target, *merged); });
}

// The apply as it is: only what the diff names is merged and assigned.
void PorApply(benchmark::State& state)
{
    const Documents& documents = GetDocuments();
    const UnitPtr diff = Util::Diff(*documents.Left, *documents.Right, Factory);
    const UnitPtr target = Util::Copy(*documents.Left, Factory);
    Run(state, "por.apply", [&] { Util::ApplyDiff(*target, *diff, Factory); });
}

void JsonPatch(benchmark::State& state)
{
    const Documents& documents = GetDocuments();
    const Json patch = Json::diff(documents.JsonLeft, documents.JsonRight);
    Json target = documents.JsonLeft;
    Run(state, "json.patch", [&] { target.patch_inplace(patch); });
}

double Figure(const std::string& name)
{
    const auto found = Figures().find(name);
    return found != Figures().end() ? found->second : 0.0;
}

// Ours over theirs: below 1 is faster; the goal for the whole is 0.2 or less.
void Ratios(benchmark::State& state)
{
    for (auto _ : state)
    {
    }
    state.counters["diff_apply"] = Figure("por.diff_apply") / Figure("json.diff_patch");
    state.counters["diff_apply_vs_copying_patch"] =
        Figure("por.diff_apply") / Figure("json.diff_copying_patch");
    state.counters["diff"] = Figure("por.diff") / Figure("json.diff");
    state.counters["apply"] = Figure("por.apply") / Figure("json.patch");
    state.counters["full_merge_and_assign"] =
        (Figure("por.merge") + Figure("por.assign_full")) / Figure("json.patch");
}

} // namespace

BENCHMARK(PorDiffAndApply)->Unit(benchmark::kMicrosecond);
BENCHMARK(JsonDiffAndPatch)->Unit(benchmark::kMicrosecond);
BENCHMARK(JsonDiffAndCopyingPatch)->Unit(benchmark::kMicrosecond);
BENCHMARK(PorDiff)->Unit(benchmark::kMicrosecond);
BENCHMARK(JsonDiff)->Unit(benchmark::kMicrosecond);
BENCHMARK(PorInternalMerge)->Unit(benchmark::kMicrosecond);
BENCHMARK(PorAssignFullMerge)->Unit(benchmark::kMicrosecond);
BENCHMARK(PorApply)->Unit(benchmark::kMicrosecond);
BENCHMARK(JsonPatch)->Unit(benchmark::kMicrosecond);
BENCHMARK(Ratios)->Iterations(1);

BENCHMARK_MAIN();
