// Host::Run::EventLog: what a run prints, one JSON object per line. Alert calls arrive from readers and
// timers on any thread; they wait here until the step that caused them has settled, and are then
// printed by time and inspector, each inspector's calls in the order it made them, so the same scenario
// always prints the same bytes. Lines the runner writes itself (steps, errors, expectations) go out at once,
// in order. Everything printed is also kept, so a page of the run can be drawn from the same data afterwards.
#pragma once

#include "common/Guid.h"
#include "por/Forward.h"

#include <cstdint>
#include <mutex>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace Host::Run
{

// What the host was doing when an alert call came: starting the inspectors, playing a step, moving the
// clock on (so a timer fired), or stopping them at the end. The runner settles and flushes before it
// changes this, so no call of one phase is stamped with the next.
enum class AlertCause
{
    Start,
    Step,
    Clock,
    Stop,
};

struct AlertEvent
{
    std::uint64_t TimeMilliseconds = 0;
    std::size_t InspectorOrder = 0;
    std::string Inspector;
    bool Active = false;
    std::string Type;
    Common::Guid Id;
    std::u16string Tenant;
    Por::ConstUnitPtr Meta; // activations only
    AlertCause Cause = AlertCause::Start;
    std::size_t Step = 0; // the step's index, when Cause is Step
};

class EventLog
{
public:
    explicit EventLog(std::ostream& out) : Out(out) {}

    void AddAlert(AlertEvent event);
    // Prints the alert calls gathered so far, sorted.
    void FlushAlerts();
    // Prints one line the runner made (a JSON object in text form), after the gathered alerts.
    void Print(const std::string& line);
    // Stamps the alert calls that come from now on.
    void SetCause(AlertCause cause, std::size_t step = 0);

    // The alert calls printed so far, in their printed order, and the runner's lines.
    std::vector<AlertEvent> TakeAll() { return std::exchange(History, {}); }
    std::vector<std::string> TakeLines() { return std::exchange(Lines, {}); }

private:
    std::ostream& Out;
    std::mutex Lock;
    std::vector<AlertEvent> Pending;
    std::vector<AlertEvent> History;
    std::vector<std::string> Lines;
    AlertCause Cause = AlertCause::Start;
    std::size_t CauseStep = 0;
};

} // namespace Host::Run
