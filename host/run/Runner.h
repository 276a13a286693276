// Host::Run::Runner: plays a scenario against the add-on. It loads the module, builds every inspector
// over the host's components (Initialize with the scenario's settings, then Start, in the add-ons'
// order), then runs the steps on the virtual clock: before each step the clock moves to the step's time,
// firing the timers due on the way; after it the host waits until the feeds have delivered their news
// and no reader or timer runs. A restart stops and destroys the inspectors, reopens the store (from its
// file when there is one) and builds them again. At the end the inspectors are stopped, deinitialized
// and destroyed, and the alerts still held are summed up. Every line goes to `out` as JSON.
#pragma once

#include "run/Scenario.h"

#include <memory>
#include <ostream>
#include <string>

namespace Host::Run
{

struct RunOptions
{
    std::string AddonPath;
    // Empty: the store lives in memory.
    std::string StorePath;
    std::uint32_t TraceLevel = 0;
};

// Runs `scenario`; returns whether every expectation held. Throws Common::Error when the add-on or the
// store file cannot be opened, before any step runs. With `page`, writes the run's timeline page there
// at the end (TimelinePage.h).
bool RunScenario(const Scenario& scenario, const RunOptions& options, std::ostream& out,
                 std::ostream* page = nullptr);

} // namespace Host::Run
