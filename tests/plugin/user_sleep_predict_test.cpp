#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "data_root.h"
#include "hilog.h"
#include "rdb_faults.h"
#include "scoped_time_zone.h"
#include "sleep_database_manager.h"
#include "sleep_history_builder.h"
#include "standby_host_globals.h"
#include "user_sleep_predict.h"
#include "virtual_clock.h"

namespace OHOS::DevStandbyMgr {
namespace {
using Emulator::LocalTimeMs;

constexpr int64_t MINUTE_MS = 60000;
constexpr int64_t HOUR_MS = 3600000;

// The tables a training run would leave behind, written straight into the database.
struct ModelRows {
    std::vector<SleepProbability> time;
    std::vector<SleepAmbientProbability> ambient;
    std::vector<SleepParameter> parameters;

    void Write()
    {
        auto manager = SleepDatabaseManager::GetInstance();
        ASSERT_EQ(manager->InsertEntries(SleepProbability::TABLE_NAME, time), 0);
        ASSERT_EQ(manager->InsertEntries(SleepAmbientProbability::TABLE_NAME, ambient), 0);
        for (auto& row : parameters) {
            ASSERT_EQ(manager->InsertEntry(SleepParameter::TABLE_NAME, row), 0);
        }
    }
};

// Weekday: asleep 00:00-06:00 (1.0), 0.8 until 07:00, 0.2 from 21:00, 0.5 from 22:00, 0.8 from 23:00.
double WeekdayValue(int32_t slot)
{
    static const double byHour[24] = {1, 1, 1, 1, 1, 1, 0.8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0.2, 0.5, 0.8};
    return byHour[slot / 12];
}

// Weekend: asleep until 04:00 and only slot 90 (07:30) above 0.75 in the morning. Ambient tables in
// quarter-lux steps, exact in float: the sleep table falls from 25 to 0, the awake table rises from 0 to 25.
ModelRows GoodModel(int32_t recordDays)
{
    ModelRows rows;
    for (int32_t slot = 0; slot < 288; ++slot) {
        rows.time.push_back({slot, WeekdayValue(slot), slot <= 47 ? 1.0 : (slot == 90 ? 0.9 : 0.0)});
    }
    for (int32_t percent = 0; percent <= 100; ++percent) {
        rows.ambient.push_back({percent, (100 - percent) * 0.25, percent * 0.25});
    }
    SleepParameter parameter;
    parameter.recordDays = recordDays;
    rows.parameters.push_back(parameter);
    return rows;
}

class UserSleepPredictTest : public testing::Test {
protected:
    void SetUp() override
    {
        Emulator::RdbFaults::Reset();
        SleepDatabaseManager::GetInstance()->OnUserSwitched(); // open the database under this test's data root
        STANDBT_MODE = 0;
    }
    void TearDown() override { STANDBT_MODE = 0; }

    // A loaded model with enough recorded days, on the weekday table.
    void LoadGoodModel(int32_t recordDays = 10)
    {
        GoodModel(recordDays).Write();
        ASSERT_EQ(predict_.LoadModel(), 0);
        predict_.UpdateSleepProByWeekType(3);
    }

    // Wednesday 2024-03-06 (UTC) at hh:mm.
    static int64_t At(int hour, int minute = 0) { return LocalTimeMs(2024, 3, 6, hour, minute); }

    // A still, dark, undisturbed observation and the one ten minutes before it.
    static std::pair<SleepDataRecord, SleepDataRecord> QuietNight(int64_t timestamp)
    {
        SleepDataRecord cur;
        cur.timestamp = timestamp;
        cur.stationaryDuration = 7200;
        cur.lastUserStationaryStartDuration = 0;
        cur.userMoveDuration = 0;
        cur.lightDarkDuration = 7200;
        cur.screenOffDuration = 7200;
        cur.screenOnCount = 3;
        cur.light = 0.1;
        cur.proximity = 5.0;
        cur.unlockTimestamp = timestamp - 3 * HOUR_MS;
        cur.weekType = 3;
        SleepDataRecord last = cur;
        last.timestamp = timestamp - 10 * MINUTE_MS;
        last.stationaryDuration -= 600;
        last.lightDarkDuration -= 600;
        last.screenOffDuration -= 600;
        last.bayesResult = 50;
        last.baselineResult = 0;
        return {last, cur};
    }

