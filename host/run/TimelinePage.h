// Host::Run::TimelinePage: a page of one scenario run for people, in one HTML file with its styles, script
// and data inline, so it opens anywhere with no network. One lane per inspector, each alert a bar on the
// virtual time axis from its activation to its clearing, instants for store writes, restarts and timer
// firings, and on a click the alert's id, type, meta and the step that caused it.
#pragma once

#include "run/EventLog.h"

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace Host::Run
{

// What a run printed, as the event log kept it.
struct TimelineRun
{
    std::string Title;
    std::int64_t StartSeconds = 0;       // the wall time at virtual time 0
    std::vector<std::string> Inspectors; // the lanes, in the add-ons' order
    std::vector<AlertEvent> Alerts;      // in printed order
    std::vector<std::string> Lines;      // the runner's own JSON lines, in printed order
};

// One stay of an alert in the host's keeping. An activation is an OnActive for an inspector, id and type
// that has no open bar: it opens one. An OnActive while the bar is open repeats it (counted, not drawn
// anew); OnInactive of the type, or with an empty type of every type of the id, closes it, and one with
// nothing open changes nothing. A bar still open at the end has no clearing.
struct TimelineBar
{
    std::size_t Lane = 0;
    std::size_t Activation = 0;          // index in TimelineRun::Alerts
    std::optional<std::size_t> Clearing; // index in TimelineRun::Alerts
    std::vector<std::size_t> Repeats;    // indexes in TimelineRun::Alerts
};

struct Timeline
{
    // The run's inspectors, then any other that made a call.
    std::vector<std::string> Lanes;
    // By activation, in printed order.
    std::vector<TimelineBar> Bars;
    // A lane and a virtual time (milliseconds) at which a timer of that inspector made alert calls;
    // a timer that fired and called nothing leaves no mark.
    std::vector<std::pair<std::size_t, std::uint64_t>> TimerFirings;
};

Timeline BuildTimeline(const TimelineRun& run);

// Writes the whole page. Throws nlohmann's parse error when a line of `run` is not JSON.
void WriteTimelinePage(const TimelineRun& run, std::ostream& out);

} // namespace Host::Run
