// The report page built from hand-made output folders: pictures, positions, axes, populations, errors.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "local_calendar.h"
#include "night_metrics.h"
#include "night_summary.h"
#include "night_svg.h"
#include "population_page.h"
#include "report_html.h"
#include "scenario.h"
#include "scoped_time_zone.h"
#include "sim_cli.h"
#include "test_files.h"
#include "timeline.h"
#include "trace.h"
#include "trace_writer.h"

namespace OHOS::Sim {
namespace {

using Emulator::ReadFile;

using Emulator::ScopedTimeZone;
using Json = nlohmann::ordered_json;

constexpr int32_t kRowPitch = 12;
constexpr int32_t kTop = 2;
const CivilDate kFirstEvening{2026, 1, 5};

int32_t RowY(int32_t row)
{
    return kTop + row * kRowPitch;
}

// Epoch ms of hour:minute after the midnight that starts 2026-01-05 (hours past 24 run on).
int64_t At(int32_t hour, int32_t minute)
{
    return LocalTimeMs(kFirstEvening, hour * 60 + minute);
}

// x in the first night's picture of a time given as hours and minutes after 21:00.
int32_t XAfterNine(int32_t hours, int32_t minutes)
{
    return kPictureLeft + hours * 60 + minutes;
}

size_t Count(const std::string& text, const std::string& what)
{
    size_t count = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
        ++count;
    }
    return count;
}

// Writes the files of one run's output folder.
class RunFolder {
public:
    explicit RunFolder(const std::string& dir, const std::string& zone = "UTC0") : dir_(dir), zone_(zone)
    {
        std::filesystem::create_directories(dir_);
    }

    void Night(const CivilDate& wakeDate, int64_t onsetMs, int64_t wakeMs, std::vector<TimeSpan> awakenings = {})
    {
        NightTruth night;
        night.wakeDate = wakeDate;
        night.window = NoonToNoon(wakeDate);
        night.bedMs = onsetMs - 20 * kMsPerMinute;
        night.phoneDownMs = onsetMs - 10 * kMsPerMinute;
        night.onsetMs = onsetMs;
        night.wakeMs = wakeMs;
        night.awakenings = awakenings;
        nights_.push_back(night);
        timeline_.Add(onsetMs, TIMELINE_TRUTH, {{"what", "asleep"}});
        for (const TimeSpan& awake : awakenings) {
            timeline_.Add(awake.beginMs, TIMELINE_TRUTH, {{"what", "awake"}});
            timeline_.Add(awake.endMs, TIMELINE_TRUTH, {{"what", "asleep"}});
        }
        timeline_.Add(wakeMs, TIMELINE_TRUTH, {{"what", "awake"}});
    }
    void Event(int64_t t, TraceKind kind, int64_t number = 0) { events_.push_back(TraceEvent{t, kind, 0, number, ""}); }
    void Publish(int64_t t, const std::string& action, bool isSleep, int64_t wakeupTime = -1)
    {
        Json params{{"isSleep", isSleep}};
        if (wakeupTime > 0) {
            params["wakeupTime"] = wakeupTime;
        }
        timeline_.Add(t, TIMELINE_COMMON_EVENT,
            {{"action", action}, {"want", {{"action", action}, {"params", params}}}, {"restricted", true}});
    }
    void StopReason(int64_t t, int32_t reason)
    {
        timeline_.Add(t, TIMELINE_SYSTEM_EVENT,
            {{"name", POWER_BRAIN_STATE_EVENT}, {"params", {{"TYPE", 100}, {"VALUE", reason}, {"TIME", t}}}});
    }
    void Observe(int64_t t, int32_t verdict, int32_t bayes)
    {
        timeline_.Add(t, TIMELINE_HOST_MESSAGE, {{"id", 2000}, {"want", {{"params", {{"timestamp", t}}}}}});
        timeline_.Add(
            t, TIMELINE_HOST_MESSAGE, {{"id", verdict}, {"want", {{"params", {{"isSleep", verdict != 2002}}}}}});
        timeline_.Add(t + kMsPerDay, TIMELINE_SYSTEM_EVENT,
            {{"name", "SLEEP_KEY_FEATURE"}, {"params", {{"RECORD_TIMESTAMP", t}, {"BAYES_RESULT", bayes}}}});
    }
    void Write(const std::string& name, const std::string& text) const
    {
        std::ofstream(dir_ + "/" + name, std::ios::binary | std::ios::trunc) << text;
    }

