// The price of JobControl's guarantees on its common path: a run of an action that completes inside
// Perform. Beside it, the same work done by hand (three compare-exchanges on one state word and the
// three virtual calls: Perform, the control's Completed, the upper handler's Completed), and the
// std::promise/std::future round trip a user would otherwise reach for.
#include "async/JobControl.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <future>

namespace
{

class CompletingAction final : public Async::Action
{
public:
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override
    {
        handler.Completed(Common::Success);
        return nullptr;
    }
};

class CountingHandler final : public Async::ActionHandler
{
public:
    void Completed(const Common::Error& result) override { Count += result.GetCode() == 0 ? 1 : 2; }
    std::uint64_t Count = 0;
};

// Hides the dynamic types from the optimiser, so every call stays virtual as in the control.
template <typename T>
T* Opaque(T* pointer)
{
    benchmark::DoNotOptimize(pointer);
    return pointer;
}

void JobControlRun(benchmark::State& state)
{
    CompletingAction action;
    CountingHandler handler;
    Async::JobControl control;
    Async::Action* performed = Opaque<Async::Action>(&action);
    Async::ActionHandler* upper = Opaque<Async::ActionHandler>(&handler);
    for (auto _ : state)
    {
        control.Run(*performed, *upper, nullptr);
    }
    benchmark::DoNotOptimize(handler.Count);
    state.SetLabel("synchronously completing action");
}
BENCHMARK(JobControlRun);

// The control's common path written out by hand: no matrix, no loops, no result bookkeeping.
class HandControl final : public Async::ActionHandler
{
public:
    void Run(Async::Action& action, Async::ActionHandler& handler)
    {
        Handler = &handler;
        action.Perform(*this);
        std::uint32_t expected = 2;
        State.compare_exchange_strong(expected, 10, std::memory_order_acq_rel);
        expected = 10;
        State.compare_exchange_strong(expected, 0, std::memory_order_acq_rel);
        Handler->Completed(Result);
    }
    void Completed(const Common::Error& result) override
    {
        Result = result;
        std::uint32_t expected = 0;
        State.compare_exchange_strong(expected, 2, std::memory_order_acq_rel);
    }

private:
    std::atomic<std::uint32_t> State{0};
    Async::ActionHandler* Handler = nullptr;
    Common::Error Result;
};

void HandWrittenBaseline(benchmark::State& state)
{
    CompletingAction action;
    CountingHandler handler;
    HandControl control;
    Async::Action* performed = Opaque<Async::Action>(&action);
    Async::ActionHandler* upper = Opaque<Async::ActionHandler>(&handler);
    HandControl* hand = Opaque(&control);
    for (auto _ : state)
    {
        hand->Run(*performed, *upper);
    }
    benchmark::DoNotOptimize(handler.Count);
    state.SetLabel("3 compare-exchanges + 3 virtual calls");
}
BENCHMARK(HandWrittenBaseline);

void PromiseFutureRoundTrip(benchmark::State& state)
{
    std::uint64_t count = 0;
    for (auto _ : state)
    {
        std::promise<Common::Error> promise;
        std::future<Common::Error> future = promise.get_future();
        promise.set_value(Common::Success);
        count += future.get().GetCode() == 0 ? 1 : 2;
    }
    benchmark::DoNotOptimize(count);
    state.SetLabel("std::promise<Common::Error> set, then get");
}
BENCHMARK(PromiseFutureRoundTrip);

} // namespace

BENCHMARK_MAIN();
