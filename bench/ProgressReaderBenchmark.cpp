// The memory of the activity not responding inspector's tracking: its progress reader fed 100,000
// running activities, as the opening report of a busy agent would. Bytes per tracked activity (the live
// heap the reader and its watchdog keep, counted by the benchmark's operator new) and the processor time
// per activity, in shapes that differ in how many activities share a process and so a watchdog timer:
// one each (the worst case), four (a plan run with its children), all in one (the reader's own map
// alone); and, for scale, a bare std::unordered_map holding the same per-activity record.
#include "Platform/Logging.h"
#include "alerts/AlertGuids.h"
#include "alerts/contract/Listener.h"
#include "alerts/inspectors/ProgressReader.h"
#include "alerts/utils/ActivityProgressAlertListener.h"
#include "async/ImmediateResultAction.h"
#include "common/Guid.h"
#include "dml/ServiceHolder.h"
#include "dml/SynchronousDataStore.h"
#include "por/PorUnit.h"
#include "store/MemoryStore.h"
#include "support/HeapCounter.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <ctime>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace
{

constexpr std::size_t Activities = 100000;
constexpr const char* Addon = "Inspector of activity not responding.";

// The host's side: the watchdogs never fire here (an hour), so nothing arrives.
class NullListener final : public Alerts::Listener
{
public:
    void OnActive(const Common::Guid&, const std::string&, const Por::View::Unit&,
                  const Common::WideString&) override
    {
    }
    void OnInactive(const Common::Guid&, const std::string&, const Common::WideString&) override {}
    std::unique_ptr<Async::Action> CleanupAlerts(const std::string&, const Por::View::Unit&) override
    {
        return Async::MakeImmediateResult();
    }
    std::unique_ptr<Async::Action> IgnoreAlerts(const std::string&, const Por::View::Unit&) override
    {
        return Async::MakeImmediateResult();
    }
};

Common::Guid Numbered(std::uint32_t number, std::uint16_t kind)
{
    Common::Guid id;
    id.Data1 = number;
    id.Data2 = kind;
    id.Data4[7] = 0x5A;
    return id;
}

// A running business activity as the feed's mask shows it.
Por::UnitPtr MakeRunning(std::uint32_t number, std::uint32_t perProcess)
{
    Por::Unit activity = Por::Unit::Composite();
    activity.AddTrait("Is", Por::Unit(u"Tol::History::Plain::Activity").Get());
    activity["ID"] = Numbered(number, 1);
    activity["ID"].AddTrait("PrimaryKey");
    activity["State"] = std::uint32_t{2};
    activity[".Details.Specific"] = u"Business";
    activity[".Details.CommandID"] = number % 4 == 0 ? Alerts::BackupPlanCommandID : Numbered(7, 2);
    activity[".Origin.ParentProcess"] = Numbered(number / perProcess, 3);
    activity[".Environment.InstanceID"] = Numbered(number % 64, 4);
    activity[".Environment.ProtectionPlanID"] = Numbered(number % 16, 5);
    activity[".Name"] = u"Backing up the machine";
    activity[".Period.StartTime"] = std::int64_t{1700000000} + number;
    activity[".Period.FinishTime"] = std::int64_t{0};
    activity[".Progress.Timestamp"] = std::int64_t{1700000000} + number;
    activity[".CompletionResult"] = Common::Error();
    return activity.GetRoot();
}

double CpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

std::map<std::string, double>& Figures()
{
    static std::map<std::string, double> figures;
    return figures;
}

void Report(benchmark::State& state, const std::string& name, std::size_t bytes, double seconds)
{
    const double perActivity = static_cast<double>(bytes) / Activities;
    state.counters["BytesPerActivity"] = perActivity;
    state.counters["UsPerActivity"] = seconds * 1e6 / Activities;
    Figures()[name] = perActivity;
}

// range(0): activities per process.
void BM_ProgressReaderTracking(benchmark::State& state)
{
    const auto perProcess = static_cast<std::uint32_t>(state.range(0));
    std::vector<Por::UnitPtr> activities;
    activities.reserve(Activities);
    for (std::uint32_t number = 0; number < Activities; ++number)
    {
        activities.push_back(MakeRunning(number, perProcess));
    }
    // The readers' debug lines are formatted and written, as in a host that keeps them; not to a terminal.
    Logging_SetOutputFile("/dev/null");
    Host::Store::MemoryStore store;
    const Dml::SynchronousDataStore client{Dml::ServiceHolder(&store, &store)};
    const Common::Guid machine = Numbered(1, 9);
    for (auto _ : state)
    {
        Alerts::Detail::ActivityProgressAlertListener watchdog(client, machine);
        watchdog.SetNextListener(std::make_shared<NullListener>());
        Alerts::Detail::ProgressReader reader(watchdog, machine, client, Addon);
        const std::size_t before = Bench::LiveHeapBytes();
        const double start = CpuSeconds();
        for (const Por::UnitPtr& activity : activities)
        {
            reader.OnCreated(*activity);
        }
        const double seconds = CpuSeconds() - start;
        const std::size_t bytes = Bench::LiveHeapBytes() - before;
        if (reader.GetTrackedCount() != Activities)
        {
            state.SkipWithError("not every activity is tracked");
        }
        Report(state, "reader, " + std::to_string(perProcess) + " per process", bytes, seconds);
        state.PauseTiming();
        reader.Stop();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_ProgressReaderTracking)
    ->Arg(1)
    ->Arg(4)
    ->Arg(Activities)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

// The same record per activity in a bare hash map: the floor of any tracking by id.
void BM_BareMapTracking(benchmark::State& state)
{
    struct Record
    {
        Common::Guid Process;
        const char* Type;
        Common::Guid Command;
    };
    struct Hash
    {
        std::size_t operator()(const Common::Guid& guid) const noexcept
        {
            std::uint64_t halves[2];
            std::memcpy(halves, &guid, sizeof(halves));
            return static_cast<std::size_t>(halves[0] ^ (halves[1] * 0x9E3779B97F4A7C15ull));
        }
    };
    for (auto _ : state)
    {
        const std::size_t before = Bench::LiveHeapBytes();
        const double start = CpuSeconds();
        std::unordered_map<Common::Guid, Record, Hash> records;
        for (std::uint32_t number = 0; number < Activities; ++number)
        {
            records.emplace(Numbered(number, 1),
                            Record{Numbered(number, 3), "ActivityNotResponding", Numbered(7, 2)});
        }
        const double seconds = CpuSeconds() - start;
        Report(state, "bare map", Bench::LiveHeapBytes() - before, seconds);
        benchmark::DoNotOptimize(records);
    }
}
BENCHMARK(BM_BareMapTracking)->Iterations(1)->Unit(benchmark::kMillisecond);

// The figures side by side: bytes per tracked activity, and the ratio to the bare map.
void BM_Ratios(benchmark::State& state)
{
    for (auto _ : state)
    {
    }
    const double bare = Figures()["bare map"];
    for (const auto& [name, bytes] : Figures())
    {
        state.counters[name + " B"] = bytes;
        if (bare > 0 && name != "bare map")
        {
            state.counters[name + " / bare map"] = bytes / bare;
        }
    }
}
BENCHMARK(BM_Ratios)->Iterations(1);

} // namespace

BENCHMARK_MAIN();
