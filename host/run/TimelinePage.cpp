#include "run/TimelinePage.h"

#include "scenario/UnitNotation.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <tuple>

namespace Host::Run
{
namespace
{

using Json = nlohmann::ordered_json;

std::size_t LaneOf(std::vector<std::string>& lanes, const std::string& inspector)
{
    const auto found = std::find(lanes.begin(), lanes.end(), inspector);
    if (found != lanes.end())
    {
        return static_cast<std::size_t>(found - lanes.begin());
    }
    lanes.push_back(inspector);
    return lanes.size() - 1;
}

Json DescribeCause(const AlertEvent& event)
{
    static constexpr const char* Names[] = {"start", "step", "timer", "stop"};
    Json cause;
    cause["kind"] = Names[static_cast<std::size_t>(event.Cause)];
    if (event.Cause == AlertCause::Step)
    {
        cause["step"] = event.Step;
    }
    return cause;
}

Json DescribeBar(const TimelineRun& run, const TimelineBar& bar)
{
    const AlertEvent& activation = run.Alerts[bar.Activation];
    Json entry;
    entry["lane"] = bar.Lane;
    entry["from"] = activation.TimeMilliseconds;
    entry["to"] = nullptr;
    entry["id"] = Common::GuidToString(activation.Id);
    entry["type"] = activation.Type;
    entry["tenant"] = std::string(activation.Tenant.begin(), activation.Tenant.end());
    entry["meta"] = activation.Meta != nullptr ? ::Host::Scenario::WriteUnit(*activation.Meta) : Json();
    entry["cause"] = DescribeCause(activation);
    entry["clear"] = nullptr;
    if (bar.Clearing)
    {
        const AlertEvent& clearing = run.Alerts[*bar.Clearing];
        entry["to"] = clearing.TimeMilliseconds;
        entry["clear"] = DescribeCause(clearing);
        entry["clear"]["type"] = clearing.Type;
    }
    Json repeats = Json::array();
    for (const std::size_t repeat : bar.Repeats)
    {
        repeats.push_back(run.Alerts[repeat].TimeMilliseconds);
    }
    entry["repeats"] = std::move(repeats);
    return entry;
}

// The page's data as one JSON text that can stand inside a script element: every "<" escaped, so no
// "</script>" or "<!--" in a meta ends the element early.
std::string PageData(const TimelineRun& run)
{
    const Timeline timeline = BuildTimeline(run);
    std::uint64_t end = 0;
    Json steps = Json::array();
    for (const std::string& text : run.Lines)
    {
        Json line = Json::parse(text);
        const auto time = static_cast<std::uint64_t>(std::llround(line.value("time", 0.0) * 1000.0));
        end = std::max(end, time);
        if (line.value("event", "") != "step")
        {
            continue;
        }
        Json step;
        step["t"] = time;
        step["step"] = line.value("step", std::size_t{0});
        step["action"] = line.value("action", "");
        step["offline"] = line.value("offline", false);
        step["line"] = std::move(line);
        steps.push_back(std::move(step));
    }
    Json bars = Json::array();
    for (const TimelineBar& bar : timeline.Bars)
    {
        bars.push_back(DescribeBar(run, bar));
    }
    Json timers = Json::array();
    for (const auto& [lane, time] : timeline.TimerFirings)
    {
        timers.push_back({lane, time});
    }
    for (const AlertEvent& event : run.Alerts)
    {
        end = std::max(end, event.TimeMilliseconds);
    }
    Json data;
    data["title"] = run.Title;
    data["start"] = run.StartSeconds;
    data["end"] = end;
    data["lanes"] = timeline.Lanes;
    data["steps"] = std::move(steps);
    data["bars"] = std::move(bars);
    data["timers"] = std::move(timers);
    const std::string text = data.dump(-1, ' ', false, Json::error_handler_t::replace);
    std::string escaped;
    escaped.reserve(text.size() + text.size() / 64);
    for (const char c : text)
    {
        c == '<' ? escaped += "\\u003c" : escaped += c;
    }
    return escaped;
}

std::string EscapeHtml(const std::string& text)
{
    std::string escaped;
    for (const char c : text)
    {
        switch (c)
        {
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '&':
            escaped += "&amp;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

const char* const PageHead = R"html(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>)html";

const char* const PageStyle = R"html(</title>
<style>
:root { --name: 240px; --axis: 34px; --steps: 26px; }
* { box-sizing: border-box; }
body { margin: 0; font: 13px/1.4 system-ui, sans-serif; color: #1d232b; background: #f6f7f9; }
header { padding: 10px 16px 6px; background: #fff; border-bottom: 1px solid #d9dde3; }
header h1 { margin: 0 0 2px; font-size: 16px; }
header .facts { color: #56606c; }
header .tools { margin-top: 6px; display: flex; gap: 12px; align-items: center; flex-wrap: wrap; }
header button { font: inherit; padding: 1px 9px; }
.legend span { display: inline-flex; align-items: center; gap: 4px; margin-right: 10px; color: #56606c; }
.legend i { display: inline-block; width: 14px; height: 10px; }
#chart { display: flex; background: #fff; border-bottom: 1px solid #d9dde3; }
#names { flex: 0 0 var(--name); border-right: 1px solid #d9dde3; }
#names div { padding: 2px 8px; border-bottom: 1px solid #eceef1; overflow: hidden; text-overflow: ellipsis;
  white-space: nowrap; }
#names small { color: #56606c; }
#scroll { flex: 1 1 auto; overflow-x: auto; position: relative; }
#canvas { position: relative; min-width: 100%; overflow: hidden; }
.row { position: relative; border-bottom: 1px solid #eceef1; }
.axis { height: var(--axis); background: #fafbfc; }
.axis b { position: absolute; top: 0; bottom: 0; border-left: 1px solid #d9dde3; padding-left: 3px;
  font-weight: normal; color: #56606c; font-size: 11px; white-space: nowrap; }
.steps { height: var(--steps); }
.tick { position: absolute; top: 3px; bottom: 3px; width: 3px; margin-left: -1px; cursor: pointer; }
.write { background: #2f6fd0; }
.offline { background: #8aa9d8; }
.restart { background: #c62828; width: 4px; }
.other { background: #9aa3ad; }
.vline { position: absolute; top: 0; bottom: 0; width: 0; border-left: 2px dashed #c62828; opacity: .55;
  pointer-events: none; }
.timer { position: absolute; top: 0; height: 6px; width: 2px; background: #e08a00; }
.bar { position: absolute; min-width: 3px; background: #d9534f; border-radius: 2px; cursor: pointer; }
.bar.open { background: #b23a37; }
.bar.selected { outline: 2px solid #1d232b; z-index: 1; }
.finding .bar:not(.match) { opacity: .15; }
.bar i { position: absolute; top: 0; bottom: 0; width: 2px; background: #ffd7d4; }
#details { padding: 10px 16px 24px; }
#details h2 { font-size: 15px; margin: 0 0 6px; }
#details dl { display: grid; grid-template-columns: max-content auto; gap: 2px 14px; margin: 0 0 8px; }
#details dt { color: #56606c; }
#details dd { margin: 0; font-family: ui-monospace, monospace; }
#details pre { background: #fff; border: 1px solid #d9dde3; padding: 8px; margin: 4px 0 10px; overflow: auto;
  max-height: 420px; font-size: 12px; }
footer { padding: 0 16px 12px; color: #56606c; }
#selftest { display: none; }
</style>
</head>
<body>
<header>
  <h1 id="title"></h1>
  <div class="facts" id="facts"></div>
  <div class="tools">
    <span>Zoom <button id="zoom-out" title="Zoom out">&minus;</button> <button id="zoom-in" title="Zoom in">+</button>
      <button id="zoom-fit">Fit</button> <span id="zoom-text"></span></span>
    <span>Find <input id="find" type="search" placeholder="id or type" size="24"> <span id="find-text"></span></span>
    <span class="legend"><span><i style="background:#d9534f"></i>alert</span><span><i style="background:#b23a37"></i>still active at the end</span><span><i style="background:#2f6fd0;width:3px"></i>store write</span><span><i style="background:#8aa9d8;width:3px"></i>write while down</span><span><i style="background:#c62828;width:4px"></i>restart</span><span><i style="background:#9aa3ad;width:3px"></i>other step</span><span><i style="background:#e08a00;width:2px;height:6px"></i>timer firing</span><span><i style="background:#ffd7d4;width:2px;outline:1px solid #d9534f"></i>repeated activation</span></span>
  </div>
</header>
<div id="chart"><div id="names"></div><div id="scroll"><div id="canvas"></div></div></div>
<section id="details"><h2>Click an alert or a step</h2></section>
<footer>Rendered in <span id="render-ms"></span> ms from the page's start.</footer>
<pre id="selftest"></pre>
<script id="timeline-data" type="application/json">)html";

const char* const PageScript = R"html(</script>
<script>
"use strict";
(function () {
  const scriptStart = performance.now();
  const data = JSON.parse(document.getElementById("timeline-data").textContent);
  const parsed = performance.now();
  const end = Math.max(data.end, 1);
  // Times run over 98% of the width, so a mark at the end stays in view.
  const percent = (t) => (t / end * 98).toFixed(4) + "%";
  const escape = (text) => String(text).replace(/[&<>"]/g, (c) => ({"&": "&amp;", "<": "&lt;", ">": "&gt;", '"': "&quot;"})[c]);
  const seconds = (ms) => (ms / 1000).toLocaleString("en", {maximumFractionDigits: 3}) + " s";
  const wall = (ms) => new Date(data.start * 1000 + ms).toISOString().replace(".000Z", "Z");
  const at = (ms) => seconds(ms) + " (" + wall(ms) + ")";
  const writes = new Set(["create", "store", "update", "delete", "batch"]);
  const stepLines = new Map();
  data.steps.forEach((s) => {
    if (!stepLines.has(s.step)) stepLines.set(s.step, []);
    stepLines.get(s.step).push(s);
  });

  // Bars of a lane go into rows, each bar in the first row whose last bar ended before it began.
  const lanes = data.lanes.map((name) => ({name: name, bars: [], rowEnds: [], timers: []}));
  data.bars.forEach((bar, index) => {
    const lane = lanes[bar.lane];
    const to = bar.to === null ? end : bar.to;
    let row = lane.rowEnds.findIndex((rowEnd) => rowEnd < bar.from);
    if (row < 0) { row = lane.rowEnds.length; lane.rowEnds.push(to); } else { lane.rowEnds[row] = to; }
    lane.bars.push([index, row]);
  });
  data.timers.forEach(([lane, t]) => lanes[lane].timers.push(t));

  document.getElementById("title").textContent = data.title;
  document.title = "Alert timeline: " + data.title;
  const activations = data.bars.length, open = data.bars.filter((b) => b.to === null).length;
  document.getElementById("facts").textContent = activations + " activations, " + open +
    " still active at the end; " + data.steps.length + " steps, " + data.timers.length +
    " timer firings; virtual time 0 to " + at(end);

  const names = [], rows = [];
  rows.push('<div class="row axis" id="axis"></div>');
  names.push('<div style="height:var(--axis)"></div>');
  const steps = data.steps.map((s, index) => {
    const kind = s.action === "restart" ? "restart" : s.offline ? "offline" : writes.has(s.action) ? "write" : "other";
    return '<span class="tick ' + kind + '" data-step="' + index + '" style="left:' + percent(s.t) + '" title="' +
      escape("step " + s.step + ": " + s.action + (s.offline ? " while down" : "") + " at " + seconds(s.t)) + '"></span>';
  });
  rows.push('<div class="row steps">' + steps.join("") + "</div>");
  names.push('<div style="height:var(--steps)">Steps</div>');
  lanes.forEach((lane) => {
    const count = Math.max(lane.rowEnds.length, 1);
    const rowHeight = count <= 4 ? 18 : count <= 20 ? 10 : count <= 100 ? 6 : 3;
    const barHeight = rowHeight > 4 ? rowHeight - 3 : rowHeight - 1;
    const height = Math.max(10 + count * rowHeight + 4, 38);
    const parts = lane.timers.map((t) => '<span class="timer" style="left:' + percent(t) + '" title="timer at ' + seconds(t) + '"></span>');
    lane.bars.forEach(([index, row]) => {
      const bar = data.bars[index];
      const to = bar.to === null ? end : bar.to;
      const repeats = bar.repeats.map((t) => '<i style="left:' + ((t - bar.from) / Math.max(to - bar.from, 1) * 100).toFixed(2) + '%"></i>').join("");
      parts.push('<div class="bar' + (bar.to === null ? " open" : "") + '" data-bar="' + index + '" style="left:' +
        percent(bar.from) + ";width:" + percent(to - bar.from) + ";top:" + (10 + row * rowHeight) + "px;height:" +
        barHeight + 'px" title="' + escape(bar.type + " " + bar.id + "\n" + seconds(bar.from) + " to " +
        (bar.to === null ? "the end" : seconds(bar.to))) + '">' + repeats + "</div>");
    });
    rows.push('<div class="row" style="height:' + height + 'px">' + parts.join("") + "</div>");
    names.push('<div style="height:' + height + 'px" title="' + escape(lane.name) + '">' + escape(lane.name) +
      "<br><small>" + lane.bars.length + (lane.bars.length === 1 ? " activation" : " activations") + "</small></div>");
  });
  data.steps.forEach((s) => {
    if (s.action === "restart") rows.push('<div class="vline" style="left:' + percent(s.t) + '"></div>');
  });
  const canvas = document.getElementById("canvas");
  canvas.innerHTML = rows.join("");
  document.getElementById("names").innerHTML = names.join("");
  const barElements = [];
  canvas.querySelectorAll(".bar").forEach((e) => { barElements[Number(e.dataset.bar)] = e; });

  // The axis: about one label per 110 pixels, at 1, 2 or 5 times a power of ten seconds.
  let zoom = 1;
  function drawAxis() {
    const width = canvas.getBoundingClientRect().width || 1000;
    const rough = end / 1000 / Math.max(width / 110, 1);
    const power = Math.pow(10, Math.floor(Math.log10(Math.max(rough, 0.001))));
    const step = [1, 2, 5, 10].map((f) => f * power).find((s) => s >= rough) * 1000;
    const labels = [];
    for (let t = 0; t <= end; t += step) {
      labels.push('<b style="left:' + percent(t) + '" title="' + wall(t) + '">' + seconds(t) + "<br>" +
        wall(t).slice(11, 19) + "</b>");
    }
    document.getElementById("axis").innerHTML = labels.join("");
  }
  function setZoom(value) {
    zoom = Math.min(Math.max(value, 1), 4096);
    canvas.style.width = (zoom * 100) + "%";
    document.getElementById("zoom-text").textContent = zoom === 1 ? "" : "×" + zoom;
    drawAxis();
  }
  document.getElementById("zoom-in").onclick = () => setZoom(zoom * 2);
  document.getElementById("zoom-out").onclick = () => setZoom(zoom / 2);
  document.getElementById("zoom-fit").onclick = () => setZoom(1);
  drawAxis();

  const pretty = (value) => JSON.stringify(value, null, 2);
  function causeText(cause, t) {
    if (cause.kind === "step") {
      const lines = stepLines.get(cause.step) || [];
      const action = lines.length ? lines[0].action : "?";
      return {title: "step " + cause.step + " (" + action + ") at " + seconds(t), heading: "The step",
        lines: lines.map((s) => s.line)};
    }
    if (cause.kind === "timer") {
      let last = null;
      data.steps.forEach((s) => { if (s.t <= t && writes.has(s.action)) last = s; });
      return {title: "timer: the clock moved on to " + seconds(t) + " with no step" +
        (last ? "; the latest store write before it: step " + last.step + " (" + last.action + ") at " + seconds(last.t) : ""),
        heading: "The latest store write before it", lines: last ? [last.line] : []};
    }
    return {title: cause.kind === "start" ? "the host starting the inspectors" : "the host stopping the inspectors", lines: []};
  }
  const details = document.getElementById("details");
  function field(name, id, value) {
    return "<dt>" + name + '</dt><dd id="' + id + '">' + escape(value) + "</dd>";
  }
  function selectBar(index) {
    const bar = data.bars[index];
    document.querySelectorAll(".bar.selected").forEach((e) => e.classList.remove("selected"));
    if (barElements[index]) barElements[index].classList.add("selected");
    const cause = causeText(bar.cause, bar.from);
    const clear = bar.clear === null ? "still active at the end" :
      causeText(bar.clear, bar.to).title + (bar.clear.type === "" ? ", clearing every type of the id" : "");
    details.innerHTML = "<h2>" + escape(bar.type) + "</h2><dl>" +
      field("Inspector", "detail-inspector", data.lanes[bar.lane]) + field("ID", "detail-id", bar.id) +
      field("Type", "detail-type", bar.type) + field("Tenant", "detail-tenant", bar.tenant || "(none)") +
      field("Active", "detail-active", at(bar.from) + " to " + (bar.to === null ? "the end" : at(bar.to))) +
      field("Repeated", "detail-repeats", bar.repeats.length ? bar.repeats.map(seconds).join(", ") : "no") +
      field("Caused by", "detail-cause", cause.title) + field("Cleared by", "detail-clear", clear) +
      '</dl><h3>Meta</h3><pre id="detail-meta">' + escape(pretty(bar.meta)) + "</pre>" +
      (cause.lines.length ? "<h3>" + cause.heading + '</h3><pre id="detail-step">' + escape(cause.lines.map(pretty).join("\n")) + "</pre>" : "");
  }
  function selectStep(index) {
    const s = data.steps[index];
    details.innerHTML = "<h2>Step " + s.step + ": " + escape(s.action) + (s.offline ? " while down" : "") + "</h2><dl>" +
      field("At", "detail-at", at(s.t)) + '</dl><pre id="detail-step">' + escape(pretty(s.line)) + "</pre>";
  }
  canvas.addEventListener("click", (event) => {
    const bar = event.target.closest("[data-bar]");
    if (bar) return selectBar(Number(bar.dataset.bar));
    const step = event.target.closest("[data-step]");
    if (step) selectStep(Number(step.dataset.step));
  });

  // Find: bars whose id or type holds the text stand out; Enter clicks the first of them.
  const find = document.getElementById("find");
  let matches = [];
  find.addEventListener("input", () => {
    const text = find.value.trim().toLowerCase();
    canvas.querySelectorAll(".bar.match").forEach((e) => e.classList.remove("match"));
    canvas.classList.toggle("finding", text !== "");
    matches = text === "" ? [] : data.bars.map((b, i) => (b.id.toLowerCase().includes(text) ||
      b.type.toLowerCase().includes(text)) ? i : -1).filter((i) => i >= 0);
    matches.forEach((i) => barElements[i].classList.add("match"));
    document.getElementById("find-text").textContent = text === "" ? "" : matches.length + " found";
  });
  find.addEventListener("keydown", (event) => {
    if (event.key !== "Enter" || !matches.length) return;
    const element = barElements[matches[0]];
    element.click();
    element.scrollIntoView({block: "center", inline: "center"});
  });

  void document.body.offsetHeight;
  const rendered = performance.now();
  document.getElementById("render-ms").textContent = rendered.toFixed(1);

  // "#zoom=8&find=Backup&bar=3" opens the page zoomed in, finding "Backup", with the fourth bar clicked;
  // "selftest" writes what the page shows into #selftest for a headless browser's dumped document.
  const options = new URLSearchParams(location.hash.slice(1));
  if (options.has("zoom")) setZoom(Number(options.get("zoom")) || 1);
  if (options.has("find")) {
    find.value = options.get("find");
    find.dispatchEvent(new Event("input"));
  }
  if (options.has("bar")) {
    const element = barElements[Number(options.get("bar"))];
    if (element) { element.click(); element.scrollIntoView({block: "nearest", inline: "center"}); }
  }
  if (options.has("selftest")) {
    const meta = document.getElementById("detail-meta");
    document.getElementById("selftest").textContent = JSON.stringify({
      bars: canvas.querySelectorAll(".bar").length,
      renderMilliseconds: rendered,
      scriptStartMilliseconds: scriptStart,
      parseMilliseconds: parsed - scriptStart,
      id: meta ? document.getElementById("detail-id").textContent : null,
      type: meta ? document.getElementById("detail-type").textContent : null,
      meta: meta ? JSON.parse(meta.textContent) : null,
      cause: meta ? document.getElementById("detail-cause").textContent : null,
    });
  }
})();
</script>
</body>
</html>
)html";

} // namespace

Timeline BuildTimeline(const TimelineRun& run)
{
    Timeline timeline;
    timeline.Lanes = run.Inspectors;
    // Open bars by lane, id and type; the order lets an empty type find every type of an id.
    std::map<std::tuple<std::size_t, std::string, std::string>, std::size_t> open;
    std::set<std::pair<std::size_t, std::uint64_t>> timers;
    for (std::size_t index = 0; index < run.Alerts.size(); ++index)
    {
        const AlertEvent& event = run.Alerts[index];
        const std::size_t lane = LaneOf(timeline.Lanes, event.Inspector);
        const std::string id = Common::GuidToString(event.Id);
        if (event.Cause == AlertCause::Clock)
        {
            timers.emplace(lane, event.TimeMilliseconds);
        }
        if (event.Active)
        {
            const auto [found, added] = open.try_emplace({lane, id, event.Type}, timeline.Bars.size());
            if (added)
            {
                timeline.Bars.push_back({lane, index, std::nullopt, {}});
            }
            else
            {
                timeline.Bars[found->second].Repeats.push_back(index);
            }
            continue;
        }
        for (auto entry = open.lower_bound({lane, id, event.Type});
             entry != open.end() && std::get<0>(entry->first) == lane && std::get<1>(entry->first) == id &&
             (event.Type.empty() || std::get<2>(entry->first) == event.Type);)
        {
            timeline.Bars[entry->second].Clearing = index;
            entry = open.erase(entry);
        }
    }
    timeline.TimerFirings.assign(timers.begin(), timers.end());
    return timeline;
}

void WriteTimelinePage(const TimelineRun& run, std::ostream& out)
{
    const std::string data = PageData(run);
    out << PageHead << EscapeHtml("Alert timeline: " + run.Title) << PageStyle << data << PageScript;
    out.flush();
}

} // namespace Host::Run
