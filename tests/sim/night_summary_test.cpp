// Reading the per-night report back from a timeline, and the timeline's own ordering.
#include <array>
#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "data_root.h"
#include "local_calendar.h"
#include "night_summary.h"
#include "timeline.h"

namespace OHOS::Sim {
namespace {

class NightSummaryTest : public testing::Test {
protected:
    void SetUp() override
    {
        SetProcessTimeZone("UTC0");
        night_.wakeDate = CivilDate{2026, 1, 6};
        night_.window = NoonToNoon(night_.wakeDate);
        night_.onsetMs = At(23, 0);
        night_.wakeMs = At(30, 45); // 06:45 the next morning
    }

    // Epoch ms of hour:minute after the midnight that starts 2026-01-05.
    static int64_t At(int32_t hour, int32_t minute) { return LocalTimeMs(CivilDate{2026, 1, 5}, hour * 60 + minute); }

    void Publish(int64_t t, const std::string& action, bool isSleep, int64_t wakeupTime = -1)
    {
        TimelineLine params{{"isSleep", isSleep}};
        if (action == DEEP_SLEEP_EVENT) {
            params["wakeupTime"] = wakeupTime;
        }
        timeline_.Add(t, TIMELINE_COMMON_EVENT,
            {{"action", action}, {"want", {{"action", action}, {"params", params}}}, {"restricted", true}});
    }

    void ReportStop(int64_t t, int32_t reason)
    {
        timeline_.Add(t, TIMELINE_SYSTEM_EVENT,
            {{"name", POWER_BRAIN_STATE_EVENT}, {"params", {{"TYPE", 100}, {"VALUE", reason}, {"TIME", t}}}});
    }

    NightReport Summarise() const
    {
        const auto reports = SummariseNights(timeline_.Lines(), {night_});
        return reports.at(0);
    }