    Emulator::ScopedTimeZone zone_{"UTC0"};
    Emulator::ScopedDataRoot root_;
    Emulator::ScopedVirtualClock clock_{LocalTimeMs(2024, 3, 6, 12, 0)};
    UserSleepPredict predict_;
};

struct LoaderCase {
    std::string name;
    std::function<void(ModelRows&)> mutate;
    std::string droppedTable;
    int32_t expectedCode;
    std::vector<std::string> expectedLogs;
};

class ModelLoaderTest : public UserSleepPredictTest, public testing::WithParamInterface<LoaderCase> {};

TEST_P(ModelLoaderTest, ReportsCodeAndLog)
{
    const LoaderCase& param = GetParam();
    ModelRows rows = GoodModel(10);
    if (param.mutate) {
        param.mutate(rows);
    }
    rows.Write();
    if (!param.droppedTable.empty()) {
        SleepDatabaseManager::GetInstance()->Execute("DROP TABLE " + param.droppedTable);
    }
    Emulator::LogCapture logs;
    EXPECT_EQ(predict_.LoadModel(), param.expectedCode);
    for (const auto& text : param.expectedLogs) {
        EXPECT_TRUE(logs.HasText(text)) << text;
    }
    EXPECT_EQ(predict_.GetRecordDays(), param.expectedCode == 0 ? 10 : 0);
}

const std::string LOAD_FAILED = "can't get probability or ambient probability of device long standby's stable.";
const std::string WEEKDAY_FAILED = "meet error when load slp Proba Times of weekday type";
const std::string WEEKEND_FAILED = "meet error when load slp Proba Times of weekend type";

INSTANTIATE_TEST_SUITE_P(Tables, ModelLoaderTest,
    testing::Values(LoaderCase{"Good", nullptr, "", 0, {}},
        LoaderCase{"TimeTableShort", [](ModelRows& r) { r.time.pop_back(); }, "", 38,
            {"unexpected long standby probability table length.", WEEKDAY_FAILED, LOAD_FAILED}},
        LoaderCase{"TimeIndexTooLarge", [](ModelRows& r) { r.time[5].timeIndex = 288; }, "", 38,
            {"index error when loading long standby probability of time.", WEEKDAY_FAILED}},
        LoaderCase{"TimeIndexNegative", [](ModelRows& r) { r.time[5].timeIndex = -1; }, "", 38,
            {"index error when loading long standby probability of time."}},
        LoaderCase{"TimeValueAboveOne", [](ModelRows& r) { r.time[5].probability = 1.2; }, "", 38,
            {"probability error when loading long standby probability of time.", WEEKDAY_FAILED}},
        LoaderCase{"WeekendFlat",
            [](ModelRows& r) {
                for (auto& row : r.time) {
                    row.probabilityWeekend = 0.3;
                }
            },
            "", 38, {"the quality of long standby probability is not good.", WEEKEND_FAILED, LOAD_FAILED}},
        LoaderCase{"AmbientShort", [](ModelRows& r) { r.ambient.pop_back(); }, "", 38,
            {"unexpected long standby ambient probability table length.", LOAD_FAILED}},
        LoaderCase{"AmbientPercentOutOfRange", [](ModelRows& r) { r.ambient[3].percent = 101; }, "", 38,
            {"index error when loading long standby probabilities of ambient."}},
        LoaderCase{"AmbientSleepNegative", [](ModelRows& r) { r.ambient[3].sleepAmbient = -0.5; }, "", 38,
            {"the ambient is invalid when loading long standby probabilities of ambient."}},
        LoaderCase{"AmbientUnsleepNegative", [](ModelRows& r) { r.ambient[3].unsleepAmbient = -0.5; }, "", 38,
            {"the ambient is invalid when loading device no long standby probabilities of ambient."}},
        LoaderCase{"TwoParameterRows", [](ModelRows& r) { r.parameters.push_back(r.parameters[0]); }, "", 22,
            {"unexpected length of long standby parameters table (should be 1)."}},
        LoaderCase{"NoParameterRow", [](ModelRows& r) { r.parameters.clear(); }, "", 22,
            {"unexpected length of long standby parameters table (should be 1)."}},
        LoaderCase{"ParametersUnreadable", nullptr, "sleep_parameters", 38,
            {"can't get writable table of long standby parameters."}},
        LoaderCase{"TimeTableUnreadable", nullptr, "sleep_probability", 38,
            {"can't get writable table of long standby probability.", WEEKDAY_FAILED}},
        LoaderCase{"AmbientUnreadable", nullptr, "sleep_ambient_probability", 38,
            {"can't get writable table of long standby ambient probability.", LOAD_FAILED}}),
    [](const testing::TestParamInfo<LoaderCase>& info) { return info.param.name; });

TEST_F(UserSleepPredictTest, DirectLoaderReportsInvalidDataAsTwentyTwo)
{
    ModelRows rows = GoodModel(10);
    for (auto& row : rows.time) {
        row.probability = 0.4;
    }
    rows.Write();
    std::vector<float> table;
    EXPECT_EQ(predict_.LoadProbabilityByWeekType(table, "probability"), 22);
    EXPECT_EQ(predict_.LoadProbabilityByWeekType(table, "probability_weekend"), 0);
    EXPECT_EQ(predict_.LoadProbaAmbient(), 0);
}

TEST_F(UserSleepPredictTest, LoadingNormalisesAndWeekTypeSelectsTable)
{
    ModelRows rows = GoodModel(10);
    for (auto& row : rows.time) {
        row.probability = 0.2 + 0.6 * WeekdayValue(row.timeIndex); // spans 0.2 ... 0.8
    }
    rows.Write();
    ASSERT_EQ(predict_.LoadModel(), 0);
    predict_.UpdateSleepProByWeekType(5);
    const auto& weekday = predict_.GetTimeSleepProba();
    EXPECT_FLOAT_EQ(weekday[0], 1.0F);
    EXPECT_FLOAT_EQ(weekday[100], 0.0F);
    EXPECT_FLOAT_EQ(weekday[264], 0.5F);
    predict_.UpdateSleepProByWeekType(6);
    EXPECT_FLOAT_EQ(predict_.GetTimeSleepProba()[90], 0.9F);
    EXPECT_FLOAT_EQ(predict_.GetTimeSleepProba()[60], 0.0F);
}

using Adjust = std::function<void(UserSleepPredict&, SleepDataRecord& last, SleepDataRecord& cur)>;
using Decision = int32_t (*)(UserSleepPredict&, const SleepDataRecord& last, SleepDataRecord& cur);

const Decision Bayes = [](UserSleepPredict& p, const auto& last, auto& cur) { return p.SleepBayesPredict(last, cur); };
const Decision Baseline = [](UserSleepPredict& p, const auto& l, auto& c) { return p.SleepBaselinePredict(l, c); };
const Decision Keep = [](UserSleepPredict& p, const auto& l, auto& c) { return p.IsKeepUserSleeping(l, c) ? 1 : 0; };

// One decision on a quiet night observation at hh:mm, changed by `adjust`, with the good model loaded.
struct DecisionCase {
    std::string name;
    Decision decide;
    int hour, minute;
    Adjust adjust;
    int32_t expected;
};

class DecisionTest : public UserSleepPredictTest, public testing::WithParamInterface<DecisionCase> {};

TEST_P(DecisionTest, Decides)
{
    LoadGoodModel();
    auto [last, cur] = QuietNight(At(GetParam().hour, GetParam().minute));
    if (GetParam().adjust) {
        GetParam().adjust(predict_, last, cur);
    }
    EXPECT_EQ(GetParam().decide(predict_, last, cur), GetParam().expected);
}

// Sets what the sensors report at once; the defaults are the quiet night's values.
Adjust Sensed(int32_t still, int32_t dark, int32_t screenOff = 7200, double light = 0.1, double proximity = 5.0)
{
    return [=](auto&, auto&, auto& c) {
        c.stationaryDuration = still;
        c.lightDarkDuration = dark;
        c.screenOffDuration = screenOff;
        c.light = light;
        c.proximity = proximity;
    };
}

INSTANTIATE_TEST_SUITE_P(Bayes, DecisionTest,
    testing::Values(DecisionCase{"TenMinutesBeforeAlarm", Bayes, 2, 0,
                        [](auto&, auto&, auto& c) { c.nextAlarmClockTime = c.timestamp + 10 * MINUTE_MS; }, 0},
        DecisionCase{"HalfHourAfterAlarmRang", Bayes, 2, 0,
            [](auto& p, auto&, auto& c) { p.UpdateLastClockTime(c.timestamp - 30 * MINUTE_MS); }, 0},
        DecisionCase{"AlarmRangLaterThanObservation", Bayes, 2, 0,
            [](auto& p, auto&, auto& c) { p.UpdateLastClockTime(c.timestamp + MINUTE_MS); }, 100},
        DecisionCase{"DayTime", Bayes, 14, 0, nullptr, 0}, DecisionCase{"NineInTheEvening", Bayes, 21, 0, nullptr, 0},
        DecisionCase{"KeepSleeping", Bayes, 2, 0,
            [](auto&, auto& l, auto& c) {
                l.bayesResult = 95;
                c.screenOnCount = l.screenOnCount + 1;
            },
            101},
        DecisionCase{"SharpLightRise", Bayes, 2, 0, Sensed(7200, 7200, 7200, 60.2), 0},
        DecisionCase{"ShortDarkness", Bayes, 2, 0, [](auto&, auto&, auto& c) { c.lightDarkDuration = 300; }, 0},
        // 22:00 slot 0.5, light 3.5: sleep likelihood 0.88, awake 0.12 -> 0.89 / 1.02.
        DecisionCase{"AmbientPath", Bayes, 22, 0, [](auto&, auto& l, auto& c) { c.light = l.light = 3.5; }, 87},
        // 23:30 slot 0.8 without a light reading: 0.81^2 / (0.21^2 + 0.81^2).
        DecisionCase{"TimeOnlyPath", Bayes, 23, 30, [](auto&, auto& l, auto& c) { c.light = l.light = -1.0; }, 94},
        DecisionCase{"DarkAndCovered", Bayes, 2, 0, Sensed(7200, 7200, 7200, 0.3, 0.0), 102}),
    [](const testing::TestParamInfo<DecisionCase>& info) { return info.param.name; });

INSTANTIATE_TEST_SUITE_P(KeepSleeping, DecisionTest,
    testing::Values(DecisionCase{"Undisturbed", Keep, 2, 0, nullptr, 1},
        DecisionCase{"ShortStillDarkNotGrown", Keep, 2, 0,
            [](auto&, auto& l, auto& c) { c.lightDarkDuration = l.lightDarkDuration; }, 0},
        DecisionCase{"LongStillDarkNotGrownNoRise", Keep, 2, 0,
            [](auto&, auto& l, auto& c) {
                c.stationaryDuration = 10800;
                c.lightDarkDuration = l.lightDarkDuration;
            },
            1},
        DecisionCase{"LongStillSharpRiseDarkNotGrown", Keep, 2, 0,
            [](auto&, auto& l, auto& c) {
                c.screenOffDuration = 10800;
                c.light = 60.0;
                c.lightDarkDuration = l.lightDarkDuration;
            },
            0},
        DecisionCase{"UnlockedSinceLast", Keep, 2, 0,
            [](auto&, auto&, auto& c) { c.unlockTimestamp = c.timestamp - MINUTE_MS; }, 0},
        DecisionCase{"Moved", Keep, 2, 0, [](auto&, auto&, auto& c) { c.userMoveDuration = 5; }, 0},
        DecisionCase{
            "TwoScreenOns", Keep, 2, 0, [](auto&, auto& l, auto& c) { c.screenOnCount = l.screenOnCount + 2; }, 0},
        // Counts from a tester's record at opposite ends of their range: the true increase decides.
        DecisionCase{"ScreenOnCountFromLowestToHighest", Keep, 2, 0,
            [](auto&, auto& l, auto& c) {
                l.screenOnCount = INT32_MIN;
                c.screenOnCount = INT32_MAX;
            },
            0},
        DecisionCase{"ScreenOnCountFromHighestToLowest", Keep, 2, 0,
            [](auto&, auto& l, auto& c) {
                l.screenOnCount = INT32_MAX;
                c.screenOnCount = INT32_MIN;
            },
            1}),
    [](const testing::TestParamInfo<DecisionCase>& info) { return info.param.name; });

INSTANTIATE_TEST_SUITE_P(BaselineTimeBands, DecisionTest,
    testing::Values(DecisionCase{"NearNextAlarm", Baseline, 2, 0,
                        [](auto&, auto&, auto& c) { c.nextAlarmClockTime = c.timestamp - 14 * MINUTE_MS; }, 0},
        DecisionCase{"DayTime", Baseline, 15, 0, Sensed(20000, 20000), 0},
        DecisionCase{"NineInTheEvening", Baseline, 21, 0, Sensed(20000, 20000), 0},
        DecisionCase{"ElevenPmEnough", Baseline, 23, 0, Sensed(1800, 1800), 1},
        DecisionCase{"ElevenPmShortStill", Baseline, 23, 0, Sensed(1799, 1800), 0},
        DecisionCase{"ElevenPmShortDark", Baseline, 23, 0, Sensed(1800, 1799), 0},
        DecisionCase{"NightKeptAsleep", Baseline, 2, 0,
            [](auto&, auto& l, auto& c) {
                l.baselineResult = 1;
                c.stationaryDuration = 100;
                c.lightDarkDuration = l.lightDarkDuration + 1;
            },
            1},
        DecisionCase{"NightBrightLongStill", Baseline, 2, 0, Sensed(7201, 7200, 7200, 60.0), 1},
        DecisionCase{"NightBrightShortStill", Baseline, 2, 0, Sensed(7200, 7200, 7200, 60.0), 0},
        DecisionCase{"NightStillnessLostAfterLongStill", Baseline, 2, 0,
            [](auto& p, auto& l, auto& c) {
                Sensed(0, 1800, 1800)(p, l, c);
                c.lastUserStationaryStartDuration = 18000;
            },
            1},
        DecisionCase{"NightStillOverAnHour", Baseline, 2, 0, Sensed(3601, 0), 1},
        DecisionCase{"NightCoveredDark", Baseline, 2, 0, Sensed(1800, 0, 7200, 0.0, 0.0), 1},
        DecisionCase{"NightTwentyMinutes", Baseline, 2, 0, Sensed(1201, 1201), 1},
        DecisionCase{"NightJustShort", Baseline, 2, 0, Sensed(1200, 1201), 0},
        DecisionCase{"MorningScreenOffTooShort", Baseline, 7, 0, Sensed(20000, 20000, 3600), 0},
        DecisionCase{"MorningVeryStill", Baseline, 7, 0, Sensed(14401, 0, 3601), 1},
        DecisionCase{"MorningStillAndDark", Baseline, 7, 0, Sensed(1801, 1801, 3601), 1},
        DecisionCase{"MorningNotDarkEnough", Baseline, 7, 0, Sensed(1801, 1800, 3601), 0}),
    [](const testing::TestParamInfo<DecisionCase>& info) { return info.param.name; });

TEST_F(UserSleepPredictTest, BayesNeedsSevenRecordedDaysAndStoresSlotProbability)
{
    LoadGoodModel(6);
    auto [last, cur] = QuietNight(At(2));
    Emulator::LogCapture logs;
    EXPECT_EQ(predict_.SleepBayesPredict(last, cur), -1);
    EXPECT_TRUE(logs.HasText("the number of days which has recorded data is too little."));

    auto manager = SleepDatabaseManager::GetInstance();
    manager->Delete(SleepParameter::TABLE_NAME, "", {});
    SleepParameter parameter;
    parameter.recordDays = 7;
    ASSERT_EQ(manager->InsertEntry(SleepParameter::TABLE_NAME, parameter), 0);
    ASSERT_EQ(predict_.LoadModel(), 0);
    EXPECT_EQ(predict_.SleepBayesPredict(last, cur), 100);
    EXPECT_DOUBLE_EQ(cur.timeSleepProbability, static_cast<double>(1.01F));
}

TEST_F(UserSleepPredictTest, AmbientScanAtHalfLuxUsesNoEntry)
{
    LoadGoodModel();
    float ambient = predict_.GetAmbientLight(0.5);
    EXPECT_EQ(ambient, 0.0F);
    EXPECT_FLOAT_EQ(predict_.CalculateProbabilitySleepByAmbient(ambient), 1.0F);
    EXPECT_FLOAT_EQ(predict_.CalculateProbabilityUnsleepByAmbient(ambient), 0.0F);
    EXPECT_FLOAT_EQ(predict_.CalculateProbabilitySleepByAmbient(30.0F), 0.0F);
    EXPECT_FLOAT_EQ(predict_.CalculateProbabilityUnsleepByAmbient(30.0F), 1.0F);
}

constexpr int64_t NO_ALARM = INT64_MIN;

struct WakeCase {
    std::string name;
    int32_t recordDays, weekType;
    int hour, minute;
    int64_t alarmOffsetMs; // next alarm relative to the observation, or NO_ALARM
    float notificationProba;
    bool inFeedbackPeriod;
    int32_t standbyMode, expectedWakeSecond;
};

class WakeUpPredictTest : public UserSleepPredictTest, public testing::WithParamInterface<WakeCase> {};

TEST_P(WakeUpPredictTest, PredictsWholeHourShiftedWakeUp)
{
    const WakeCase& param = GetParam();
    LoadGoodModel(param.recordDays);
    predict_.UpdateSleepProByWeekType(param.weekType);
    STANDBT_MODE = param.standbyMode;
    auto [last, cur] = QuietNight(At(param.hour, param.minute));
    cur.nextAlarmClockTime = param.alarmOffsetMs == NO_ALARM ? -1 : cur.timestamp + param.alarmOffsetMs;
    // Only the whole hours of "now" are taken off: an observation at 23:40 moves by (wake + 24 h - 23 h),
    // so its result lies 40 minutes after the wall-clock wake time.
    int64_t shiftSec = param.expectedWakeSecond + (param.hour > 12 ? 86400 : 0) - param.hour * 3600;
    EXPECT_EQ(
        predict_.WakeUpPredict(cur, param.notificationProba, param.inFeedbackPeriod), cur.timestamp + shiftSec * 1000);
}

INSTANTIATE_TEST_SUITE_P(Cases, WakeUpPredictTest,
    testing::Values(WakeCase{"FewDaysNoAlarmDefault", 3, 3, 23, 0, NO_ALARM, 0.0F, false, 0, 22500},
        WakeCase{"FewDaysNoAlarmStandbyDefault", 3, 3, 23, 0, NO_ALARM, 0.0F, false, 1, 29700},
        WakeCase{"MinutesOfNowAreKept", 3, 3, 23, 40, NO_ALARM, 0.0F, false, 0, 22500},
        WakeCase{"FewDaysAlarmAtSeven", 3, 3, 23, 0, 8 * HOUR_MS, 0.0F, false, 0, 25200},
        WakeCase{"FewDaysAlarmAfterNine", 3, 3, 1, 0, 8 * HOUR_MS + 30 * MINUTE_MS, 0.0F, false, 0, 22500},
        WakeCase{"AlarmInThePastIgnored", 3, 3, 3, 0, -30 * MINUTE_MS, 0.0F, false, 0, 22500},
        WakeCase{"AlarmMoreThanNineHoursAway", 3, 3, 1, 0, 9 * HOUR_MS, 0.0F, false, 0, 22500},
        WakeCase{"AlarmAfterNoonIgnored", 10, 3, 4, 0, 8 * HOUR_MS + 30 * MINUTE_MS, 0.0F, false, 0, 24900},
        WakeCase{"HabitLastSlotAboveThreshold", 10, 3, 23, 0, NO_ALARM, 0.0F, false, 0, 24900},
        WakeCase{"HabitCappedByEarlierAlarm", 10, 3, 23, 0, 7 * HOUR_MS, 0.0F, false, 0, 21600},
        WakeCase{"FeedbackThreshold", 10, 3, 23, 0, NO_ALARM, 0.0F, true, 0, 21300},
        WakeCase{"NotificationRaisesThreshold", 10, 3, 23, 0, NO_ALARM, 0.4F, false, 0, 21300},
        WakeCase{"WeekendSlotAtHalfPastSeven", 10, 6, 23, 0, NO_ALARM, 0.0F, false, 0, 27000},
        WakeCase{"WeekendNoSlotReachesThreshold", 10, 6, 23, 0, NO_ALARM, 0.0F, true, 0, 22500}),
    [](const testing::TestParamInfo<WakeCase>& info) { return info.param.name; });

TEST_F(UserSleepPredictTest, NearClockUsesUnsignedDistanceToLastAlarm)
{
    int64_t now = At(3);
    EXPECT_FALSE(predict_.IsNearClock(now, -1)); // no alarm rang yet
    predict_.UpdateLastClockTime(now);
    EXPECT_FALSE(predict_.IsNearClock(now, -1));
    EXPECT_TRUE(predict_.IsNearClock(now + 1, -1));
    EXPECT_TRUE(predict_.IsNearClock(now + HOUR_MS - 1, -1));
    EXPECT_FALSE(predict_.IsNearClock(now + HOUR_MS, -1));
    EXPECT_FALSE(predict_.IsNearClock(now - MINUTE_MS, -1));
    EXPECT_TRUE(predict_.IsNearClock(now - MINUTE_MS, now + 13 * MINUTE_MS));
    EXPECT_FALSE(predict_.IsNearClock(now - MINUTE_MS, now + 14 * MINUTE_MS));
}

} // namespace
} // namespace OHOS::DevStandbyMgr
