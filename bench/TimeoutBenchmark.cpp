// Arming and stopping one timeout while many others are armed: the monitor's queue is ordered, so the
// cost should grow with the logarithm of the armed count only.
#include "common/Timeout.h"

#include <benchmark/benchmark.h>

#include <vector>

namespace
{

unsigned Never(void*)
{
    return 0;
}

void ArmAndStopAmongArmed(benchmark::State& state)
{
    std::vector<Common::Timeout> armed;
    armed.reserve(static_cast<std::size_t>(state.range(0)));
    for (std::int64_t i = 0; i < state.range(0); ++i)
    {
        // Spread over an hour and more, so none fires during the run.
        armed.emplace_back(Never, nullptr, 3600000u + static_cast<std::uint32_t>(i), false);
    }
    for (auto _ : state)
    {
        Common::Timeout timeout(Never, nullptr, 3600000u + 500u, false);
        timeout.Stop();
    }
    state.SetLabel(std::to_string(state.range(0)) + " armed");
}
BENCHMARK(ArmAndStopAmongArmed)->Arg(1000)->Arg(100000);

} // namespace

BENCHMARK_MAIN();
