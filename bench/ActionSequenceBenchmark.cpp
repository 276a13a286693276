// The price of a sequence per step: a run of a million actions that complete inside Perform, through the
// sequence's job control and tail-recursion loop, against a hand-written loop that performs the same
// actions with a plain handler. The ratio is the sequence's overhead per step.
#include "async/ActionSequence.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <vector>

namespace
{

constexpr int Steps = 1'000'000;

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

// The end of a run; a metronome beat may have moved the run to a service thread.
class EndHandler final : public Async::ActionHandler
{
public:
    void Completed(const Common::Error&) override
    {
        Done.store(true, std::memory_order_release);
        Done.notify_one();
    }
    void WaitAndReset()
    {
        Done.wait(false, std::memory_order_acquire);
        Done.store(false, std::memory_order_relaxed);
    }

private:
    std::atomic<bool> Done{false};
};

std::vector<std::shared_ptr<Async::Action>> MakeActions()
{
    // Distinct objects, as a real sequence holds, so both loops walk the same memory.
    std::vector<std::shared_ptr<Async::Action>> actions;
    actions.reserve(Steps);
    for (int step = 0; step < Steps; ++step)
    {
        actions.push_back(std::make_shared<CompletingAction>());
    }
    return actions;
}

void SetPerStep(benchmark::State& state)
{
    state.counters["per_step"] = benchmark::Counter(Steps, benchmark::Counter::kIsIterationInvariantRate |
                                                               benchmark::Counter::kInvert);
}

void SequenceOfSynchronousActions(benchmark::State& state)
{
    const auto actions = MakeActions();
    Async::ActionSequence sequence;
    for (const auto& action : actions)
    {
        sequence.Execute(action);
    }
    EndHandler end;
    for (auto _ : state)
    {
        sequence.Perform(end);
        end.WaitAndReset();
    }
    SetPerStep(state);
}
BENCHMARK(SequenceOfSynchronousActions)->Unit(benchmark::kMillisecond);

void HandWrittenLoop(benchmark::State& state)
{
    const auto actions = MakeActions();
    CountingHandler handler;
    for (auto _ : state)
    {
        for (const auto& action : actions)
        {
            Async::Action* performed = action.get();
            benchmark::DoNotOptimize(performed);
            performed->Perform(handler);
        }
    }
    benchmark::DoNotOptimize(handler.Count);
    SetPerStep(state);
}
BENCHMARK(HandWrittenLoop)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
