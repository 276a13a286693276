// Copying and destroying an error handle against the shared pointer a user would reach for instead, and
// the serialised form's round trip of a three-record chain. Reference counting differs between a process
// that never started a thread and one that did, so the copies are measured in both.
#include "common/Error.h"
#include "common/ErrorKind.h"
#include "common/ErrorSerialization.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace
{

void ErrorCopyAndDestroy(benchmark::State& state)
{
    const Common::Error error(COMMON_LOCATION("Bench"), 0x00FA0001, u"benchmark");
    for (auto _ : state)
    {
        Common::Error copy = error;
        benchmark::DoNotOptimize(copy);
    }
}

void SharedPtrCopyAndDestroy(benchmark::State& state)
{
    const auto pointer = std::make_shared<int>(1);
    for (auto _ : state)
    {
        std::shared_ptr<int> copy = pointer;
        benchmark::DoNotOptimize(copy);
    }
}

Common::Error ThreeRecordChain()
{
    Common::Error inner =
        Common::Error(COMMON_LOCATION("Inner::Function"), 0x00FC0003, u"inner failure").AddWindowsError(5);
    Common::Error head(COMMON_LOCATION("Head::Function"), 0x011A003D, Common::TraceLevelErrorKind,
                       u"head failure", {4});
    head.SetSubError(inner);
    return head;
}

void SerializeAndParseThreeRecords(benchmark::State& state)
{
    const Common::Error chain = ThreeRecordChain();
    std::uint8_t buffer[1024];
    std::size_t bytes = 0;
    for (auto _ : state)
    {
        bytes = Common::Serialize(chain, buffer, sizeof buffer);
        Common::Error parsed = Common::Deserialize(buffer, bytes);
        benchmark::DoNotOptimize(parsed);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
}

// Benchmarks run in the order of registration: these come after every single-threaded run.
void EnterThreadedProcess()
{
    static std::once_flag started;
    std::call_once(started, [] { std::thread([] {}).join(); });
}

void ErrorCopyAndDestroyThreaded(benchmark::State& state)
{
    EnterThreadedProcess();
    ErrorCopyAndDestroy(state);
}

void SharedPtrCopyAndDestroyThreaded(benchmark::State& state)
{
    EnterThreadedProcess();
    SharedPtrCopyAndDestroy(state);
}

BENCHMARK(ErrorCopyAndDestroy)->Name("ErrorCopyAndDestroy/SingleThreadedProcess");
BENCHMARK(SharedPtrCopyAndDestroy)->Name("SharedPtrCopyAndDestroy/SingleThreadedProcess");
BENCHMARK(SerializeAndParseThreeRecords);
BENCHMARK(ErrorCopyAndDestroyThreaded)->Name("ErrorCopyAndDestroy/ThreadedProcess");
BENCHMARK(SharedPtrCopyAndDestroyThreaded)->Name("SharedPtrCopyAndDestroy/ThreadedProcess");

} // namespace

BENCHMARK_MAIN();
