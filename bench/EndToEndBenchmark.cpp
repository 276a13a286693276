// The inspectors end to end over the host's store service, each beside a hand-written reader of the same
// feed that does the least the same work needs (the floor that shows what the layers cost):
// - the activity failing inspector handling 100,000 activities that finish, a quarter of them failed, in a
//   store of 10,000 plans and 10,000 instances that their meta reads: activities per second from the
//   store write to the listener call, on the memory store and on the SQLite store file. The floors: a
//   reader that tells a failed finish by "State" and the result's code and calls the listener, and one
//   that does the inspector's store work besides (the plan and instance reads, the mark's write);
// - the activity not responding inspector tracking 100,000 running activities (a process each, so a
//   watchdog timer each) on the virtual clock, each updated once per simulated minute: bytes per tracked
//   activity and updates handled per second. The floor: a reader keeping the activity's process and
//   deadline in a hash map.
// Each run is one iteration; a summary with the ratios follows the table. The heap is jemalloc's, as in
// the reference host, and its own statistics count the bytes (the feeds allocate on several threads).
// With VELTRIX_PERF_CONTROL naming the control FIFO of `perf record --control fifo:... -D -1`, only the
// measured phases are profiled; VELTRIX_END_TO_END_LOG names a file for the log lines (else /dev/null).
#include "Platform/Logging.h"
#include "alerts/AlertGuids.h"
#include "alerts/contract/Inspector.h"
#include "alerts/contract/Listener.h"
#include "alerts/inspectors/ActivityFailingQuery.h"
#include "alerts/inspectors/ActivityNotRespondingInspector.h"
#include "alerts/inspectors/InspectorFactories.h"
#include "alerts/inspectors/LastDmlTimeStamp.h"
#include "alerts/inspectors/ProgressReader.h"
#include "async/DefaultService.h"
#include "async/ImmediateResultAction.h"
#include "common/Clock.h"
#include "common/Guid.h"
#include "common/Timeout.h"
#include "common/VirtualClock.h"
#include "components/Components.h"
#include "dml/AutoSubscription.h"
#include "dml/KeyPattern.h"
#include "dml/OperationFactory.h"
#include "dml/QueryOptionNames.h"
#include "dml/ServiceHolder.h"
#include "dml/SubscriptionReader.h"
#include "dml/SynchronousDataStore.h"
#include "por/Constraints.h"
#include "por/PorUnit.h"
#include "por/UnitAccess.h"
#include "por/UpdateBuilder.h"
#include "store/MemoryStore.h"
#include "store/SqlitePersistence.h"

#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

// jemalloc's control interface, declared here rather than through its header, which redeclares malloc.
extern "C" int mallctl(const char* name, void* oldValue, std::size_t* oldLength, void* newValue,
                       std::size_t newLength);