    // Writes the folder as the simulator does and builds the page.
    std::string Report()
    {
        Save();
        std::string error;
        EXPECT_TRUE(WriteReport(dir_, error)) << error;
        return ReadFile(dir_ + "/" + REPORT_FILE);
    }
    void Save() const
    {
        ScopedTimeZone zone(zone_);
        Scenario scenario = DefaultScenario();
        scenario.timeZone = zone_;
        Write("scenario.json", ScenarioToJson(scenario));
        Trace trace;
        trace.nights = nights_;
        trace.events = events_;
        std::stable_sort(trace.events.begin(), trace.events.end(),
            [](const TraceEvent& a, const TraceEvent& b) { return a.timeMs < b.timeMs; });
        trace.startMs = INT64_MAX;
        trace.endMs = 0;
        for (const TraceEvent& event : trace.events) {
            trace.startMs = std::min(trace.startMs, event.timeMs);
            trace.endMs = std::max(trace.endMs, event.timeMs);
        }
        for (const NightTruth& night : trace.nights) {
            trace.startMs = std::min(trace.startMs, night.bedMs);
            trace.endMs = std::max(trace.endMs, night.wakeMs);
        }
        WriteTraceFile(dir_ + "/trace.jsonl", scenario, trace);
        timeline_.WriteJsonLines(dir_ + "/timeline.jsonl");
    }

private:
    std::string dir_;
    std::string zone_;
    std::vector<NightTruth> nights_;
    std::vector<TraceEvent> events_;
    Timeline timeline_;
};

class ReportHtmlTest : public testing::Test {
protected:
    void SetUp() override
    {
        const auto* info = testing::UnitTest::GetInstance()->current_test_info();
        dir_ = (std::filesystem::temp_directory_path() / ("report_html_test_" + std::to_string(::getpid())) /
                (std::string(info->test_suite_name()) + "." + info->name()))
                   .string();
        std::filesystem::remove_all(dir_);
        std::filesystem::create_directories(dir_);
    }
    void TearDown() override { std::filesystem::remove_all(std::filesystem::path(dir_).parent_path()); }

    // Two nights of a person in UTC with one of everything the pictures draw.
    void FillTwoNights(RunFolder& run)
    {
        ScopedTimeZone zone("UTC0");
        run.Night(CivilDate{2026, 1, 6}, At(23, 15), At(30, 45), {{At(27, 0), At(27, 20)}});
        run.Night(CivilDate{2026, 1, 7}, At(47, 0), At(54, 30));
        run.Event(At(12, 0), TraceKind::BOOT);
        run.Event(At(21, 30), TraceKind::POWER_CONNECTED);
        run.Event(At(22, 0), TraceKind::SCREEN_ON);
        run.Event(At(22, 5), TraceKind::UNLOCK);
        run.Event(At(22, 10), TraceKind::SCREEN_OFF);
        run.Event(At(22, 30), TraceKind::POWER_DISCONNECTED);
        run.Event(At(23, 0), TraceKind::STILL);
        run.Event(At(31, 0), TraceKind::MOVE);
        run.Event(At(23, 40), TraceKind::NEXT_ALARM, At(30, 45));
        run.Publish(At(23, 30), DEEP_SLEEP_EVENT, true, At(30, 15));
        run.Publish(At(23, 30), EASY_WAKEUP_EVENT, true);
        run.Publish(At(30, 0), DEEP_SLEEP_EVENT, false);
        run.StopReason(At(30, 0), -6);
        run.Publish(At(30, 0), EASY_WAKEUP_EVENT, false);
        run.Publish(At(31, 0), LIGHT_SLEEP_EVENT, true);
        run.Publish(At(31, 30), LIGHT_SLEEP_EVENT, false);
        run.Publish(At(32, 0), NOT_CARE_CHARGE_EVENT, true);
        run.Publish(At(32, 20), NOT_CARE_CHARGE_EVENT, false);
        run.Observe(At(23, 20), 2003, 1);
        run.Observe(At(23, 10), 2002, 0);
    }

