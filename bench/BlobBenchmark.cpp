// The blob form against msgpack on a 100,000-node document shaped like activity records: writing from
// the tree against msgpack-c packing its equivalent object tree, reading into owning units against
// nlohmann::json::from_msgpack (also an owning tree) with msgpack-c's zone unpack as the floor, and
// the size evaluation, which must allocate nothing. The last benchmark, Ratios, puts pairs side by side.
#include "por/Blob.h"
#include "por/UnitAccess.h"
#include "por/UnitFactory.h"
#include "support/ActivityDocuments.h"
#include "support/HeapCounter.h"

#include <benchmark/benchmark.h>

#include <ctime>
#include <map>
#include <msgpack.hpp>
#include <string>
#include <vector>

namespace
{

using Json = nlohmann::json;

constexpr std::size_t Records = 2000; // 50 nodes each

struct Documents
{
    Por::UnitPtr Tree;
    std::vector<std::uint8_t> Blob;
    std::vector<std::uint8_t> MessagePack;
    msgpack::object_handle Object;
    std::size_t Nodes = 0;
};

const Documents& Data()
{
    static const Documents documents = []
    {
        Documents made;
        const std::vector<Bench::Activity> activities = Bench::MakeActivities(Records);
        made.Tree = Por::GetUnitFactory().CreateArray();
        Json json = Json::array();
        for (const Bench::Activity& activity : activities)
        {
            Por::Util::GetArray(*made.Tree).PushBack(Bench::BuildActivity(activity));
            json.push_back(Bench::BuildJsonActivity(activity));
        }
        Por::Util::WriteBlob(*made.Tree, made.Blob);
        made.MessagePack = Json::to_msgpack(json);
        made.Object =
            msgpack::unpack(reinterpret_cast<const char*>(made.MessagePack.data()), made.MessagePack.size());
        made.Nodes = Records * 50;
        return made;
    }();
    return documents;
}

std::map<std::string, double>& Figures()
{
    static std::map<std::string, double> figures;
    return figures;
}

// The thread's processor time: other processes on the machine don't inflate it.
double CpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

template <typename Work>
void Measure(benchmark::State& state, const std::string& figure, Work work)
{
    const Documents& data = Data();
    const double start = CpuSeconds();
    for (auto _ : state)
    {
        work(data);
    }
    const double nanoseconds = (CpuSeconds() - start) * 1e9;
    const double perNode = nanoseconds / static_cast<double>(state.iterations() * data.Nodes);
    state.counters["ns_per_node"] = perNode;
    Figures()[figure] = perNode;
}

void WriteBlob(benchmark::State& state)
{
    std::vector<std::uint8_t> bytes;
    Measure(state, "write",
            [&](const Documents& data)
            {
                Por::Util::WriteBlob(*data.Tree, bytes);
                benchmark::DoNotOptimize(bytes.data());
            });
    state.counters["bytes"] = static_cast<double>(bytes.size());
}

void PackMessagePack(benchmark::State& state)
{
    msgpack::sbuffer buffer;
    Measure(state, "pack",
            [&](const Documents& data)
            {
                buffer.clear();
                msgpack::pack(buffer, data.Object.get());
                benchmark::DoNotOptimize(buffer.data());
            });
    state.counters["bytes"] = static_cast<double>(buffer.size());
}

void ReadBlob(benchmark::State& state)
{
    Measure(state, "read",
            [](const Documents& data)
            {
                Por::UnitPtr unit = Por::Util::ReadBlob(data.Blob, Por::GetUnitFactory());
                benchmark::DoNotOptimize(unit.get());
            });
}

void JsonFromMessagePack(benchmark::State& state)
{
    Measure(state, "json",
            [](const Documents& data)
            {
                Json json = Json::from_msgpack(data.MessagePack);
                benchmark::DoNotOptimize(json);
            });
}

void ZoneUnpack(benchmark::State& state)
{
    Measure(state, "zone",
            [](const Documents& data)
            {
                msgpack::object_handle handle = msgpack::unpack(
                    reinterpret_cast<const char*>(data.MessagePack.data()), data.MessagePack.size());
                benchmark::DoNotOptimize(handle.get());
            });
}

void BlobSize(benchmark::State& state)
{
    const Documents& data = Data();
    Por::Util::GetBlobSize(*data.Tree); // warms the thread's buffer for error values
    std::size_t allocations = 0;
    std::size_t size = 0;
    for (auto _ : state)
    {
        const std::size_t before = Bench::HeapAllocations();
        size = Por::Util::GetBlobSize(*data.Tree);
        allocations += Bench::HeapAllocations() - before;
    }
    state.counters["allocations"] = static_cast<double>(allocations);
    state.counters["matches_blob"] = size == data.Blob.size() ? 1 : 0;
}

void Ratios(benchmark::State& state)
{
    for (auto _ : state)
    {
    }
    std::map<std::string, double>& figures = Figures();
    state.counters["write_vs_msgpack_pack"] = figures["write"] / figures["pack"];
    state.counters["json_from_msgpack_vs_read"] = figures["json"] / figures["read"];
    state.counters["read_vs_zone_unpack"] = figures["read"] / figures["zone"];
}

} // namespace

BENCHMARK(WriteBlob)->Unit(benchmark::kMillisecond);
BENCHMARK(PackMessagePack)->Unit(benchmark::kMillisecond);
BENCHMARK(ReadBlob)->Unit(benchmark::kMillisecond);
BENCHMARK(JsonFromMessagePack)->Unit(benchmark::kMillisecond);
BENCHMARK(ZoneUnpack)->Unit(benchmark::kMillisecond);
BENCHMARK(BlobSize)->Unit(benchmark::kMillisecond);
BENCHMARK(Ratios)->Iterations(1);

BENCHMARK_MAIN();