namespace
{

// The activities of a run: 100,000, or VELTRIX_END_TO_END_ACTIVITIES (a multiple of 4) for a quicker look.
std::uint32_t ReadActivityCount()
{
    const char* text = std::getenv("VELTRIX_END_TO_END_ACTIVITIES");
    const unsigned long count = text != nullptr ? std::strtoul(text, nullptr, 10) : 0;
    return count >= 4 ? static_cast<std::uint32_t>(count / 4 * 4) : 100000;
}
const std::uint32_t Activities = ReadActivityCount();
constexpr std::uint32_t Plans = 10000; // and as many instances
constexpr std::uint32_t Minutes = 3;   // update rounds of the not-responding run
constexpr std::uint32_t FinishedState = 5;
constexpr std::uint32_t FailedCode = 0x00AB0007;

Common::Guid Numbered(std::uint32_t number, std::uint16_t kind)
{
    Common::Guid id;
    id.Data1 = number;
    id.Data2 = kind;
    id.Data4[7] = 0x5A;
    return id;
}

const Common::Guid Machine = Numbered(1, 9);

// --- Process figures ---

double Seconds(std::chrono::steady_clock::time_point since)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

// Processor time of every thread of the process, user and system.
double ProcessCpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) { return time.tv_sec + time.tv_usec * 1e-6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// The bytes the application holds in jemalloc's heap, fresh statistics; the caller's thread cache is
// flushed first. The other threads' caches stay counted: some hundred kilobytes at most.
std::size_t AllocatedBytes()
{
    mallctl("thread.tcache.flush", nullptr, nullptr, nullptr, 0);
    std::uint64_t epoch = 1;
    std::size_t length = sizeof(epoch);
    mallctl("epoch", &epoch, &length, &epoch, length);
    std::size_t allocated = 0;
    length = sizeof(allocated);
    if (mallctl("stats.allocated", &allocated, &length, nullptr, 0) != 0)
    {
        return 0;
    }
    return allocated;
}

// Turns `perf record -D -1 --control fifo:PATH` on for the measured phases only.
class ProfileWindow
{
public:
    ProfileWindow() { Tell("enable\n"); }
    ~ProfileWindow() { Tell("disable\n"); }
    ProfileWindow(const ProfileWindow&) = delete;
    ProfileWindow& operator=(const ProfileWindow&) = delete;

private:
    static void Tell(const char* command)
    {
        if (const char* path = std::getenv("VELTRIX_PERF_CONTROL"))
        {
            std::ofstream(path) << command << std::flush;
        }
    }
};

// The figures of the runs, by name, for the summary.
std::map<std::string, double>& Figures()
{
    static std::map<std::string, double> figures;
    return figures;
}

// --- Store set-up ---

struct WriteHandler final : Async::ActionHandler
{
    void Completed(const Common::Error& result) override { Result = result; }
    Common::Error Result;
};

enum class StoreKind
{
    Memory,
    Sqlite
};

// The store file of an SQLite run, removed with its journals before and after.
class StoreFile
{
public:
    explicit StoreFile(StoreKind kind)
        : Path(kind == StoreKind::Sqlite ? "/tmp/veltrix-end-to-end-" + std::to_string(getpid()) + ".db" : "")
    {
        Remove();
    }
    ~StoreFile() { Remove(); }
    StoreFile(const StoreFile&) = delete;
    StoreFile& operator=(const StoreFile&) = delete;

    std::unique_ptr<Host::Components> MakeParts() const
    {
        if (Path.empty())
        {
            return std::make_unique<Host::Components>(Machine);
        }
        return std::make_unique<Host::Components>(std::make_unique<Host::Store::MemoryStore>(
                                                      std::make_unique<Host::Store::SqlitePersistence>(Path)),
                                                  Machine);
    }

private:
    void Remove() const
    {
        if (Path.empty())
        {
            return;
        }
        for (const char* suffix : {"", "-wal", "-shm", "-journal"})
        {
            std::remove((Path + suffix).c_str());
        }
    }
    const std::string Path;
};

// Writes the objects in batches of a thousand, as a host's import would (one commit each on a file).
bool Fill(Host::Store::MemoryStore& store, const std::vector<Por::UnitPtr>& objects)
{
    constexpr std::size_t BatchSize = 1000;
    for (std::size_t first = 0; first < objects.size(); first += BatchSize)
    {
        Dml::Operation::OperationFactory batch;
        for (std::size_t index = first; index < objects.size() && index < first + BatchSize; ++index)
        {
            batch.CreateObject(objects[index]);
        }
        WriteHandler handler;
        store.Register(*batch.Finish(), handler);
        if (handler.Result.GetCode() != 0)
        {
            return false;
        }
    }
    return true;
}

Por::Unit MakeObject(const char16_t* className, const Common::Guid& id)
{
    Por::Unit object = Por::Unit::Composite();
    object.AddTrait("Is", Por::Unit(className).Get());
    object["ID"] = id;
    object["ID"].AddTrait("PrimaryKey");
    return object;
}

Common::Guid PlanId(std::uint32_t number)
{
    return Numbered(number % Plans, 5);
}
Common::Guid InstanceId(std::uint32_t number)
{
    return Numbered(number % Plans, 4);
}
Common::Guid ActivityId(std::uint32_t number)
{
    return Numbered(number, 1);
}

// A protection plan with the fields the meta copies: name, sources and a location.
Por::UnitPtr MakePlan(std::uint32_t number)
{
    Por::Unit plan = MakeObject(u"Gtob::Dto::ProtectionPlan", PlanId(number));
    plan["PlanID"] = PlanId(number);
    plan["Name"] = u"Nightly backup " + Common::GuidToWideString(PlanId(number)).substr(0, 8);
    plan[".__cache.SourceType"] = std::int32_t{1};
    Por::Unit rules = Por::Unit::Array();
    rules.PushBack(Por::Unit(u"/home").Get());
    plan[".Options.SpecificParameters.InclusionRules.Rules"] = rules.Get();
    Por::Unit location = Por::Unit::Composite();
    location["DisplayName"] = u"Backup share";
    location["Type"] = u"network_share";
    Por::Unit locations = Por::Unit::Array();
    locations.PushBack(location.Get());
    plan[".__cache.Locations"] = locations.Get();
    return plan.GetRoot();
}

// This machine's kind of instance (1), named by its path.
Por::UnitPtr MakeInstance(std::uint32_t number)
{
    Por::Unit instance = MakeObject(u"InstanceManagement::Instance", InstanceId(number));
    instance["Type"] = std::int32_t{1};
    instance["FullPath"] = u"machine-" + Common::GuidToWideString(InstanceId(number)).substr(0, 8);
    return instance.GetRoot();
}

// A running business activity of a plan's backup on an instance, its own process.
Por::UnitPtr MakeRunningBackup(std::uint32_t number)
{
    Por::Unit activity = MakeObject(u"Tol::History::Plain::Activity", ActivityId(number));
    activity["State"] = std::uint32_t{2};
    activity[".Details.Specific"] = u"Business";
    activity[".Details.CommandID"] = Alerts::BackupPlanCommandID;
    activity[".Origin.ParentProcess"] = Numbered(number, 3);
    activity[".Environment.InstanceID"] = InstanceId(number);
    activity[".Environment.ProtectionPlanID"] = PlanId(number);
    activity[".Environment.PlanType"] = u"backup";
    activity[".Name"] = u"Backing up the machine";
    activity[".Period.StartTime"] = std::int64_t{1700000000} + number;
    activity[".Period.FinishTime"] = std::int64_t{0};
    activity[".Progress.Timestamp"] = std::int64_t{1700000000} + number;
    activity[".CompletionResult"] = Common::Error();
    return activity.GetRoot();
}

// Every fourth activity fails; the last one does, so its alert is the last call.
bool Fails(std::uint32_t number)
{
    return number % 4 == 3;
}

Por::UnitPtr MakeFinishPatch(std::uint32_t number)
{
    const Common::Error result =
        Fails(number) ? Common::Error(COMMON_LOCATION("Backup"), FailedCode, u"The backup failed.")
                      : Common::Error();
    Por::UpdateBuilder patch;
    patch.Add(u".State", Por::Unit(FinishedState).Get())
        .Add(u".CompletionResult", Por::Unit(result).Get())
        .Add(u".Warnings", Por::Unit::Array().Get())
        .Add(u".Period.FinishTime", Por::Unit(std::int64_t{1700100000} + number).Get());
    return patch.Result();
}

// --- The host's side ---

// Counts the alert calls; keeps the meta of the first activation to check what it holds.
class CountingListener final : public Alerts::Listener
{
public:
    void OnActive(const Common::Guid&, const std::string&, const Por::View::Unit& meta,
                  const Common::WideString&) override
    {
        if (!MetaKept.exchange(true))
        {
            FirstMeta = Por::Util::Copy(meta, Por::GetUnitFactory());
        }
        Active.fetch_add(1, std::memory_order_release);
    }
    void OnInactive(const Common::Guid&, const std::string&, const Common::WideString&) override
    {
        Inactive.fetch_add(1, std::memory_order_release);
    }
    std::unique_ptr<Async::Action> CleanupAlerts(const std::string&, const Por::View::Unit&) override
    {
        return Async::MakeImmediateResult();
    }
    std::unique_ptr<Async::Action> IgnoreAlerts(const std::string&, const Por::View::Unit&) override
    {
        return Async::MakeImmediateResult();
    }

    // Whether the first activation's meta carries the plan's name and the instance's.
    bool MetaIsResolved() const
    {
        return FirstMeta != nullptr && Por::Util::FindPropertyValue(*FirstMeta, "PlanName") != nullptr &&
               Por::Util::FindPropertyValue(*FirstMeta, "MachineName") != nullptr;
    }

    std::atomic<std::uint64_t> Active{0};
    std::atomic<std::uint64_t> Inactive{0};

private:
    std::atomic<bool> MetaKept{false};
    Por::UnitPtr FirstMeta;
};

// Waits, sleeping between looks so as to leave the processors to the feed, until `done` holds or a minute
// passes with no progress; false then.
template <typename Count>
bool WaitUntil(Count count, std::uint64_t target)
{
    std::uint64_t last = count();
    auto progressed = std::chrono::steady_clock::now();
    while (last < target)
    {
        std::this_thread::sleep_for(std::chrono::microseconds(200));
        const std::uint64_t now = count();
        if (now != last)
        {
            last = now;
            progressed = std::chrono::steady_clock::now();
        }
        else if (Seconds(progressed) > 60)
        {
            return false;
        }
    }
    return true;
}

// --- Activity failing ---

enum class Handling
{
    Inspector,
    Floor,          // tells failed finishes and calls the listener
    FloorStoreWork, // the same, with the plan and instance reads and the mark's write
};

template <typename T>
T ValueAt(const Por::View::Unit& object, std::string_view name, T fallback)
{
    const Por::View::Unit* found = Por::Util::FindPropertyValue(object, name);
    return found == nullptr ? fallback : Por::Util::GetValue<T>(*found);
}

// The hand-written reader of finished activities.
class FinishReader final : public Dml::SubscriptionReader
{
public:
    FinishReader(std::shared_ptr<Alerts::Listener> listener, Dml::SynchronousDataStore store, bool storeWork)
        : Next(std::move(listener)), Store(std::move(store)), StoreWork(storeWork)
    {
    }

    using Dml::SubscriptionReader::OnCreated;
    using Dml::SubscriptionReader::OnDeleted;
    using Dml::SubscriptionReader::OnUpdated;
    void OnCreated(const Por::View::Unit&) override {}
    void OnDeleted(const Por::View::Unit&) override {}
    void OnUpdated(const Por::View::Unit& before, const Por::View::Unit& after) override
    {
        if (ValueAt<std::uint32_t>(after, "State", 0) != FinishedState ||
            ValueAt<std::uint32_t>(before, "State", 0) == FinishedState)
        {
            return;
        }
        const Common::Error result = ValueAt<Common::Error>(after, "CompletionResult", Common::Error());
        if (result.GetCode() != 0)
        {
            Por::Unit meta = Por::Unit::Composite();
            if (StoreWork)
            {
                const Por::View::Unit& environment = Por::Util::GetPropertyValue(after, "Environment");
                Read(ValueAt(environment, "ProtectionPlanID", Common::NullGuid), "Name", meta["PlanName"]);
                Read(ValueAt(environment, "InstanceID", Common::NullGuid), "FullPath", meta["MachineName"]);
                meta["Error"] = result;
            }
            Next->OnActive(ValueAt(after, "ID", Common::NullGuid), "BackupFailed", meta.Get(), u"");
        }
        if (StoreWork)
        {
            Alerts::Detail::WriteLastDmlTimeStamp(Store, ValueAt<std::int64_t>(after, "DmlTimeStamp", 0));
        }
    }

private:
    // The field of the object of that id into `to`: a look-up by key, the cheapest read of this store.
    void Read(const Common::Guid& id, const char* field, Por::Unit to) const
    {
        Por::Unit options = Por::Unit::Composite();
        options[Dml::Query::Names::Mask][field] = true;
        const Por::UnitPtr object =
            Store.ReadSingleOrNone(CORE_ENTRY_POINT(), {Dml::MakeKeyPatternFromValue(id), options.Result()});
        if (object != nullptr)
        {
            to = Por::Util::GetPropertyValue(*object, field);
        }
    }

    const std::shared_ptr<Alerts::Listener> Next;
    const Dml::SynchronousDataStore Store;
    const bool StoreWork;
};

std::string StoreName(StoreKind kind)
{
    return kind == StoreKind::Memory ? "memory store" : "SQLite store";
}

std::string HandlingName(Handling handling)
{
    switch (handling)
    {
    case Handling::Inspector:
        return "inspector";
    case Handling::Floor:
        return "floor";
    case Handling::FloorStoreWork:
        return "floor with store work";
    }
    return "";
}

void ActivityFailing(benchmark::State& state, StoreKind kind, Handling handling)
{
    // The inspector's log lines are formatted and written, as in a host that keeps them; not to a terminal.
    const char* log = std::getenv("VELTRIX_END_TO_END_LOG");
    Logging_SetOutputFile(log != nullptr ? log : "/dev/null");
    std::vector<Por::UnitPtr> objects;
    for (std::uint32_t number = 0; number < Plans; ++number)
    {
        objects.push_back(MakePlan(number));
        objects.push_back(MakeInstance(number));
    }
    for (std::uint32_t number = 0; number < Activities; ++number)
    {
        objects.push_back(MakeRunningBackup(number));
    }
    std::vector<Por::ConstUnitPtr> keys;
    std::vector<Por::UnitPtr> patches;
    for (std::uint32_t number = 0; number < Activities; ++number)
    {
        keys.push_back(Dml::MakeKeyPatternFromValue(ActivityId(number)));
        patches.push_back(MakeFinishPatch(number));
    }
    const std::uint64_t failures = Activities / 4;

    for (auto _ : state)
    {
        const StoreFile file(kind);
        const std::unique_ptr<Host::Components> parts = file.MakeParts();
        Host::Store::MemoryStore& store = parts->GetStore();
        if (!Fill(store, objects))
        {
            state.SkipWithError("the store refused the set-up");
            break;
        }
        const auto listener = std::make_shared<CountingListener>();
        const Dml::SynchronousDataStore client{Dml::ServiceHolder(&store, &store)};
        std::unique_ptr<Alerts::Inspector> inspector;
        std::unique_ptr<Dml::AutoSubscription> feed;
        if (handling == Handling::Inspector)
        {
            Runtime::ServiceHolder holder = parts->MakeServiceHolder();
            inspector = Alerts::Detail::CreateActivityFailingInspector(holder);
            inspector->Initialize(listener, Por::Unit::Composite().Get());
            inspector->Start();
        }
        else
        {
            // The inspector's own read: its pattern, mask and sorting, and no opening report.
            Por::Unit options = Alerts::Detail::MakeActivityOptions();
            Alerts::Detail::SkipExistingActivities(options);
            feed = Dml::MakeAutoSubscription(
                CORE_ENTRY_POINT(), store,
                Dml::ViewSpec{Alerts::Detail::MakeActivityPattern().Result(), options.Result()},
                std::make_shared<FinishReader>(listener, client, handling == Handling::FloorStoreWork));
            feed->Start();
        }
        Async::Detail::WaitUntilIdle();

        double seconds = 0;
        double cpu = 0;
        bool complete = false;
        bool written = true;
        {
            const ProfileWindow profile;
            const auto start = std::chrono::steady_clock::now();
            const double cpuStart = ProcessCpuSeconds();
            for (std::uint32_t number = 0; number < Activities; ++number)
            {
                WriteHandler handler;
                store.Update(*keys[number], *patches[number], handler);
                written = written && handler.Result.GetCode() == 0;
            }
            complete = WaitUntil([&] { return listener->Active.load(std::memory_order_acquire); }, failures);
            seconds = Seconds(start);
            cpu = ProcessCpuSeconds() - cpuStart;
        }
        if (inspector != nullptr)
        {
            inspector->Stop();
            inspector->Deinitialize();
        }
        feed.reset();
        Async::Detail::WaitUntilIdle();

        if (!written || !complete || listener->Active.load() != failures)
        {
            state.SkipWithError("not every failed activity reached the listener once");
            break;
        }
        if (handling != Handling::Floor && !listener->MetaIsResolved())
        {
            state.SkipWithError("the alert's meta lacks the plan or the instance");
            break;
        }
        state.SetIterationTime(seconds);
        const double perSecond = Activities / seconds;
        state.counters["ActivitiesPerSecond"] = perSecond;
        state.counters["CpuUsPerActivity"] = cpu * 1e6 / Activities;
        Figures()["activity failing, " + StoreName(kind) + ": " + HandlingName(handling)] = perSecond;
        Figures()["activity failing, " + StoreName(kind) + ": " + HandlingName(handling) + ", CPU us"] =
            cpu * 1e6 / Activities;
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * Activities);
}

BENCHMARK_CAPTURE(ActivityFailing, MemoryInspector, StoreKind::Memory, Handling::Inspector)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ActivityFailing, MemoryFloor, StoreKind::Memory, Handling::Floor)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ActivityFailing, MemoryFloorStoreWork, StoreKind::Memory, Handling::FloorStoreWork)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ActivityFailing, SqliteInspector, StoreKind::Sqlite, Handling::Inspector)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ActivityFailing, SqliteFloor, StoreKind::Sqlite, Handling::Floor)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ActivityFailing, SqliteFloorStoreWork, StoreKind::Sqlite, Handling::FloorStoreWork)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

