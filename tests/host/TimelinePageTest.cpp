// The timeline's bars follow the host's keeping of alerts: a repeated activation draws no new bar, a
// clearing with an empty type closes every type of the id, and a clearing of nothing changes nothing. The
// page carries any meta text inline without ending its script early.
#include "run/TimelinePage.h"

#include "por/PorUnit.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

namespace
{

using Host::Run::AlertCause;
using Host::Run::AlertEvent;

Common::Guid Id(std::uint32_t value)
{
    Common::Guid id{};
    id.Data1 = value;
    return id;
}

AlertEvent Call(std::uint64_t time, const std::string& inspector, bool active, std::uint32_t id,
                const std::string& type, AlertCause cause = AlertCause::Step, std::size_t step = 0)
{
    AlertEvent event;
    event.TimeMilliseconds = time;
    event.Inspector = inspector;
    event.Active = active;
    event.Id = Id(id);
    event.Type = type;
    event.Cause = cause;
    event.Step = step;
    if (active)
    {
        Por::Unit meta = Por::Unit::Composite();
        meta["Note"] = std::u16string(u"</script><!-- a meta & more");
        event.Meta = meta.Result();
    }
    return event;
}

TEST(TimelinePageTest, BarsOpenOnActivationAndCloseAsTheHostForgets)
{
    Host::Run::TimelineRun run;
    run.Inspectors = {"A", "B"};
    run.Alerts = {
        Call(0, "B", false, 1, "X", AlertCause::Start), // nothing open: no bar, no change
        Call(10, "A", true, 1, "X"),                    // bar 0
        Call(10, "A", true, 1, "Y"),                    // bar 1, same id
        Call(20, "A", true, 1, "X", AlertCause::Clock), // repeats bar 0
        Call(20, "B", true, 1, "X", AlertCause::Clock), // bar 2: another lane
        Call(30, "A", false, 1, "X"),                   // closes bar 0 only
        Call(40, "A", true, 1, "X"),                    // bar 3
        Call(50, "A", false, 1, "", AlertCause::Clock), // closes bars 1 and 3
        Call(60, "C", true, 2, "Z"),                    // bar 4 in a lane of its own, open at the end
    };
    const Host::Run::Timeline timeline = Host::Run::BuildTimeline(run);

    EXPECT_EQ(timeline.Lanes, (std::vector<std::string>{"A", "B", "C"}));
    ASSERT_EQ(timeline.Bars.size(), 5u);
    const std::vector<std::tuple<std::size_t, std::size_t, std::optional<std::size_t>, std::size_t>>
        expected = {
            {0, 1, 5, 1}, {0, 2, 7, 0}, {1, 4, std::nullopt, 0}, {0, 6, 7, 0}, {2, 8, std::nullopt, 0}};
    for (std::size_t index = 0; index < expected.size(); ++index)
    {
        const Host::Run::TimelineBar& bar = timeline.Bars[index];
        EXPECT_EQ(std::make_tuple(bar.Lane, bar.Activation, bar.Clearing, bar.Repeats.size()),
                  expected[index])
            << "bar " << index;
    }
    // One firing per lane and instant, from the calls made while the clock moved on.
    EXPECT_EQ(timeline.TimerFirings,
              (std::vector<std::pair<std::size_t, std::uint64_t>>{{0, 20}, {0, 50}, {1, 20}}));
}

TEST(TimelinePageTest, PageCarriesItsDataInlineAndIntact)
{
    Host::Run::TimelineRun run;
    run.Title = "a <b> & c.json";
    run.Inspectors = {"A"};
    run.Alerts = {Call(1500, "A", true, 1, "X", AlertCause::Step, 0)};
    run.Lines = {R"({"time":1.5,"event":"step","step":0,"action":"store","object":{"Name":"</script>"}})",
                 R"({"time":2.0,"event":"summary","active":[],"expectations":"held"})"};
    std::ostringstream out;
    Host::Run::WriteTimelinePage(run, out);
    const std::string page = out.str();

    EXPECT_NE(page.find("<title>Alert timeline: a &lt;b&gt; &amp; c.json</title>"), std::string::npos);
    // Only the two script elements end: the data's own "</script>" texts are escaped.
    std::size_t ends = 0;
    for (std::size_t at = page.find("</script>"); at != std::string::npos;
         at = page.find("</script>", at + 1))
    {
        ++ends;
    }
    EXPECT_EQ(ends, 2u);
    const std::string open = R"(<script id="timeline-data" type="application/json">)";
    const std::size_t from = page.find(open) + open.size();
    const nlohmann::json data = nlohmann::json::parse(page.substr(from, page.find("</script>", from) - from));
    EXPECT_EQ(data["end"], 2000);
    EXPECT_EQ(data["bars"][0]["from"], 1500);
    EXPECT_EQ(data["bars"][0]["to"], nullptr);
    EXPECT_EQ(data["bars"][0]["meta"]["Note"], "</script><!-- a meta & more");
    EXPECT_EQ(data["bars"][0]["cause"], nlohmann::json({{"kind", "step"}, {"step", 0}}));
    EXPECT_EQ(data["steps"][0]["line"]["object"]["Name"], "</script>");
}

} // namespace
