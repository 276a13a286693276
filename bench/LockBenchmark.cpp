// Locking a mutex nobody else wants: Common::LightMutex against std::recursive_mutex, the standard
// recursive lock (with Common::Mutex beside them), in one run. Both the light mutex and glibc skip the
// atomics while the process has never started a second thread, so each is measured in both states. The
// contended runs show the price of the light mutex's strict hand-over through its event.
#include "common/LightMutex.h"
#include "common/Mutex.h"

#include <benchmark/benchmark.h>

#include <mutex>
#include <thread>

namespace
{

void LightMutexLockUnlock(benchmark::State& state)
{
    Common::LightMutex mutex;
    for (auto _ : state)
    {
        mutex.Lock();
        mutex.Unlock();
        benchmark::ClobberMemory();
    }
}

void RecursiveMutexLockUnlock(benchmark::State& state)
{
    std::recursive_mutex mutex;
    for (auto _ : state)
    {
        mutex.lock();
        mutex.unlock();
        benchmark::ClobberMemory();
    }
}

void CommonMutexLockUnlock(benchmark::State& state)
{
    Common::Mutex mutex;
    for (auto _ : state)
    {
        mutex.Lock();
        mutex.Unlock();
        benchmark::ClobberMemory();
    }
}

// A second hold by the owner.
void LightMutexNestedLockUnlock(benchmark::State& state)
{
    Common::LightMutex mutex;
    mutex.Lock();
    for (auto _ : state)
    {
        mutex.Lock();
        mutex.Unlock();
        benchmark::ClobberMemory();
    }
    mutex.Unlock();
}

void RecursiveMutexNestedLockUnlock(benchmark::State& state)
{
    std::recursive_mutex mutex;
    mutex.lock();
    for (auto _ : state)
    {
        mutex.lock();
        mutex.unlock();
        benchmark::ClobberMemory();
    }
    mutex.unlock();
}

// Benchmarks run in the order of registration: these come after every single-threaded run.
template <void (*Run)(benchmark::State&)>
void InThreadedProcess(benchmark::State& state)
{
    static std::once_flag started;
    std::call_once(started, [] { std::thread([] {}).join(); });
    Run(state);
}

Common::LightMutex SharedLight;
std::recursive_mutex SharedRecursive;

void LightMutexContended(benchmark::State& state)
{
    for (auto _ : state)
    {
        SharedLight.Lock();
        SharedLight.Unlock();
    }
}

void RecursiveMutexContended(benchmark::State& state)
{
    for (auto _ : state)
    {
        SharedRecursive.lock();
        SharedRecursive.unlock();
    }
}

} // namespace

BENCHMARK(LightMutexLockUnlock)->Name("LightMutexLockUnlock/SingleThreadedProcess");
BENCHMARK(RecursiveMutexLockUnlock)->Name("RecursiveMutexLockUnlock/SingleThreadedProcess");
BENCHMARK(LightMutexNestedLockUnlock)->Name("LightMutexNestedLockUnlock/SingleThreadedProcess");
BENCHMARK(RecursiveMutexNestedLockUnlock)->Name("RecursiveMutexNestedLockUnlock/SingleThreadedProcess");
BENCHMARK(InThreadedProcess<LightMutexLockUnlock>)->Name("LightMutexLockUnlock/ThreadedProcess");
BENCHMARK(InThreadedProcess<RecursiveMutexLockUnlock>)->Name("RecursiveMutexLockUnlock/ThreadedProcess");
BENCHMARK(InThreadedProcess<CommonMutexLockUnlock>)->Name("CommonMutexLockUnlock/ThreadedProcess");
BENCHMARK(InThreadedProcess<LightMutexNestedLockUnlock>)->Name("LightMutexNestedLockUnlock/ThreadedProcess");
BENCHMARK(InThreadedProcess<RecursiveMutexNestedLockUnlock>)
    ->Name("RecursiveMutexNestedLockUnlock/ThreadedProcess");
BENCHMARK(LightMutexContended)->Name("LightMutexContended")->Threads(2)->UseRealTime();
BENCHMARK(RecursiveMutexContended)->Name("RecursiveMutexContended")->Threads(2)->UseRealTime();

BENCHMARK_MAIN();