// --- Activity not responding ---

// Installs a virtual clock for the run; at the end a timeout under the real clock fences off a monitor
// pass that may still read the virtual one.
class VirtualTime
{
public:
    VirtualTime() { Common::SetClock(&Clock); }
    ~VirtualTime()
    {
        Common::SetClock(nullptr);
        Common::Timeout fence([](void*) -> unsigned { return 0; }, nullptr, 0, false);
        fence.Wait();
    }
    VirtualTime(const VirtualTime&) = delete;
    VirtualTime& operator=(const VirtualTime&) = delete;

    void Minute() { Clock.Advance(60000); }
    std::int64_t Now() { return Common::GetClock().GetWallTime().Seconds; }

private:
    Common::VirtualClock Clock;
};

// The hand-written tracking: each running activity's process and deadline in a hash map; an update of a
// known activity is a sign of life that clears its process's alert.
class DeadlineReader final : public Dml::SubscriptionReader
{
public:
    DeadlineReader(std::shared_ptr<Alerts::Listener> listener, VirtualTime& time)
        : Next(std::move(listener)), Time(time)
    {
    }

    using Dml::SubscriptionReader::OnCreated;
    using Dml::SubscriptionReader::OnDeleted;
    using Dml::SubscriptionReader::OnUpdated;
    void OnCreated(const Por::View::Unit& activity) override
    {
        const Common::Guid id = ValueAt(activity, "ID", Common::NullGuid);
        const Common::Guid process =
            ValueAt(Por::Util::GetPropertyValue(activity, "Origin"), "ParentProcess", Common::NullGuid);
        bool known = false;
        {
            std::lock_guard<std::mutex> guard(Lock);
            auto [entry, added] = Deadlines.try_emplace(id, Record{process, 0});
            entry->second.Deadline = Time.Now() + 3600;
            known = !added;
        }
        if (known)
        {
            Next->OnInactive(process, "BackupNotResponding", u"");
        }
    }
    void OnUpdated(const Por::View::Unit&, const Por::View::Unit& after) override { OnCreated(after); }
    void OnDeleted(const Por::View::Unit& activity) override
    {
        std::lock_guard<std::mutex> guard(Lock);
        Deadlines.erase(ValueAt(activity, "ID", Common::NullGuid));
    }

