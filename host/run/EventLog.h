// Host::Run::EventLog: what a run prints, one JSON object per line. Alert calls arrive from readers and
// timers on any thread; they wait here until the step that caused them has settled, and are then
// printed by time and inspector, each inspector's calls in the order it made them, so the same scenario
// always prints the same bytes. Lines the runner writes itself (steps, errors, expectations) go out at once, in order.
#pragma once

#include "common/Guid.h"
#include "por/Forward.h"

#include <cstdint>
#include <mutex>
#include <utility>
#include <ostream>
#include <string>
#include <vector>

namespace Host::Run
{

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

    std::vector<AlertEvent> TakeAll() { return std::exchange(History, {}); }

private:
    std::ostream& Out;
    std::mutex Lock;
    std::vector<AlertEvent> Pending;
    std::vector<AlertEvent> History;
};

} // namespace Host::Run
