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
    constexpr int32_t slotsPerHour = 12;
    int32_t hour = slot / slotsPerHour;
    if (hour < 6) {
        return 1.0;
    }
    if (hour < 7) {
        return 0.8;
    }
    switch (hour) {
    case 21:
        return 0.2;
    case 22:
        return 0.5;
    case 23:
        return 0.8;
    default:
        return 0.0;
    }
}

// Weekend: asleep until 04:00 and only slot 90 (07:30) above 0.75 in the morning.
double WeekendValue(int32_t slot)
{
    constexpr int32_t lastAsleepSlot = 47;
    constexpr int32_t lateMorningSlot = 90;
    if (slot <= lastAsleepSlot) {
        return 1.0;
    }
    return slot == lateMorningSlot ? 0.9 : 0.0;
}

ModelRows GoodModel(int32_t recordDays)
{
    ModelRows rows;
    for (int32_t slot = 0; slot < 288; ++slot) {
        SleepProbability row;
        row.timeIndex = slot;
        row.probability = WeekdayValue(slot);
        row.probabilityWeekend = WeekendValue(slot);
        rows.time.push_back(row);
    }
    // Quarter-lux steps, exact in float: sleep table falls from 25 to 0, awake table rises from 0 to 25.
    for (int32_t percent = 0; percent <= 100; ++percent) {
        SleepAmbientProbability row;
        row.percent = percent;
        row.sleepAmbient = (100 - percent) * 0.25;
        row.unsleepAmbient = percent * 0.25;
        rows.ambient.push_back(row);
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

struct BayesCase {
    std::string name;
    int hour;
    int minute;
    std::function<void(UserSleepPredict&, SleepDataRecord& last, SleepDataRecord& cur)> adjust;
    int32_t expected;
};

class BayesPredictTest : public UserSleepPredictTest, public testing::WithParamInterface<BayesCase> {};

TEST_P(BayesPredictTest, Scores)
{
    LoadGoodModel();
    auto [last, cur] = QuietNight(At(GetParam().hour, GetParam().minute));
    if (GetParam().adjust) {
        GetParam().adjust(predict_, last, cur);
    }
    EXPECT_EQ(predict_.SleepBayesPredict(last, cur), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Observations, BayesPredictTest,
    testing::Values(BayesCase{"TenMinutesBeforeAlarm", 2, 0,
                        [](UserSleepPredict&, SleepDataRecord&, SleepDataRecord& c) {
                            c.nextAlarmClockTime = c.timestamp + 10 * MINUTE_MS;
                        },
                        0},
        BayesCase{"HalfHourAfterAlarmRang", 2, 0,
            [](UserSleepPredict& p, SleepDataRecord&, SleepDataRecord& c) {
                p.UpdateLastClockTime(c.timestamp - 30 * MINUTE_MS);
            },
            0},
        BayesCase{"AlarmRangLaterThanObservation", 2, 0,
            [](UserSleepPredict& p, SleepDataRecord&, SleepDataRecord& c) {
                p.UpdateLastClockTime(c.timestamp + MINUTE_MS);
            },
            100},
        BayesCase{"DayTime", 14, 0, nullptr, 0}, BayesCase{"NineInTheEvening", 21, 0, nullptr, 0},
        BayesCase{"KeepSleeping", 2, 0,
            [](UserSleepPredict&, SleepDataRecord& l, SleepDataRecord& c) {
                l.bayesResult = 95;
                c.screenOnCount = l.screenOnCount + 1;
            },
            101},
        BayesCase{"KeepSleepingBrokenByUnlock", 2, 0,
            [](UserSleepPredict&, SleepDataRecord& l, SleepDataRecord& c) {
                l.bayesResult = 95;
                c.unlockTimestamp = c.timestamp - MINUTE_MS;
            },
            100},
        BayesCase{
            "SharpLightRise", 2, 0, [](UserSleepPredict&, SleepDataRecord&, SleepDataRecord& c) { c.light = 60.2; }, 0},
        BayesCase{"ShortDarkness", 2, 0,
            [](UserSleepPredict&, SleepDataRecord&, SleepDataRecord& c) { c.lightDarkDuration = 300; }, 0},
        // 22:00 slot 0.5, light 3.5: sleep likelihood 0.88, awake 0.12 -> 0.89 / 1.02.
        BayesCase{"AmbientPath", 22, 0,
            [](UserSleepPredict&, SleepDataRecord& l, SleepDataRecord& c) { c.light = l.light = 3.5; }, 87},
        // 23:30 slot 0.8 without a light reading: 0.81^2 / (0.21^2 + 0.81^2).
        BayesCase{"TimeOnlyPath", 23, 30,
            [](UserSleepPredict&, SleepDataRecord& l, SleepDataRecord& c) { c.light = l.light = -1.0; }, 94},
        BayesCase{"DarkAndCovered", 2, 0,
            [](UserSleepPredict&, SleepDataRecord&, SleepDataRecord& c) {
                c.light = 0.3;
                c.proximity = 0.0;
            },
            102}),
    [](const testing::TestParamInfo<BayesCase>& info) { return info.param.name; });

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

struct KeepCase {
    std::string name;
    std::function<void(SleepDataRecord& last, SleepDataRecord& cur)> adjust;
    bool expected;
};

class KeepSleepingTest : public UserSleepPredictTest, public testing::WithParamInterface<KeepCase> {};

TEST_P(KeepSleepingTest, Decides)
{
    auto [last, cur] = QuietNight(At(2));
    GetParam().adjust(last, cur);
    EXPECT_EQ(predict_.IsKeepUserSleeping(last, cur), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Rules, KeepSleepingTest,
    testing::Values(KeepCase{"Undisturbed", [](SleepDataRecord&, SleepDataRecord&) {}, true},
        KeepCase{"ShortStillDarkNotGrown",
            [](SleepDataRecord& l, SleepDataRecord& c) { c.lightDarkDuration = l.lightDarkDuration; }, false},
        KeepCase{"LongStillDarkNotGrownNoRise",
            [](SleepDataRecord& l, SleepDataRecord& c) {
                c.stationaryDuration = 10800;
                c.lightDarkDuration = l.lightDarkDuration;
            },
            true},
        KeepCase{"LongStillSharpRiseDarkNotGrown",
            [](SleepDataRecord& l, SleepDataRecord& c) {
                c.screenOffDuration = 10800;
                c.light = 60.0;
                c.lightDarkDuration = l.lightDarkDuration;
            },
            false},
        KeepCase{"Moved", [](SleepDataRecord&, SleepDataRecord& c) { c.userMoveDuration = 5; }, false},
        KeepCase{"TwoScreenOns", [](SleepDataRecord& l, SleepDataRecord& c) { c.screenOnCount = l.screenOnCount + 2; },
            false}),
    [](const testing::TestParamInfo<KeepCase>& info) { return info.param.name; });

struct BaselineCase {
    std::string name;
    int hour;
    std::function<void(SleepDataRecord& last, SleepDataRecord& cur)> adjust;
    int32_t expected;
};

class BaselinePredictTest : public UserSleepPredictTest, public testing::WithParamInterface<BaselineCase> {};

TEST_P(BaselinePredictTest, Decides)
{
    auto [last, cur] = QuietNight(At(GetParam().hour));
    GetParam().adjust(last, cur);
    EXPECT_EQ(predict_.SleepBaselinePredict(last, cur), GetParam().expected);
}

// Sets stationary, dark and screen-off durations at once.
std::function<void(SleepDataRecord&, SleepDataRecord&)> Durations(int32_t still, int32_t dark, int32_t screenOff = 7200)
{
    return [=](SleepDataRecord&, SleepDataRecord& c) {
        c.stationaryDuration = still;
        c.lightDarkDuration = dark;
        c.screenOffDuration = screenOff;
    };
}

INSTANTIATE_TEST_SUITE_P(TimeBands, BaselinePredictTest,
    testing::Values(
        BaselineCase{"NearNextAlarm", 2,
            [](SleepDataRecord&, SleepDataRecord& c) { c.nextAlarmClockTime = c.timestamp - 14 * MINUTE_MS; }, 0},
        BaselineCase{"DayTime", 15, Durations(20000, 20000), 0},
        BaselineCase{"NineInTheEvening", 21, Durations(20000, 20000), 0},
        BaselineCase{"ElevenPmEnough", 23, Durations(1800, 1800), 1},
        BaselineCase{"ElevenPmShortStill", 23, Durations(1799, 1800), 0},
        BaselineCase{"ElevenPmShortDark", 23, Durations(1800, 1799), 0},
        BaselineCase{"NightKeptAsleep", 2,
            [](SleepDataRecord& l, SleepDataRecord& c) {
                l.baselineResult = 1;
                c.stationaryDuration = 100;
                c.lightDarkDuration = l.lightDarkDuration + 1;
            },
            1},
        BaselineCase{"NightBrightLongStill", 2,
            [](SleepDataRecord&, SleepDataRecord& c) {
                c.light = 60.0;
                c.stationaryDuration = 7201;
            },
            1},
        BaselineCase{"NightBrightShortStill", 2,
            [](SleepDataRecord&, SleepDataRecord& c) {
                c.light = 60.0;
                c.stationaryDuration = 7200;
            },
            0},
        BaselineCase{"NightStillnessLostAfterLongStill", 2,
            [](SleepDataRecord&, SleepDataRecord& c) {
                c.stationaryDuration = 0;
                c.lastUserStationaryStartDuration = 18000;
                c.lightDarkDuration = 1800;
                c.screenOffDuration = 1800;
            },
            1},
        BaselineCase{"NightStillOverAnHour", 2, Durations(3601, 0), 1},
        BaselineCase{"NightCoveredDark", 2,
            [](SleepDataRecord&, SleepDataRecord& c) {
                c.light = 0.0;
                c.proximity = 0.0;
                c.stationaryDuration = 1800;
                c.lightDarkDuration = 0;
            },
            1},
        BaselineCase{"NightTwentyMinutes", 2, Durations(1201, 1201), 1},
        BaselineCase{"NightJustShort", 2, Durations(1200, 1201), 0},
        BaselineCase{"MorningScreenOffTooShort", 7, Durations(20000, 20000, 3600), 0},
        BaselineCase{"MorningVeryStill", 7, Durations(14401, 0, 3601), 1},
        BaselineCase{"MorningStillAndDark", 7, Durations(1801, 1801, 3601), 1},
        BaselineCase{"MorningNotDarkEnough", 7, Durations(1801, 1800, 3601), 0}),
    [](const testing::TestParamInfo<BaselineCase>& info) { return info.param.name; });

constexpr int64_t NO_ALARM = INT64_MIN;

struct WakeCase {
    std::string name;
    int32_t recordDays;
    int32_t weekType;
    int hour;
    int minute;
    int64_t alarmOffsetMs; // next alarm relative to the observation, or NO_ALARM
    float notificationProba;
    bool inFeedbackPeriod;
    int32_t standbyMode;
    int32_t expectedWakeSecond;
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