    std::size_t GetTrackedCount()
    {
        std::lock_guard<std::mutex> guard(Lock);
        return Deadlines.size();
    }

private:
    struct Record
    {
        Common::Guid Process;
        std::int64_t Deadline;
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

    const std::shared_ptr<Alerts::Listener> Next;
    VirtualTime& Time;
    std::mutex Lock;
    std::unordered_map<Common::Guid, Record, Hash> Deadlines;
};

void ActivityNotResponding(benchmark::State& state, Handling handling)
{
    const char* log = std::getenv("VELTRIX_END_TO_END_LOG");
    Logging_SetOutputFile(log != nullptr ? log : "/dev/null");
    std::vector<Por::UnitPtr> activities;
    std::vector<Por::ConstUnitPtr> keys;
    for (std::uint32_t number = 0; number < Activities; ++number)
    {
        activities.push_back(MakeRunningBackup(number));
        keys.push_back(Dml::MakeKeyPatternFromValue(ActivityId(number)));
    }
    for (auto _ : state)
    {
        VirtualTime time;
        Host::Components parts(Machine);
        Host::Store::MemoryStore& store = parts.GetStore();
        if (!Fill(store, activities))
        {
            state.SkipWithError("the store refused the set-up");
            break;
        }
        std::vector<Por::UnitPtr> patches;
        for (std::uint32_t minute = 1; minute <= Minutes; ++minute)
        {
            patches.push_back(
                Por::UpdateBuilder()
                    .Add(u".Progress.Timestamp", Por::Unit(std::int64_t{1700000000} + 60 * minute).Get())
                    .Result());
        }
        const auto listener = std::make_shared<CountingListener>();
        Async::Detail::WaitUntilIdle();

        // The opening report arms a watchdog per running activity: the bytes that stay are the tracking's.
        const std::size_t before = AllocatedBytes();
        std::unique_ptr<Runtime::ServiceHolder> holder;
        std::unique_ptr<Alerts::Inspector> inspector;
        std::shared_ptr<DeadlineReader> floor;
        std::unique_ptr<Dml::AutoSubscription> feed;
        std::function<std::size_t()> tracked;
        if (handling == Handling::Inspector)
        {
            holder = std::make_unique<Runtime::ServiceHolder>(parts.MakeServiceHolder());
            inspector = Alerts::Detail::CreateActivityNotRespondingInspector(*holder);
            inspector->Initialize(listener, Por::Unit::Composite().Get());
            inspector->Start();
            const auto& reader =
                *static_cast<Alerts::ActivityNotRespondingInspector&>(*inspector).GetProgressReader();
            tracked = [&reader] { return reader.GetTrackedCount(); };
        }
        else
        {
            // The inspector's running feed: business activities in any state but finished, masked.
            Por::Unit pattern = Por::Unit::Composite();
            pattern.AddTrait("Is", Por::Unit(u"Tol::History::Plain::Activity").Get());
            pattern[".Details.Specific"] = Por::String(u"Business");
            Por::Unit running = pattern["State"];
            Por::Detail::ValueInConstraint<std::set<std::uint32_t>>({1, 2, 3, 4, 6}).Apply(running);
            Por::Unit options = Por::Unit::Composite();
            for (const char* path : {".ID", ".State", ".Origin.ParentProcess", ".Progress.Timestamp"})
            {
                options[Dml::Query::Names::Mask][path] = true;
            }
            options[Dml::Query::Names::FullObjectNotifications] = true;
            floor = std::make_shared<DeadlineReader>(listener, time);
            feed = Dml::MakeAutoSubscription(CORE_ENTRY_POINT(), store,
                                             Dml::ViewSpec{pattern.Result(), options.Result()}, floor);
            feed->Start();
            tracked = [&floor] { return floor->GetTrackedCount(); };
        }
        const bool reported = WaitUntil(tracked, Activities);
        Async::Detail::WaitUntilIdle();
        const std::size_t afterReport = AllocatedBytes();

        double seconds = 0;
        double cpu = 0;
        bool complete = reported;
        for (std::uint32_t minute = 0; minute < Minutes && complete; ++minute)
        {
            {
                const ProfileWindow profile;
                const auto start = std::chrono::steady_clock::now();
                const double cpuStart = ProcessCpuSeconds();
                for (std::uint32_t number = 0; number < Activities; ++number)
                {
                    WriteHandler handler;
                    store.Update(*keys[number], *patches[minute], handler);
                }
                complete = WaitUntil([&] { return listener->Inactive.load(std::memory_order_acquire); },
                                     std::uint64_t{Activities} * (minute + 1));
                seconds += Seconds(start);
                cpu += ProcessCpuSeconds() - cpuStart;
            }
            time.Minute();
        }
        Async::Detail::WaitUntilIdle();
        const std::size_t afterUpdates = AllocatedBytes();
        if (inspector != nullptr)
        {
            inspector->Stop();
            inspector->Deinitialize();
        }
        feed.reset();
        Async::Detail::WaitUntilIdle();

        if (!complete || listener->Inactive.load() != std::uint64_t{Activities} * Minutes ||
            listener->Active.load() != 0)
        {
            state.SkipWithError("the updates did not each reach the listener once, or a watchdog fired");
            break;
        }
        state.SetIterationTime(seconds);
        const double updates = std::uint64_t{Activities} * Minutes;
        const double perActivity = static_cast<double>(afterReport - before) / Activities;
        const std::string name = "activity not responding: " + HandlingName(handling);
        state.counters["UpdatesPerSecond"] = updates / seconds;
        state.counters["CpuUsPerUpdate"] = cpu * 1e6 / updates;
        state.counters["BytesPerActivity"] = perActivity;
        state.counters["BytesPerActivityAfterUpdates"] =
            static_cast<double>(afterUpdates - before) / Activities;
        Figures()[name + ", updates"] = updates / seconds;
        Figures()[name + ", updates, CPU us"] = cpu * 1e6 / updates;
        Figures()[name + ", B per activity"] = perActivity;
    }
}

BENCHMARK_CAPTURE(ActivityNotResponding, Inspector, Handling::Inspector)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ActivityNotResponding, Floor, Handling::Floor)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

