// The store client over the memory store: ReadSingleOrNone by key in stores of 100,000 and of 1,000
// objects, against a bare std::unordered_map lookup of the same objects (the floor that shows what the
// client's layers cost). Each read picks from 1,024 random keys of the store, so the two stores differ
// in size only and their ratio shows that a key read does not grow with the store. The "Uniform" forms
// pick from every key of the store instead: what a read costs when its object is not in the cache.
#include "common/Guid.h"
#include "dml/AutoSubscription.h"
#include "dml/KeyPattern.h"
#include "dml/SubscriptionReader.h"
#include "por/Diff.h"
#include "dml/ServiceHolder.h"
#include "dml/SynchronousDataStore.h"
#include "por/PorUnit.h"
#include "por/Unit.h"
#include "store/MemoryStore.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>
#include <memory>
#include <random>
#include <unordered_map>
#include <vector>

namespace
{

constexpr std::size_t HotKeys = 1024;

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
    return object;
}

struct Handler final : Async::ActionHandler
{
    void Completed(const Common::Error&) override {}
};

struct Filled
{
    explicit Filled(std::uint32_t count) : Count(count)
    {
        for (std::uint32_t number = 0; number < count; ++number)
        {
            Handler handler;
            Store.Register(MakeObject(number).Get(), handler);
            AllKeys.push_back(Dml::MakeKeyPatternFromValue(IdOf(number)));
        }
        std::mt19937 random(count);
        for (std::size_t index = 0; index < HotKeys; ++index)
        {
            Hot.push_back(static_cast<std::uint32_t>(random() % count));
        }
    }
    const std::uint32_t Count;
    Host::Store::MemoryStore Store;
    std::vector<Por::ConstUnitPtr> AllKeys;
    std::vector<std::uint32_t> Hot;
};

Filled& StoreOf(std::int64_t count)
{
    static Filled large(100000);
    static Filled small(1000);
    return count == 100000 ? large : small;
}

// Numbers of objects to read: the hot set in turn, or uniform over the store.
class Picker
{
public:
    Picker(const Filled& filled, bool uniform) : Filled_(filled), Uniform(uniform), Pick(0, filled.Count - 1) {}
    std::uint32_t Next() { return Uniform ? Pick(Random) : Filled_.Hot[Turn++ % HotKeys]; }

private:
    const Filled& Filled_;
    const bool Uniform;
    std::mt19937 Random{7};
    std::uniform_int_distribution<std::uint32_t> Pick;
    std::size_t Turn = 0;
};

void ReadSingleOrNoneByKey(benchmark::State& state, bool uniform)
{
    Filled& filled = StoreOf(state.range(0));
    const Dml::SynchronousDataStore client{Dml::ServiceHolder(&filled.Store, &filled.Store)};
    const Core::EntryPoint site = CORE_ENTRY_POINT();
    Picker picker(filled, uniform);
    for (auto _ : state)
    {
        const Por::UnitPtr found = client.ReadSingleOrNone(site, {filled.AllKeys[picker.Next()], nullptr});
        benchmark::DoNotOptimize(found.get());
    }
}
BENCHMARK_CAPTURE(ReadSingleOrNoneByKey, Hot, false)->Arg(100000)->Arg(1000);
BENCHMARK_CAPTURE(ReadSingleOrNoneByKey, Uniform, true)->Arg(100000)->Arg(1000);

struct GuidHash
{
    std::size_t operator()(const Common::Guid& id) const
    {
        std::uint64_t halves[2];
        std::memcpy(halves, &id, sizeof(halves));
        return std::hash<std::uint64_t>()(halves[0] ^ (halves[1] * 0x9E3779B97F4A7C15ull));
    }
};

// The floor: the same objects in a map by id, found and not copied.
void UnorderedMapLookup(benchmark::State& state, bool uniform)
{
    Filled& filled = StoreOf(state.range(0));
    std::unordered_map<Common::Guid, Por::ConstUnitPtr, GuidHash> objects;
    for (std::uint32_t number = 0; number < filled.Count; ++number)
    {
        objects.emplace(IdOf(number), MakeObject(number).Result());
    }
    Picker picker(filled, uniform);
    for (auto _ : state)
    {
        const auto found = objects.find(IdOf(picker.Next()));
        benchmark::DoNotOptimize(found->second.get());
    }
}
BENCHMARK_CAPTURE(UnorderedMapLookup, Hot, false)->Arg(100000);
BENCHMARK_CAPTURE(UnorderedMapLookup, Uniform, true)->Arg(100000);

// Counts the updates a feed delivers.
struct UpdateCounter final : Dml::SubscriptionReader
{
    using Dml::SubscriptionReader::OnCreated;
    using Dml::SubscriptionReader::OnDeleted;
    using Dml::SubscriptionReader::OnUpdated;
    void OnCreated(const Por::View::Unit&) override {}
    void OnUpdated(const Por::View::Unit&, const Por::View::Unit&) override
    {
        Updates.fetch_add(1, std::memory_order_release);
    }
    void OnDeleted(const Por::View::Unit&) override {}
    std::atomic<std::uint64_t> Updates{0};
};

// Updates per second from the store write to the reader's OnUpdated through an auto subscription: one
// writer thread changes 100 objects in turn while the feed reads news on the service's threads. The
// figure counts until the reader has seen every write.
void UpdatesThroughAutoSubscription(benchmark::State& state)
{
    const bool withFeed = state.range(0) != 0;
    Host::Store::MemoryStore store;
    constexpr std::uint32_t objects = 100;
    std::vector<Por::UnitPtr> patches;
    std::vector<Por::ConstUnitPtr> keys;
    for (std::uint32_t number = 0; number < objects; ++number)
    {
        Handler handler;
        store.Register(MakeObject(number).Get(), handler);
        keys.push_back(MakeObject(number)["ID"].Result());
    }
    for (std::uint32_t value = 0; value < 2; ++value)
    {
        Por::Unit before = MakeObject(0);
        Por::Unit after = MakeObject(0);
        after["State"] = 100u + value;
        patches.push_back(Por::Util::Diff(before.Get(), after.Get(), Por::GetUnitFactory()));
    }
    Por::Unit pattern = Por::Unit::Composite();
    pattern.AddTrait("Is", Por::Unit(u"Bench::Item").Get());
    UpdateCounter reader;
    const auto feed = withFeed ? Dml::StartAutoSubscription(CORE_ENTRY_POINT(), store, {pattern.Result(), nullptr}, reader) : nullptr;
    std::uint64_t written = 0;
    for (auto _ : state)
    {
        Handler handler;
        store.Update(*keys[written % objects], *patches[(written / objects) % 2], handler);
        ++written;
    }
    while (withFeed && reader.Updates.load(std::memory_order_acquire) < written)
    {
        std::this_thread::yield();
    }
    if (feed != nullptr)
    {
        feed->Stop();
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(written));
}
BENCHMARK(UpdatesThroughAutoSubscription)->Arg(1)->Arg(0)->UseRealTime()->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