    NightTruth night_;
    Timeline timeline_;
};

TEST_F(NightSummaryTest, ReadsDeepSleepWithItsStopReasonWhateverTheLineOrder)
{
    Publish(At(23, 30), DEEP_SLEEP_EVENT, true, At(30, 15));
    Publish(At(23, 30), EASY_WAKEUP_EVENT, true);
    Publish(At(30, 0), DEEP_SLEEP_EVENT, false, At(30, 0));
    ReportStop(At(30, 0), -1); // added after the end it explains, at the same virtual time
    timeline_.Add(At(20, 10), TIMELINE_HOST_MESSAGE, {{"id", TRAINING_FINISHED_MESSAGE}});
    timeline_.Add(At(12, 0) - 1, TIMELINE_HOST_MESSAGE, {{"id", TRAINING_FINISHED_MESSAGE}}); // previous night
    const NightReport report = Summarise();
    EXPECT_EQ(report.deepStartMs, At(23, 30));
    EXPECT_EQ(report.predictedWakeMs, At(30, 15));
    EXPECT_EQ(report.deepEndMs, At(30, 0));
    EXPECT_EQ(report.deepEndReason, -1);
    EXPECT_EQ(report.deepEpisodes, 1);
    EXPECT_EQ(report.easyWakeupStartMs, At(23, 30));
    EXPECT_EQ(report.trainingMs, std::vector<int64_t>{At(20, 10)});
    EXPECT_DOUBLE_EQ(report.OnsetDelayMin(), 30);
}

TEST_F(NightSummaryTest, KeepsTheFirstStartAndTheLastEndOfSeveralEpisodes)
{
    Publish(At(23, 20), DEEP_SLEEP_EVENT, true, At(30, 15));
    Publish(At(26, 0), DEEP_SLEEP_EVENT, false);
    ReportStop(At(26, 0), -7);
    Publish(At(26, 0), LIGHT_SLEEP_EVENT, true);
    Publish(At(27, 0), LIGHT_SLEEP_EVENT, false);
    Publish(At(27, 30), DEEP_SLEEP_EVENT, true, At(31, 0));
    Publish(At(31, 15), DEEP_SLEEP_EVENT, false);
    ReportStop(At(31, 15), -2);
    const NightReport report = Summarise();
    EXPECT_EQ(report.deepEpisodes, 2);
    EXPECT_EQ(report.predictedWakeMs, At(30, 15));
    EXPECT_EQ(report.deepEndMs, At(31, 15));
    EXPECT_EQ(report.deepEndReason, -2);
    EXPECT_EQ(report.lightEpisodes, 1);
    EXPECT_EQ(report.lightStartMs, At(26, 0));
    EXPECT_EQ(report.lightEndMs, At(27, 0));
}

TEST_F(NightSummaryTest, AStopWithoutAStartInTheWindowIsNotAnEpisode)
{
    Publish(At(12, 30), DEEP_SLEEP_EVENT, false);
    const NightReport report = Summarise();
    EXPECT_EQ(report.deepEpisodes, 0);
    EXPECT_EQ(report.deepEndMs, -1);
    EXPECT_NE(FormatSummaryTable({report}).find("2026-01-06 wd"), std::string::npos);
}

TEST_F(NightSummaryTest, KeepsEachStatesSpansAndCutsAnOpenOneAtTheWindowsEnd)
{
    Publish(At(23, 30), DEEP_SLEEP_EVENT, true, At(30, 15));
    Publish(At(23, 40), DEEP_SLEEP_EVENT, true, At(30, 15)); // a repeated start keeps the open span
    Publish(At(26, 0), DEEP_SLEEP_EVENT, false);
    Publish(At(27, 0), DEEP_SLEEP_EVENT, true, At(30, 15));
    Publish(At(30, 0), DEEP_SLEEP_EVENT, false);
    Publish(At(26, 0), LIGHT_SLEEP_EVENT, true);
    Publish(At(27, 0), LIGHT_SLEEP_EVENT, false);
    Publish(At(23, 30), EASY_WAKEUP_EVENT, true);
    Publish(At(14, 0), NOT_CARE_CHARGE_EVENT, false); // an end without a start
    Publish(At(33, 0), NOT_CARE_CHARGE_EVENT, true);
    const NightReport report = Summarise();
    const auto pairs = [](const std::vector<TimeSpan>& spans) {
        std::vector<std::pair<int64_t, int64_t>> list;
        for (const TimeSpan& span : spans) {
            list.emplace_back(span.beginMs, span.endMs);
        }
        return list;
    };
    using Pairs = std::vector<std::pair<int64_t, int64_t>>;
    EXPECT_EQ(pairs(report.deepSpans), (Pairs{{At(23, 30), At(26, 0)}, {At(27, 0), At(30, 0)}}));
    EXPECT_EQ(pairs(report.lightSpans), (Pairs{{At(26, 0), At(27, 0)}}));
    EXPECT_EQ(pairs(report.easyWakeupSpans), (Pairs{{At(23, 30), At(36, 0)}}));
    EXPECT_EQ(pairs(report.notCareChargeSpans), (Pairs{{At(33, 0), At(36, 0)}}));
}

struct WindowCase {
    const char* name;
    std::vector<std::pair<int32_t, bool>> deep; // deep sleep on/off at hours after 2026-01-05 00:00
    std::vector<int32_t> trainingHours;
    std::array<int32_t, 3> episodes;      // per night
    std::array<int32_t, 3> deepStartHour; // per night, -1 none
    std::array<size_t, 3> trainings;
    int32_t firstSpanEndHour; // where the first night's last deep span ends, -1 none
};

class NightWindowTest : public testing::TestWithParam<WindowCase> {};

// Three nights read line by line as a run writes them: each line counts in the window it falls in
// (noon to noon, a line at noon in the later one), an episode open at noon is cut there.
TEST_P(NightWindowTest, EachNightReadsOnlyTheLinesOfItsWindow)
{
    SetProcessTimeZone("UTC0");
    const auto at = [](int32_t hour) { return LocalTimeMs(CivilDate{2026, 1, 5}, hour * 60); };
    std::vector<NightTruth> nights(3);
    for (size_t i = 0; i < nights.size(); ++i) {
        nights[i].wakeDate = CivilDate{2026, 1, static_cast<int32_t>(6 + i)};
        nights[i].window = NoonToNoon(nights[i].wakeDate);
    }
    Timeline timeline;
    for (const auto& [hour, on] : GetParam().deep) {
        timeline.Add(
            at(hour), TIMELINE_COMMON_EVENT, {{"action", DEEP_SLEEP_EVENT}, {"want", {{"params", {{"isSleep", on}}}}}});
    }
    for (int32_t hour : GetParam().trainingHours) {
        timeline.Add(at(hour), TIMELINE_HOST_MESSAGE, {{"id", TRAINING_FINISHED_MESSAGE}});
    }
    NightSummaries summaries(nights);
    for (const TimelineLine& line : timeline.Lines()) {
        summaries.Read(ReadTimelineFact(line));
    }
    const std::vector<NightReport> reports = summaries.Finish();
    ASSERT_EQ(reports.size(), nights.size());
    for (size_t i = 0; i < nights.size(); ++i) {
        EXPECT_EQ(reports[i].deepEpisodes, GetParam().episodes[i]) << i;
        EXPECT_EQ(reports[i].deepStartMs, GetParam().deepStartHour[i] < 0 ? -1 : at(GetParam().deepStartHour[i])) << i;
        EXPECT_EQ(reports[i].trainingMs.size(), GetParam().trainings[i]) << i;
    }
    const int32_t endHour = GetParam().firstSpanEndHour;
    EXPECT_EQ(reports[0].deepSpans.empty() ? -1 : reports[0].deepSpans.back().endMs, endHour < 0 ? -1 : at(endHour));
}

INSTANTIATE_TEST_SUITE_P(Nights, NightWindowTest,
    testing::Values(WindowCase{"AcrossNoon", {{35, true}, {37, false}}, {}, {1, 0, 0}, {35, -1, -1}, {0, 0, 0}, 36},
        WindowCase{"AtNoon", {{36, true}, {40, false}}, {12}, {0, 1, 0}, {-1, 36, -1}, {1, 0, 0}, -1},
        WindowCase{"NightsApart", {{24, true}, {30, false}, {72, true}, {78, false}}, {20, 44, 68, 83}, {1, 0, 1},
            {24, -1, 72}, {1, 1, 2}, 30}),
    [](const testing::TestParamInfo<WindowCase>& info) { return std::string(info.param.name); });

// A state on when a night's window opens counts in that night from the window's start, and one
// never ended stays on night after night.
TEST(NightCarryTest, AStateOnAtNoonCountsFromTheWindowsStart)
{
    SetProcessTimeZone("UTC0");
    const auto at = [](int32_t hour) { return LocalTimeMs(CivilDate{2026, 1, 5}, hour * 60); };
    std::vector<NightTruth> nights(3);
    for (size_t i = 0; i < nights.size(); ++i) {
        nights[i].wakeDate = CivilDate{2026, 1, static_cast<int32_t>(6 + i)};
        nights[i].window = NoonToNoon(nights[i].wakeDate);
    }
    const auto published = [&at](int32_t hour, const std::string& action, bool on) {
        return TimelineLine{{"t", at(hour)}, {"type", TIMELINE_COMMON_EVENT}, {"action", action},
            {"want", {{"params", {{"isSleep", on}}}}}};
    };
    const std::vector<NightReport> reports = SummariseNights({published(10, NOT_CARE_CHARGE_EVENT, true),
        published(26, DEEP_SLEEP_EVENT, true), published(50, DEEP_SLEEP_EVENT, false)}, nights);
    const auto spans = [](const std::vector<TimeSpan>& list) {
        std::vector<std::pair<int64_t, int64_t>> pairs;
        for (const TimeSpan& span : list) {
            pairs.emplace_back(span.beginMs, span.endMs);
        }
        return pairs;
    };
    using Pairs = std::vector<std::pair<int64_t, int64_t>>;
    EXPECT_EQ(spans(reports[0].deepSpans), (Pairs{{at(26), at(36)}}));
    EXPECT_EQ(spans(reports[1].deepSpans), (Pairs{{at(36), at(50)}}));
    EXPECT_TRUE(reports[2].deepSpans.empty());
    for (size_t i = 0; i < reports.size(); ++i) { // switched on before the first window, never off
        const int32_t opening = 12 + 24 * static_cast<int32_t>(i);
        EXPECT_EQ(spans(reports[i].notCareChargeSpans), (Pairs{{at(opening), at(opening + 24)}})) << i;
    }
}

// One onset latency for every table and file: to the first asleep span that ends after the onset,
// none for a night the spans miss.
TEST(OnsetLatencyTest, CountsFromTheFirstSpanThatEndsAfterTheOnset)
{
    const int64_t hour = 60 * kMsPerMinute;
    const SpanList sleep = {{26 * hour, 31 * hour}};
    struct Case {
        const char* what;
        SpanList asleep;
        double expected;
    };
    const double none = std::nan("");
    for (const Case& c : std::vector<Case>{{"a false start before the onset", {{22 * hour, 23 * hour}, {26 * hour + 60000,
                                               30 * hour}}, 1},
             {"on before the onset and still on", {{25 * hour, 27 * hour}}, -60},
             {"ended exactly at the onset", {{22 * hour, 26 * hour}}, none},
             {"only after the wake", {{32 * hour, 33 * hour}}, none}, {"nothing", {}, none}}) {
        const double latency = OnsetLatencyMin(c.asleep, sleep);
        EXPECT_TRUE(std::isnan(c.expected) ? std::isnan(latency) : latency == c.expected) << c.what << ": " << latency;
    }
}

TEST(NightTallyTest, CountsNightsWithinTheToleranceAfterTheFirstOnes)
{
    std::vector<NightReport> reports(5);
    const std::vector<int64_t> delaysMin = {0, 61, -60, 60, -1};
    for (size_t i = 0; i < reports.size(); ++i) {
        reports[i].truth.onsetMs = 1000 * kMsPerMinute;
        reports[i].truth.wakeMs = 1480 * kMsPerMinute;
        const int64_t start = reports[i].truth.onsetMs + delaysMin[i] * kMsPerMinute;
        reports[i].deepStartMs = start;
        reports[i].deepSpans = {{start, reports[i].truth.wakeMs}};
    }
    reports[4].deepSpans.clear(); // no deep sleep that night
    EXPECT_EQ(CountTimelyNights(reports, 0, 60), 3);
    EXPECT_EQ(CountTimelyNights(reports, 2, 60), 2);
    EXPECT_EQ(StopReasonText(-6), "unlock (-6)");
    EXPECT_EQ(StopReasonText(-42), "?");
}

TEST(TimelineTest, WritesLinesInTimeOrderKeepingTheOrderOfEqualTimes)
{
    SetProcessTimeZone("UTC0");
    Timeline timeline;
    timeline.Add(2000, TIMELINE_PARAMETER, {{"key", "b"}});
    timeline.Add(1000, TIMELINE_PARAMETER, {{"key", "a"}});
    timeline.Add(2000, TIMELINE_PARAMETER, {{"key", "c"}});
    Emulator::ScopedDataRoot folder;
    const std::string path = folder.Path() + "/timeline.jsonl";
    ASSERT_TRUE(timeline.WriteJsonLines(path));
    std::ifstream in(path);
    std::ostringstream text;
    text << in.rdbuf();
    EXPECT_EQ(text.str(), "{\"t\":1000,\"time\":\"1970-01-01 00:00:01.000\",\"type\":\"parameter\",\"key\":\"a\"}\n"
                          "{\"t\":2000,\"time\":\"1970-01-01 00:00:02.000\",\"type\":\"parameter\",\"key\":\"b\"}\n"
                          "{\"t\":2000,\"time\":\"1970-01-01 00:00:02.000\",\"type\":\"parameter\",\"key\":\"c\"}\n");
    EXPECT_FALSE(timeline.WriteJsonLines(folder.Path() + "/missing/timeline.jsonl"));
}

} // namespace
} // namespace OHOS::Sim