// --- Summary ---

std::string ModelName()
{
    std::ifstream cpuinfo("/proc/cpuinfo");
    std::string line;
    while (std::getline(cpuinfo, line))
    {
        if (line.rfind("model name", 0) == 0)
        {
            return line.substr(line.find(':') + 2);
        }
    }
    return "unknown";
}

void PrintRatio(const std::string& figure, const std::string& floor, bool higherIsBetter)
{
    const auto& figures = Figures();
    const auto mine = figures.find(figure);
    const auto other = figures.find(floor);
    if (mine == figures.end() || other == figures.end() || mine->second <= 0)
    {
        return;
    }
    const double ratio = higherIsBetter ? other->second / mine->second : mine->second / other->second;
    std::printf("  %-62s %12.0f   %-28s %12.0f   ratio %.2f\n", figure.c_str(), mine->second,
                ("vs " + floor.substr(floor.find_last_of(':') + 2)).c_str(), other->second, ratio);
}

void PrintSummary()
{
    if (Figures().empty())
    {
        return;
    }
    std::printf("\nEnd to end on %s, %u processors (ratio: the inspector's time or bytes per activity over "
                "the floor's)\n",
                ModelName().c_str(), std::thread::hardware_concurrency());
    for (const auto& [name, value] : Figures())
    {
        std::printf("  %-62s %12.1f\n", name.c_str(), value);
    }
    std::printf("\n");
    for (const char* store : {"memory store", "SQLite store"})
    {
        const std::string prefix = std::string("activity failing, ") + store + ": ";
        PrintRatio(prefix + "inspector", prefix + "floor", true);
        PrintRatio(prefix + "inspector", prefix + "floor with store work", true);
    }
    PrintRatio("activity not responding: inspector, updates", "activity not responding: floor, updates",
               true);
    PrintRatio("activity not responding: inspector, B per activity",
               "activity not responding: floor, B per activity", false);
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
    {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    PrintSummary();
    return 0;
}