    // A night of 8 hours' true sleep, 23:00 to 07:00, that the plug-in covers from its start by
    // `pluginCoverage`.
    static NightRecord ScoredNight(const std::string& person, const std::string& date, double pluginCoverage)
    {
        NightRecord night;
        night.person = person;
        night.night = date;
        night.window = {At(12, 0), At(36, 0)};
        night.sleep = {{At(23, 0), At(31, 0)}};
        const auto covered = static_cast<int64_t>(pluginCoverage * 8 * 60) * kMsPerMinute;
        night.verdicts[static_cast<size_t>(Rule::PLUGIN)].asleep = {{At(23, 0), At(23, 0) + covered}};
        return night;
    }

    std::string dir_;
};

TEST_F(ReportHtmlTest, DrawsOnePicturePerNightWithEachMarkAtItsTime)
{
    RunFolder run(dir_);
    FillTwoNights(run);
    const std::string page = run.Report();
    EXPECT_EQ(Count(page, "<figure class=\"night\""), 2u);
    EXPECT_EQ(Count(page, "<use href=\"#axis\"/>"), 2u);

    struct Mark {
        std::string cssClass;
        int32_t x;
        int32_t row;
        int32_t width; // 0: a tick
    };
    const std::vector<Mark> marks = {
        {"bd", XAfterNine(1, 55), 0, 20},  // in bed 22:55-23:15
        {"sl", XAfterNine(2, 15), 0, 225}, // asleep 23:15-03:00
        {"sl", XAfterNine(6, 20), 0, 205}, // asleep again 03:20-06:45
        {"so", XAfterNine(1, 0), 1, 10},   // screen on 22:00-22:10
        {"ul", XAfterNine(1, 5), 1, 0},    // unlock 22:05
        {"ch", XAfterNine(0, 30), 2, 60},  // charging 21:30-22:30
        {"st", XAfterNine(2, 0), 3, 480},  // still 23:00-07:00
        {"os", XAfterNine(2, 20), 4, 0},   // observation, asleep verdict, Bayes asleep
        {"dp", XAfterNine(2, 30), 5, 390}, // deep 23:30-06:00
        {"lt", XAfterNine(10, 0), 5, 30},  // light 07:00-07:30
        {"ew", XAfterNine(2, 30), 6, 390}, // easy wake-up with deep
        {"nc", XAfterNine(11, 0), 7, 20},  // not-care-charge 08:00-08:20
        {"pw", XAfterNine(9, 15), 5, 0},   // announced wake-up 06:15
        {"al", XAfterNine(9, 45), 0, 0},   // alarm 06:45
    };
    for (const Mark& mark : marks) {
        const int32_t y = RowY(mark.row);
        const std::string shape = mark.width > 0
                                      ? "M" + std::to_string(mark.x) + " " + std::to_string(y) + "h" +
                                            std::to_string(mark.width) + "v10h-" + std::to_string(mark.width) + "z"
                                      : "M" + std::to_string(mark.x) + " ";
        const std::regex element("<path class=\"" + mark.cssClass + "\" d=\"[^\"]*" + shape);
        EXPECT_TRUE(std::regex_search(page, element)) << mark.cssClass << " at x " << mark.x;
    }
    // The observation whose Bayes result said awake is a half tick after an awake verdict.
    EXPECT_NE(page.find("<path class=\"oa\" d=\"M" + std::to_string(XAfterNine(2, 10)) + " " +
                        std::to_string(RowY(4) + 5) + "v5\"/>"),
        std::string::npos);
    EXPECT_NE(
        page.find("x=\"" + std::to_string(XAfterNine(9, 0) + 2) + "\" y=\"71\">unlock</text>"), std::string::npos);
    EXPECT_NE(page.find("deep 23:30 (+15 min) to 06:00 (unlock (-6))"), std::string::npos);
    EXPECT_NE(page.find("asleep 23:15\u201306:45, 1 awakening"), std::string::npos);
}

TEST_F(ReportHtmlTest, AxisLabelsFollowLocalTimeAcrossDaylightSavingChanges)
{
    ScopedTimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    struct Case {
        CivilDate wakeDate;
        std::string labels;
    };
    const std::vector<Case> cases = {
        {{2026, 1, 6}, "21 22 23 00 01 02 03 04 05 06 07 08 09 10 11 12"},
        {{2026, 3, 29}, "21 22 23 00 01 03 04 05 06 07 08 09 10 11 12"},
        {{2026, 10, 25}, "21 22 23 00 01 02 02 03 04 05 06 07 08 09 10 11 12"},
    };
    for (const Case& c : cases) {
        const std::vector<AxisLabel> labels = AxisLabels(PictureWindow(c.wakeDate));
        std::string joined;
        for (size_t i = 0; i < labels.size(); ++i) {
            joined += (i == 0 ? "" : " ") + labels[i].text;
            EXPECT_EQ(labels[i].x, kPictureLeft + static_cast<int32_t>(i) * 60) << FormatCivilDate(c.wakeDate);
        }
        EXPECT_EQ(joined, c.labels) << FormatCivilDate(c.wakeDate);
    }
}

TEST_F(ReportHtmlTest, DaylightSavingNightGetsItsOwnAxisAndWidth)
{
    RunFolder run(dir_, "CET-1CEST,M3.5.0,M10.5.0/3");
    {
        ScopedTimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
        run.Night(CivilDate{2026, 10, 25}, LocalTimeMs({2026, 10, 24}, 23 * 60), LocalTimeMs({2026, 10, 25}, 7 * 60));
    }
    const std::string page = run.Report();
    EXPECT_EQ(Count(page, "<use href=\"#axis\"/>"), 0u);
    EXPECT_NE(page.find("<svg width=\"" + std::to_string(kPictureLeft + 16 * 60 + 10) + "\""), std::string::npos);
    const std::regex secondTwo("<text x=\"" + std::to_string(kPictureLeft + 6 * 60) + "\" y=\"\\d+\">02</text>");
    EXPECT_TRUE(std::regex_search(page, secondTwo));
    EXPECT_NE(page.find("asleep 23:00\u201307:00"), std::string::npos);
}

TEST_F(ReportHtmlTest, MetricsAddTheRulesRowsAndTableOnlyWhenPresent)
{
    RunFolder run(dir_);
    FillTwoNights(run);
    std::string page = run.Report();
    EXPECT_EQ(page.find("class=\"id\""), std::string::npos);
    EXPECT_NE(page.find("No metrics.json"), std::string::npos);

    // One night of 8 hours' true sleep: the plug-in asleep from 30 minutes after the onset to the wake,
    // the idle rule from 00:00 to 02:00, the time-of-day rule never.
    NightRecord night;
    night.person = "default";
    night.night = "2026-01-06";
    night.window = {At(12, 0), At(36, 0)};
    night.sleep = {{At(23, 0), At(31, 0)}};
    night.verdicts[static_cast<size_t>(Rule::PLUGIN)].asleep = {{At(23, 30), At(31, 0)}};
    night.verdicts[static_cast<size_t>(Rule::IDLE)].asleep = {{At(24, 0), At(26, 0)}};
    RunMetrics one;
    one.nights = {night};
    run.Write("metrics.json", MetricsToJson(MergeMetrics({one})));
    page = run.Report();
    EXPECT_NE(page.find("<path class=\"id\" d=\"M" + std::to_string(XAfterNine(3, 0)) + " " + std::to_string(RowY(8)) +
                        "h120v10h-120z"),
        std::string::npos);
    EXPECT_NE(page.find("<tr><th>eligible nights (1 nights)</th><th>plug-in</th><th>idle rule</th><th>time of day</th>"),
        std::string::npos);
    EXPECT_NE(page.find("<tr><td>missed nights</td><td>0</td><td>0</td><td>1</td></tr>"), std::string::npos);
    EXPECT_NE(page.find("<tr><td>onset latency, min (p90)</td><td>30 / 30 (1)</td><td>60 / 60 (1)</td><td>\u2013</td></tr>"),
        std::string::npos);
    EXPECT_NE(page.find("<tr><td>coverage of true sleep (p10)</td><td>0.94 / 0.94 (1)</td><td>0.25 / 0.25 (1)</td>"
                        "<td>0.00 / 0.00 (1)</td></tr>"),
        std::string::npos);
    EXPECT_NE(page.find("coverage plug-in 94%, idle rule 25%, time of day 0%"), std::string::npos);
}

TEST_F(ReportHtmlTest, PopulationPageListsPersonsWorstFirstWithLinks)
{
    const std::vector<std::pair<std::string, double>> persons = {{"p001", 0.9}, {"p002", 0.2}, {"p003", 0.5}};
    RunMetrics all;
    for (const auto& [name, coverage] : persons) {
        RunFolder person(dir_ + "/persons/" + name);
        FillTwoNights(person);
        person.Save();
        all.nights.push_back(ScoredNight(name, "2026-01-06", coverage));
        all.nights.push_back(ScoredNight(name, "2026-01-07", coverage));
    }
    RunFolder(dir_).Write("metrics.json", MetricsToJson(MergeMetrics({all})));
    std::string error;
    ASSERT_TRUE(RebuildReports(dir_, error)) << error;
    const std::string page = ReadFile(dir_ + "/" + REPORT_FILE);
    const size_t p002 = page.find("<a href=\"persons/p002/report.html\">p002</a>");
    const size_t p003 = page.find("<a href=\"persons/p003/report.html\">p003</a>");
    const size_t p001 = page.find("<a href=\"persons/p001/report.html\">p001</a>");
    ASSERT_NE(p001, std::string::npos);
    EXPECT_LT(p002, p003);
    EXPECT_LT(p003, p001);
    EXPECT_EQ(Count(page, "<svg class=\"hist\""), 2u);
    const std::string personPage = ReadFile(dir_ + "/persons/p002/" + REPORT_FILE);
    EXPECT_EQ(Count(personPage, "<figure class=\"night\""), 2u);
    EXPECT_NE(personPage.find("href=\"../../report.html\""), std::string::npos);
}

TEST_F(ReportHtmlTest, MissingOrBadFilesAreNamed)
{
    struct Case {
        std::string what;
        std::function<void(const std::string&)> damage;
        std::string error;
    };
    const std::vector<Case> cases = {
        {"no folder", [](const std::string& dir) { std::filesystem::remove_all(dir); }, "is not an output folder"},
        {"no trace", [](const std::string& dir) { std::filesystem::remove(dir + "/trace.jsonl"); },
            "cannot read the trace file"},
        {"no timeline", [](const std::string& dir) { std::filesystem::remove(dir + "/timeline.jsonl"); },
            "holds no timeline.jsonl to draw its page from (a lean folder?); sleepsim restore"},
        {"no scenario", [](const std::string& dir) { std::filesystem::remove(dir + "/scenario.json"); },
            "scenario.json' is missing or names no time zone"},
        {"cut line",
            [](const std::string& dir) { std::ofstream(dir + "/timeline.jsonl", std::ios::app) << "{\"t\":12\n"; },
            "timeline.jsonl:"},
        {"bad metrics", [](const std::string& dir) { std::ofstream(dir + "/metrics.json") << "{"; },
            "metrics.json' is not valid JSON"},
        {"population without metrics",
            [](const std::string& dir) { std::filesystem::create_directories(dir + "/persons/p001"); },
            "metrics.json': no such file"},
    };
    for (const Case& c : cases) {
        const std::string dir = dir_ + "/" + std::to_string(&c - cases.data());
        RunFolder run(dir);
        FillTwoNights(run);
        run.Save();
        c.damage(dir);
        std::string error;
        EXPECT_FALSE(WriteReport(dir, error)) << c.what;
        EXPECT_NE(error.find(c.error), std::string::npos) << c.what << ": " << error;
    }
}

TEST_F(ReportHtmlTest, ReportCommandRebuildsThePageOrNamesWhatIsWrong)
{
    RunFolder run(dir_);
    FillTwoNights(run);
    run.Save();
    struct Case {
        std::vector<std::string> args;
        int exitCode;
        std::string message;
    };
    const std::vector<Case> cases = {
        {{"report", dir_}, EXIT_RUN_OK, "wrote " + dir_ + "/report.html"},
        {{"report", dir_ + "/absent"}, EXIT_BAD_INPUT, "absent' is not an output folder"},
    };
    for (const Case& c : cases) {
        std::ostringstream out;
        std::ostringstream err;
        EXPECT_EQ(RunSleepsimCli(c.args, out, err), c.exitCode) << err.str();
        EXPECT_NE((out.str() + err.str()).find(c.message), std::string::npos) << out.str() << err.str();
    }
    EXPECT_EQ(Count(ReadFile(dir_ + "/" + REPORT_FILE), "<figure class=\"night\""), 2u);
}

TEST_F(ReportHtmlTest, LeavesTheProcessTimeZoneAsItFoundIt)
{
    ScopedTimeZone zone("CST-8");
    RunFolder run(dir_, "UTC0");
    FillTwoNights(run);
    run.Report();
    EXPECT_STREQ(std::getenv("TZ"), "CST-8");
}

} // namespace
} // namespace OHOS::Sim
