// A report of one object by key pattern from the memory store holding 100,000 objects and 1,000 objects,
// against a bare std::unordered_map lookup of the same keys, in one run. A key lookup should not grow with
// the store; what it costs over the map is the key pattern's code, the read's options and the reader call.
// Ratios puts them side by side.
#include "async/Action.h"
#include "common/Guid.h"
#include "dml/KeyPattern.h"
#include "dml/ReportReader.h"
#include "dml/ViewSpec.h"
#include "por/PorUnit.h"
#include "por/Unit.h"
#include "store/MemoryStore.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace
{

Common::Guid IdOf(std::uint32_t number)
{
    Common::Guid id;
    id.Data1 = number;
    id.Data2 = static_cast<std::uint16_t>(number * 7);
    return id;
}

Por::Unit MakeObject(std::uint32_t number)
{
    Por::Unit object = Por::Unit::Composite();
    object["ID"] = IdOf(number);
    object["ID"].AddTrait("PrimaryKey");
    object.AddTrait("Is", Por::Unit(u"Bench::Item").Get());
    object["State"] = number % 7;
    object["Name"] = u"an object of the benchmark";
    object["Details"]["Size"] = static_cast<std::uint64_t>(number) * 4096;
    object["Details"]["Owner"] = u"owner";
    return object;
}

struct Handler final : Async::ActionHandler
{
    void Completed(const Common::Error& result) override { Failed |= result.GetCode() != 0; }
    bool Failed = false;
};

struct CountingReader final : Dml::ReportReader
{
    using Dml::ReportReader::OnSubject;
    void OnSubject(const Por::View::Unit&) override { ++Count; }
    std::size_t Count = 0;
};

struct Fixture
{
    explicit Fixture(std::uint32_t size)
    {
        Handler handler;
        for (std::uint32_t number = 1; number <= size; ++number)
        {
            Store.Register(MakeObject(number).Get(), handler);
        }
        std::mt19937 random(size);
        for (int index = 0; index < 1024; ++index)
        {
            Keys.push_back(Dml::MakeKeyPatternFromValue(IdOf(1 + random() % size)));
        }
    }
    Host::Store::MemoryStore Store;
    std::vector<Por::ConstUnitPtr> Keys;
};

Fixture& GetFixture(std::uint32_t size)
{
    static Fixture large(100000);
    static Fixture small(1000);
    return size == 100000 ? large : small;
}

std::map<std::string, double>& Figures()
{
    static std::map<std::string, double> figures;
    return figures;
}

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

void ReportByKey(benchmark::State& state, std::uint32_t size, const char* key)
{
    Fixture& fixture = GetFixture(size);
    auto reader = std::make_shared<CountingReader>();
    Handler handler;
    std::size_t next = 0;
    const double start = CpuSeconds();
    for (auto _ : state)
    {
        const Dml::ViewSpec spec{fixture.Keys[next++ & 1023], nullptr};
        fixture.Store.Report(Core::EntryPoint{}, spec, reader, handler);
    }
    Record(state, key, CpuSeconds() - start);
    if (handler.Failed || reader->Count != static_cast<std::size_t>(state.iterations()))
    {
        state.SkipWithError("a report missed its object");
    }
}

void StoreReportOf100000(benchmark::State& state)
{
    ReportByKey(state, 100000, "store.100000");
}

void StoreReportOf1000(benchmark::State& state)
{
    ReportByKey(state, 1000, "store.1000");
}

// The same keys in a map from the guid's bytes to the shared object.
void UnorderedMapLookupOf100000(benchmark::State& state)
{
    std::unordered_map<std::string, Por::ConstUnitPtr> map;
    for (std::uint32_t number = 1; number <= 100000; ++number)
    {
        const Common::Guid id = IdOf(number);
        map.emplace(std::string(reinterpret_cast<const char*>(&id), sizeof id), MakeObject(number).Result());
    }
    std::vector<std::string> keys;
    std::mt19937 random(100000);
    for (int index = 0; index < 1024; ++index)
    {
        const Common::Guid id = IdOf(1 + random() % 100000);
        keys.emplace_back(reinterpret_cast<const char*>(&id), sizeof id);
    }
    std::size_t next = 0;
    std::size_t found = 0;
    const double start = CpuSeconds();
    for (auto _ : state)
    {
        const auto hit = map.find(keys[next++ & 1023]);
        found += hit != map.end();
        benchmark::DoNotOptimize(hit);
    }
    Record(state, "map.100000", CpuSeconds() - start);
    if (found != static_cast<std::size_t>(state.iterations()))
    {
        state.SkipWithError("a lookup missed its object");
    }
}

double Figure(const std::string& name)
{
    const auto found = Figures().find(name);
    return found != Figures().end() ? found->second : 0.0;
}

void Ratios(benchmark::State& state)
{
    for (auto _ : state)
    {
    }
    state.counters["store_100000_vs_1000"] = Figure("store.100000") / Figure("store.1000");
    state.counters["store_100000_vs_map"] = Figure("store.100000") / Figure("map.100000");
    state.counters["store_1000_vs_map"] = Figure("store.1000") / Figure("map.100000");
}

} // namespace

BENCHMARK(StoreReportOf100000)->Unit(benchmark::kNanosecond);
BENCHMARK(StoreReportOf1000)->Unit(benchmark::kNanosecond);
BENCHMARK(UnorderedMapLookupOf100000)->Unit(benchmark::kNanosecond);
BENCHMARK(Ratios)->Iterations(1);

BENCHMARK_MAIN();
