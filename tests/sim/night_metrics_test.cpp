// Scores of hand-made nights with known answers, the run's summary, and metrics.json read back and
// merged.
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "local_calendar.h"
#include "night_metrics.h"
#include "night_summary.h"
#include "scoped_time_zone.h"
#include "sim_cli.h"
#include "time_spans.h"
#include "trace_generator.h"

namespace OHOS::Sim {
namespace {

using Emulator::ScopedTimeZone;

const std::string kCentralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";

// Epoch ms of hour:minute after the local midnight that starts 2026-01-05 (hours >= 24 run on).
int64_t At(double hour, double minute = 0)
{
    return LocalTimeMs(CivilDate{2026, 1, 5}, hour * 60 + minute);
}

TimeSpan Hours(double begin, double end)
{
    return TimeSpan{At(begin), At(end)};
}

bool Near(double actual, double expected)
{
    return std::isnan(expected) ? std::isnan(actual) : std::fabs(actual - expected) < 1e-9;
}

TEST(PercentileTest, InterpolatesBetweenTheClosestRanks)
{
    struct Case {
        std::vector<double> values;
        double share;
        double expected;
    };
    const double nan = std::nan("");
    const std::vector<Case> cases = {
        {{}, 0.5, nan},
        {{7}, 0.9, 7},
        {{4, 1, 3, 2}, 0.5, 2.5},
        {{3, 1, 2}, 0.5, 2},
        {{3, 1, 2}, 0.9, 2.8},
        {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, 0.9, 9.1},
        {{-5, 5}, 0.9, 4},
        {{2, 2, 9}, 1.0, 9},
    };
    for (const Case& c : cases) {
        EXPECT_TRUE(Near(Percentile(c.values, c.share), c.expected))
            << c.values.size() << " values, share " << c.share << ": " << Percentile(c.values, c.share);
    }
}

// The tail a summary shows is the bad one: p10 where low values are bad, p90 where high ones are;
// a signed error's size has its own median and p90; every figure carries its count.
TEST(StatsTest, TailsPointAtTheBadEndAndSignedErrorsShowTheirSize)
{
    const Stats stats = StatsOf({30, -94, -13, 5, -9});
    EXPECT_EQ(stats.count, 5);
    EXPECT_DOUBLE_EQ(stats.median, -9);
    EXPECT_DOUBLE_EQ(stats.p10, -61.6);
    EXPECT_DOUBLE_EQ(stats.p90, 20);
    EXPECT_DOUBLE_EQ(stats.absMedian, 13);
    EXPECT_DOUBLE_EQ(stats.absP90, 68.4);
    EXPECT_EQ(FormatStats(stats, 0, Tail::LOW_IS_BAD), "-9 / -62 (5)");
    EXPECT_EQ(FormatStats(stats, 0, Tail::HIGH_IS_BAD), "-9 / 20 (5)");
    EXPECT_EQ(FormatStats(StatsOf({}), 0), "-");
    struct Expected {
        const char* field;
        Tail tail;
        bool signedError;
    };
    for (const Expected& expected : std::vector<Expected>{{"coverage", Tail::LOW_IS_BAD, false},
             {"wakeLatencyMin", Tail::LOW_IS_BAD, true}, {"onsetLatencyMin", Tail::HIGH_IS_BAD, true},
             {"falseSleepMin", Tail::HIGH_IS_BAD, false}, {"falseSleepShare", Tail::HIGH_IS_BAD, false},
             {"wakeErrorMin", Tail::HIGH_IS_BAD, true}}) {
        const auto field = std::find_if(ScoreFields().begin(), ScoreFields().end(),
            [&expected](const ScoreField& f) { return f.name == std::string(expected.field); });
        ASSERT_NE(field, ScoreFields().end()) << expected.field;
        EXPECT_EQ(field->tail, expected.tail) << expected.field;
        EXPECT_EQ(field->signedError, expected.signedError) << expected.field;
    }
}

// Hand-made nights and the class the plug-in's own conditions give them: deep sleep starts only
// after 21:00 or before 07:49:48, off the charger, with the screen off, after the first week.
TEST(ClassifyNightTest, ClassesFollowTheConditionsOfDeepSleep)
{
    ScopedTimeZone zone("UTC0");
    struct Case {
        const char* what;
        int32_t index;
        TimeSpan sleep;
        SpanList charging;
        SpanList screenOff;
        NightClass expected;
    };
    const double nightEnd = 24 + 7.83F; // 07:49:48 as the plug-in computes it
    const SpanList dark = {Hours(12, 36)};
    const std::vector<Case> cases = {
        {"ordinary night", 9, Hours(23, 31), {}, dark, NightClass::ELIGIBLE},
        {"first week, whatever else", 6, Hours(23, 31), {}, dark, NightClass::FIRST_WEEK},
        {"charged all night", 9, Hours(23, 31), {Hours(22, 32)}, dark, NightClass::CHARGING},
        {"unplugged an hour before waking", 9, Hours(23, 31), {Hours(22, 30)}, dark, NightClass::ELIGIBLE},
        {"day sleeper", 9, Hours(32.5, 39.5), {}, dark, NightClass::OUTSIDE_WINDOW},
        {"asleep from the end of the night hours", 9, TimeSpan{At(nightEnd), At(36)}, {}, dark,
            NightClass::OUTSIDE_WINDOW},
        {"asleep a minute before it", 9, TimeSpan{At(nightEnd - 1.0 / 60), At(36)}, {}, dark, NightClass::ELIGIBLE},
        {"evening nap until 21:00", 9, Hours(19, 21), {}, dark, NightClass::OUTSIDE_WINDOW},
        {"charged only in the night hours", 9, Hours(20, 21.5), {Hours(21, 22)}, dark, NightClass::CHARGING},
        {"screen on all night", 9, Hours(23, 31), {}, {}, NightClass::SCREEN_ON},
        {"screen off only while charging", 9, Hours(23, 31), {Hours(23, 30)}, {Hours(23, 30)}, NightClass::SCREEN_ON},
        {"screen off only outside the night hours", 9, Hours(23, 33), {}, {Hours(32, 33)}, NightClass::SCREEN_ON},
        {"screen off for the last minutes", 9, Hours(23, 31), {}, {Hours(30.9, 36)}, NightClass::ELIGIBLE},
        {"charging wins over the screen", 9, Hours(23, 31), {Hours(22, 32)}, {}, NightClass::CHARGING},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ClassifyNight(c.index, Hours(12, 36), {c.sleep}, PhoneSpans{c.charging, c.screenOff}), c.expected)
            << c.what;
    }
}

TEST(TimeSpansTest, SetOperationsOnSpanLists)
{
    struct Case {
        const char* name;
        SpanList actual;
        SpanList expected;
    };
    const SpanList a = NormaliseSpans({{50, 60}, {10, 20}, {15, 30}, {40, 40}, {70, 65}});
    const SpanList b = {{0, 12}, {25, 55}};
    const std::vector<Case> cases = {
        {"normalise sorts, joins and drops empty spans", a, {{10, 30}, {50, 60}}},
        {"touching spans join", NormaliseSpans({{0, 5}, {5, 9}}), {{0, 9}}},
        {"intersect", IntersectSpans(a, b), {{10, 12}, {25, 30}, {50, 55}}},
        {"subtract", SubtractSpans(a, b), {{12, 25}, {55, 60}}},
        {"subtract a hole", SubtractSpans({{0, 100}}, {{10, 20}, {30, 40}}), {{0, 10}, {20, 30}, {40, 100}}},
        {"unite", UniteSpans(a, b), {{0, 60}}},
        {"clip", ClipSpans(a, TimeSpan{15, 55}), {{15, 30}, {50, 55}}},
    };
    for (const Case& c : cases) {
        ASSERT_EQ(c.actual.size(), c.expected.size()) << c.name;
        for (size_t i = 0; i < c.actual.size(); ++i) {
            EXPECT_EQ(c.actual[i].beginMs, c.expected[i].beginMs) << c.name << " [" << i << "]";
            EXPECT_EQ(c.actual[i].endMs, c.expected[i].endMs) << c.name << " [" << i << "]";
        }
    }
    EXPECT_EQ(TotalSpanMs(a), 30);
}

// One hand-made night: the truth, the awake screen-off time and a rule's verdict, with the scores
// it must get (NaN: the score does not apply).
struct ScoreCase {
    const char* name;
    SpanList sleep;
    SpanList awakeScreenOff;
    SpanList asleep;
    SpanList light;
    int64_t announcedWakeMs;
    bool missed;
    double onsetMin;
    double wakeMin;
    double coverage;
    double falseMin;
    double falseShare;
    double wakeErrorMin;
};

TEST(ScoreNightTest, HandMadeNightsGetTheirKnownScores)
{
    ScopedTimeZone zone("UTC0");
    const double nan = std::nan("");
    const std::vector<ScoreCase> cases = {
        {"late start, early end", {Hours(23, 31)}, {Hours(21, 23)}, {Hours(23.5, 30.5)}, {}, At(31, 15), false, 30, -30,
            420.0 / 480, 0, 0, 15},
        {"missed night: no deep sleep", {Hours(23, 31)}, {Hours(21, 23)}, {}, {}, -1, true, nan, nan, 0, 0, 0, nan},
        {"missed night: deep sleep only while awake in the evening", {Hours(23, 31)}, {Hours(21, 23)}, {Hours(22, 23)},
            {}, At(30), true, nan, nan, 0, 60, 0.5, -60},
        {"an awakening slept through counts as false sleep", {Hours(23, 26), Hours(26.5, 31)}, {Hours(26, 26.5)},
            {Hours(23, 31)}, {}, -1, false, 0, 0, 1, 30, 1, nan},
        {"deep sleep before the onset", {Hours(23, 31)}, {Hours(21, 23)}, {Hours(22.5, 29), Hours(29.5, 31.5)}, {}, -1,
            false, -30, 30, 450.0 / 480, 60, 0.25, nan},
        {"light sleep while awake is false sleep too", {Hours(23, 31)}, {Hours(21, 23)}, {Hours(23, 31)},
            {Hours(22, 23.5)}, -1, false, 0, 0, 1, 60, 0.5, nan},
        {"no awake screen-off time: no share", {Hours(23, 31)}, {}, {Hours(22, 31)}, {}, -1, false, -60, 0, 1, 60, nan,
            nan},
    };
    for (const ScoreCase& c : cases) {
        NightRecord night;
        night.sleep = c.sleep;
        night.awakeScreenOff = c.awakeScreenOff;
        RuleVerdict verdict;
        verdict.asleep = c.asleep;
        verdict.light = c.light;
        verdict.announcedWakeMs = c.announcedWakeMs;
        const NightScore score = ScoreNight(night, verdict);
        EXPECT_EQ(score.missed, c.missed) << c.name;
        EXPECT_TRUE(Near(score.onsetLatencyMin, c.onsetMin)) << c.name << ": onset " << score.onsetLatencyMin;
        EXPECT_TRUE(Near(score.wakeLatencyMin, c.wakeMin)) << c.name << ": wake " << score.wakeLatencyMin;
        EXPECT_TRUE(Near(score.coverage, c.coverage)) << c.name << ": coverage " << score.coverage;
        EXPECT_TRUE(Near(score.falseSleepMin, c.falseMin)) << c.name << ": false " << score.falseSleepMin;
        EXPECT_TRUE(Near(score.falseSleepShare, c.falseShare)) << c.name << ": share " << score.falseSleepShare;
        EXPECT_TRUE(Near(score.wakeErrorMin, c.wakeErrorMin)) << c.name << ": wake error " << score.wakeErrorMin;
        EXPECT_EQ(std::isnan(score.lightMin), c.light.empty()) << c.name;
    }
}

TimelineLine Published(int64_t t, const std::string& action, bool isSleep, int64_t wakeupMs = -1)
{
    TimelineLine params{{"isSleep", isSleep}};
    if (wakeupMs >= 0) {
        params["wakeupTime"] = wakeupMs;
    }
    return TimelineLine{{"t", t}, {"type", TIMELINE_COMMON_EVENT}, {"action", action},
        {"want", {{"action", action}, {"params", params}}}};
}

TraceEvent Event(int64_t t, TraceKind kind)
{
    TraceEvent event;
    event.timeMs = t;
    event.kind = kind;
    return event;
}

// The night that ends on Sunday 2026-03-29, when Central European clocks jump from 02:00 to 03:00:
// the noon-to-noon window is 23 hours and latencies count real minutes.
TEST(RunMetricsTest, ANightAcrossTheSpringDaylightSavingChange)
{
    ScopedTimeZone zone(kCentralEurope);
    const CivilDate saturday{2026, 3, 28};
    const auto local = [&saturday](double hour) { return LocalTimeMs(saturday, hour * 60); };
    NightTruth night;
    night.wakeDate = CivilDate{2026, 3, 29};
    night.window = NoonToNoon(night.wakeDate);
    night.weekend = true;
    night.onsetMs = local(25); // 01:00 winter time
    night.wakeMs = local(31);  // 07:00 summer time: five real hours later
    Trace trace;
    trace.startMs = local(12);
    trace.endMs = LocalTimeMs(night.wakeDate, kNoonMin);
    trace.nights = {night};
    trace.events = {Event(local(12), TraceKind::BOOT), Event(local(12), TraceKind::STILL),
        Event(local(21), TraceKind::SCREEN_ON), Event(local(24.5), TraceKind::SCREEN_OFF),
        Event(local(31.5), TraceKind::SCREEN_ON)};
    const std::vector<TimelineLine> lines = {Published(local(25.5), DEEP_SLEEP_EVENT, true, local(31.25)),
        Published(local(25.5), EASY_WAKEUP_EVENT, true), Published(local(30), DEEP_SLEEP_EVENT, false),
        Published(local(30), LIGHT_SLEEP_EVENT, true), Published(local(30.5), LIGHT_SLEEP_EVENT, false),
        TimelineLine{{"t", local(20)}, {"type", TIMELINE_HOST_MESSAGE}, {"id", TRAINING_FINISHED_MESSAGE}}};
    const RunMetrics metrics = ComputeRunMetrics(MetricsPerson{"dst", "", "night"}, trace, SummariseNights(lines, trace.nights), {90000});
    ASSERT_EQ(metrics.nights.size(), 1U);
    const NightRecord& record = metrics.nights[0];
    EXPECT_EQ(record.window.endMs - record.window.beginMs, 23 * kMsPerHour);
    EXPECT_EQ(record.night, "2026-03-29");
    EXPECT_EQ(record.trainings, 1);
    EXPECT_EQ(record.wakeLockMs, 90000);
    // Screen off from 00:30 winter time to 07:30 summer time (six real hours), less five asleep.
    EXPECT_EQ(TotalSpanMs(record.awakeScreenOff), 60 * kMsPerMinute);
    const NightScore& plugin = record.scores[static_cast<size_t>(Rule::PLUGIN)];
    EXPECT_DOUBLE_EQ(plugin.onsetLatencyMin, 30);
    EXPECT_DOUBLE_EQ(plugin.wakeLatencyMin, -60); // 06:00 summer time
    EXPECT_DOUBLE_EQ(plugin.coverage, 3.5 / 5);
    EXPECT_DOUBLE_EQ(plugin.wakeErrorMin, 15);
    EXPECT_DOUBLE_EQ(plugin.lightMin, 30);
    EXPECT_DOUBLE_EQ(plugin.easyWakeupMin, 9.5 * 60); // still on at noon: cut at the window's end
    EXPECT_TRUE(std::isnan(plugin.notCareChargeMin));
    // The idle rule counts from an hour after the screen went off until it went on.
    const NightScore& idle = record.scores[static_cast<size_t>(Rule::IDLE)];
    EXPECT_DOUBLE_EQ(idle.onsetLatencyMin, 30);
    EXPECT_DOUBLE_EQ(idle.wakeLatencyMin, 30);
    EXPECT_TRUE(record.scores[static_cast<size_t>(Rule::TIME_OF_DAY)].missed); // nothing learned yet
    const GroupSummary& firstWeek = metrics.summary.classes[static_cast<size_t>(NightClass::FIRST_WEEK)];
    EXPECT_EQ(firstWeek.rules[static_cast<size_t>(Rule::PLUGIN)].stateNights, (std::array<int32_t, 4>{1, 1, 1, 0}));
    EXPECT_EQ(firstWeek.wakeLockSec.median, 90);
    EXPECT_EQ(firstWeek.nights, 1);
}

// A generated person whose plug-in sleeps from 20 minutes after each true onset to 10 minutes
// before each true wake, with every other night missed.
RunMetrics GeneratedPerson(const std::string& name, uint64_t seed)
{
    Scenario scenario = DefaultScenario();
    scenario.days = 10;
    scenario.seed = seed;
    SetProcessTimeZone(scenario.timeZone);
    const Trace trace = GenerateTrace(scenario);
    std::vector<TimelineLine> lines;
    std::vector<int64_t> wakeLocks;
    for (size_t i = 0; i < trace.nights.size(); ++i) {
        const NightTruth& night = trace.nights[i];
        if (i % 2 == 0) {
            lines.push_back(Published(night.onsetMs + 20 * kMsPerMinute, DEEP_SLEEP_EVENT, true, night.wakeMs));
            lines.push_back(Published(night.wakeMs - 10 * kMsPerMinute, DEEP_SLEEP_EVENT, false));
        }
        wakeLocks.push_back(static_cast<int64_t>(i * 1000 + seed));
    }
    return ComputeRunMetrics(MetricsPerson{name, "", "evening"}, trace, SummariseNights(lines, trace.nights), wakeLocks);
}

TEST(RunMetricsTest, MissedNightsAreCountedAndTheFirstWeekIsApart)
{
    ScopedTimeZone zone("UTC0");
    const RunMetrics metrics = GeneratedPerson("p001", 3);
    const size_t plugin = static_cast<size_t>(Rule::PLUGIN);
    const MetricsSummary& summary = metrics.summary;
    ASSERT_EQ(summary.all.nights, 10);
    const GroupSummary& firstWeek = summary.classes[static_cast<size_t>(NightClass::FIRST_WEEK)];
    EXPECT_EQ(firstWeek.nights, 7);
    int32_t later = 0;
    for (const GroupSummary& group : summary.classes) {
        later += group.nights;
    }
    EXPECT_EQ(later - firstWeek.nights, 3);
    EXPECT_EQ(summary.all.rules[plugin].missed, 5);
    EXPECT_EQ(firstWeek.rules[plugin].missed, 3);
    const Stats& onset = summary.all.rules[plugin].fields[0];
    EXPECT_EQ(std::string(ScoreFields()[0].name), "onsetLatencyMin");
    EXPECT_EQ(onset.count, 5); // missed nights are not zeros
    EXPECT_DOUBLE_EQ(onset.median, 20);
    EXPECT_NE(FormatMetricsSummary(metrics).find("missed nights"), std::string::npos);
}

TEST(MergeMetricsTest, ShardsMergeIntoExactlyTheUnshardedMetrics)
{
    ScopedTimeZone zone("UTC0");
    const std::vector<RunMetrics> persons = {
        GeneratedPerson("p001", 1), GeneratedPerson("p002", 2), GeneratedPerson("p003", 3), GeneratedPerson("p004", 4)};
    const std::string whole = MetricsToJson(MergeMetrics(persons));
    // Shards by person index modulo 3, each written and read back, merged in any order.
    std::vector<RunMetrics> shards(3);
    for (size_t k = 0; k < shards.size(); ++k) {
        std::vector<RunMetrics> members;
        for (size_t i = k; i < persons.size(); i += shards.size()) {
            members.push_back(persons[i]);
        }
        std::string error;
        ASSERT_TRUE(MetricsFromJson(MetricsToJson(MergeMetrics(members)), shards[k], error)) << error;
    }
    EXPECT_EQ(MetricsToJson(MergeMetrics({shards[2], shards[0], shards[1]})), whole);
    RunMetrics oneShard;
    std::string error;
    ASSERT_TRUE(MetricsFromJson(whole, oneShard, error)) << error;
    EXPECT_EQ(MetricsToJson(MergeMetrics({oneShard})), whole);
    EXPECT_EQ(oneShard.summary.persons.size(), 4U);
    EXPECT_EQ(oneShard.summary.persons[3].name, "p004");
}

TEST(MetricsDocumentationTest, HelpAndFileNameEveryScore)
{
    ScopedTimeZone zone("UTC0");
    const std::string json = MetricsToJson(GeneratedPerson("p001", 1));
    for (const ScoreField& field : ScoreFields()) {
        EXPECT_NE(SleepsimUsage().find(field.name), std::string::npos) << field.name;
        EXPECT_NE(json.find("\"" + std::string(field.name) + "\""), std::string::npos) << field.name;
    }
}

TEST(MetricsFromJsonTest, NamesTheBadFieldAndLeavesTheMetricsUnchanged)
{
    ScopedTimeZone zone("UTC0");
    const std::string night = R"({"person":"a","persona":"","charging":"evening","night":"2026-01-06","index":0,"weekend":false,"window":[0,100],)"
                              R"("sleep":SLEEP,"awakeScreenOff":[],"wakeLockMs":null,"trainings":0,"class":"charging",)"
                              R"("rules":RULES})";
    const std::string rules = R"({"plugin":{"asleep":[]},"idle":{"asleep":[]},"time_of_day":{"asleep":[]}})";
    const auto file = [&](const std::string& sleep, const std::string& ruleText) {
        std::string text = night;
        text.replace(text.find("SLEEP"), 5, sleep);
        text.replace(text.find("RULES"), 5, ruleText);
        return R"({"version":4,"nights":[)" + text + "]}";
    };
    struct Case {
        std::string text;
        std::string error;
    };
    const std::vector<Case> cases = {
        {"{", "metrics: not valid JSON"},
        {R"({"version":1,"nights":[]})", "metrics.version 1 is not supported (expected 4)"},
        {R"({"version":4})", "metrics.nights is missing"},
        {file("[[10,5]]", rules), "metrics.nights[0].sleep[0] must be [beginMs, endMs] with beginMs <= endMs"},
        {file("[]", R"({"plugin":{"asleep":[]},"idle":{"asleep":[]}})"),
            "metrics.nights[0].rules.time_of_day is missing"},
        {file("[]", R"({"plugin":{"asleep":[[1,2]],"light":5},"idle":{"asleep":[]},"time_of_day":{"asleep":[]}})"),
            "metrics.nights[0].rules.plugin.light must be a list of [beginMs, endMs]"},
        {std::regex_replace(file("[]", rules), std::regex("\"class\":\"charging\""), "\"class\":\"asleep\""),
            "metrics.nights[0].class must be one of eligible, firstWeek, outsideWindow, charging, screenOn"},
    };
    // The file reader reads the same way, a night at a time, and names the file.
    const std::string path = testing::TempDir() + "metrics_from_json_test.json";
    const auto readFile = [&path](const std::string& text, RunMetrics& metrics, std::string& error) {
        std::ofstream(path, std::ios::trunc) << text;
        const bool read = ReadMetricsFile(path, metrics, error);
        const std::string named = "'" + path + "': ";
        if (error.rfind(named, 0) == 0) {
            error = error.substr(named.size());
        } else if (error == "'" + path + "' is not valid JSON") {
            error = "metrics: not valid JSON";
        }
        return read;
    };
    const std::vector<std::function<bool(const std::string&, RunMetrics&, std::string&)>> readers = {
        [](const std::string& text, RunMetrics& metrics, std::string& error) {
            return MetricsFromJson(text, metrics, error);
        },
        readFile};
    for (const auto& read : readers) {
        RunMetrics metrics = GeneratedPerson("kept", 5);
        const std::string before = MetricsToJson(metrics);
        for (const Case& c : cases) {
            std::string error;
            EXPECT_FALSE(read(c.text, metrics, error)) << c.text;
            EXPECT_EQ(error, c.error) << c.text;
        }
        EXPECT_EQ(MetricsToJson(metrics), before);
        std::string error;
        ASSERT_TRUE(read(file("[[10,50]]", rules), metrics, error)) << error;
        EXPECT_TRUE(metrics.nights[0].scores[0].missed);
        EXPECT_EQ(metrics.nights[0].wakeLockMs, -1);
        EXPECT_EQ(metrics.nights[0].nightClass, NightClass::CHARGING);
        // A whole file, its summary holding a "nights" member of its own, reads back to the same text.
        const std::string whole = MetricsToJson(MergeMetrics({GeneratedPerson("a", 3), GeneratedPerson("b", 4)}));
        ASSERT_TRUE(read(whole, metrics, error)) << error;
        EXPECT_EQ(MetricsToJson(metrics), whole);
    }
    std::filesystem::remove(path);
    RunMetrics metrics;
    std::string error;
    EXPECT_FALSE(ReadMetricsFile(path, metrics, error));
    EXPECT_EQ(error, "cannot read '" + path + "': no such file");
}

// The eligible nights are broken down by persona, by charging habit and, for persons without a
// persona, by person; other classes stay out, and a breakdown into one group is left empty.
TEST(MetricsBreakdownTest, GroupsTheEligibleNightsByWhoSleptThem)
{
    struct Person {
        const char* name;
        const char* persona;
        const char* charging;
        int32_t eligible;
        int32_t charged; // nights of the charging class
    };
    const Person persons[] = {{"a", "late sleeper", "night", 2, 3}, {"b", "late sleeper", "evening", 1, 0},
        {"c", "early sleeper", "evening", 4, 0}, {"r1", "", "evening", 5, 1}};
    RunMetrics all;
    for (const Person& person : persons) {
        for (int32_t i = 0; i < person.eligible + person.charged; ++i) {
            NightRecord night;
            night.person = person.name;
            night.persona = person.persona;
            night.charging = person.charging;
            night.nightClass = i < person.eligible ? NightClass::ELIGIBLE : NightClass::CHARGING;
            all.nights.push_back(night);
        }
    }
    const MetricsSummary summary = MergeMetrics({all}).summary;
    const auto labels = [](const std::vector<LabelledGroup>& groups) {
        std::string text;
        for (const LabelledGroup& group : groups) {
            text += group.label + ":" + std::to_string(group.group.nights) + " ";
        }
        return text;
    };
    EXPECT_EQ(labels(summary.byPersona), "early sleeper:4 late sleeper:3 ");
    EXPECT_EQ(labels(summary.byCharging), "evening:10 night:2 ");
    EXPECT_EQ(labels(summary.byPerson), ""); // one person without a persona: a single group
    all.nights.push_back(all.nights.back());
    all.nights.back().person = "r2";
    all.nights.back().nightClass = NightClass::ELIGIBLE;
    EXPECT_EQ(labels(MergeMetrics({all}).summary.byPerson), "r1:5 r2:1 ");
    const std::string text = FormatMetricsSummary(MergeMetrics({all}));
    EXPECT_NE(text.find("eligible nights by persona"), std::string::npos);
    EXPECT_NE(text.find("  late sleeper (3 nights)"), std::string::npos);
    EXPECT_NE(MetricsToJson(MergeMetrics({all})).find("\"byPerson\": {\n    \"r1\": {\n      \"nights\": 5"),
        std::string::npos);
}

} // namespace
} // namespace OHOS::Sim
