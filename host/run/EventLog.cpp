#include "run/EventLog.h"

#include "scenario/UnitNotation.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <tuple>

namespace Host::Run
{

void EventLog::AddAlert(AlertEvent event)
{
    const std::lock_guard lock(Lock);
    event.Cause = Cause;
    event.Step = CauseStep;
    Pending.push_back(std::move(event));
}

void EventLog::SetCause(AlertCause cause, std::size_t step)
{
    const std::lock_guard lock(Lock);
    Cause = cause;
    CauseStep = step;
}

void EventLog::FlushAlerts()
{
    std::vector<AlertEvent> events;
    {
        const std::lock_guard lock(Lock);
        events.swap(Pending);
    }
    std::vector<std::pair<AlertEvent, std::string>> lines;
    for (AlertEvent& event : events)
    {
        nlohmann::ordered_json line;
        line["time"] = static_cast<double>(event.TimeMilliseconds) / 1000.0;
        line["event"] = event.Active ? "active" : "inactive";
        line["inspector"] = event.Inspector;
        line["id"] = Common::GuidToString(event.Id);
        line["type"] = event.Type;
        line["tenant"] = std::string(event.Tenant.begin(), event.Tenant.end());
        if (event.Meta != nullptr)
        {
            line["meta"] = ::Host::Scenario::WriteUnit(*event.Meta);
        }
        lines.emplace_back(std::move(event), line.dump());
    }
    // Inspectors run on threads of their own, so calls of one instant from different inspectors come in
    // any order: they are put in the inspectors' order. One inspector's calls keep the order it made
    // them in (a clear before a raise stays so).
    std::stable_sort(lines.begin(), lines.end(),
                     [](const auto& left, const auto& right)
                     {
                         return std::tie(left.first.TimeMilliseconds, left.first.InspectorOrder) <
                                std::tie(right.first.TimeMilliseconds, right.first.InspectorOrder);
                     });
    const std::lock_guard lock(Lock);
    for (auto& [event, text] : lines)
    {
        Out << text << '\n';
        History.push_back(std::move(event));
    }
    Out.flush();
}

void EventLog::Print(const std::string& line)
{
    FlushAlerts();
    const std::lock_guard lock(Lock);
    Out << line << '\n';
    Out.flush();
    Lines.push_back(line);
}

} // namespace Host::Run
