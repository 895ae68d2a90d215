#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "engine_test_world.h"
#include "hilog.h"
#include "rdb_faults.h"
#include "scoped_time_zone.h"
#include "sleep_database_manager.h"
#include "sleep_detection_test_peer.h"
#include "sleep_shared_pref.h"

namespace OHOS::DevStandbyMgr {
namespace {

namespace Emulator = OHOS::Emulator;
using OHOS::AAFwk::Want;

constexpr int64_t kMinuteMs = 60000;
constexpr int64_t kHourMs = 3600000;
constexpr int64_t kDayMs = 24 * kHourMs;
// Wednesday 2025-01-15 00:00 UTC.
constexpr int64_t kWednesdayMs = 1736899200000;

int64_t At(int32_t hour, int32_t minute = 0)
{
    return kWednesdayMs + hour * kHourMs + minute * kMinuteMs;
}

class SleepDetectionTest : public testing::Test {
protected:
    Emulator::ScopedTimeZone zone_{"UTC0"};
    EngineTestWorld world_{At(23)};
    SleepDetectionTestPeer peer_{world_.Engine()};
};

struct PredictTimeCase {
    int64_t time;
    bool lastSleepState;
    bool expected;
};

TEST_F(SleepDetectionTest, PredictTimeCoversTheNightAndKeepsTheMorningWhileAsleep)
{
    const std::vector<PredictTimeCase> cases{
        {At(21), false, true},
        {At(21) - 1000, false, false},
        {At(7, 59), false, true},
        {At(8), false, false},
        {At(11, 59), true, true},
        {At(12), true, false},
        {At(0), false, true},
    };
    for (const PredictTimeCase& c : cases) {
        peer_.LastSleepState() = c.lastSleepState;
        Emulator::LogCapture capture;
        EXPECT_EQ(world_.Engine().IsPredictTime(c.time), c.expected) << c.time;
        bool kept = c.expected && c.lastSleepState;
        EXPECT_EQ(capture.HasText("cur time is keep predict"), kept) << c.time << " " << c.lastSleepState;
    }
}

TEST_F(SleepDetectionTest, NightConditionRespectsSpacingTestModeAndResetsByDay)
{
    world_.Clock().SetWallTimeMs(At(23, 30));
    peer_.LastNightCollectTime() = At(23, 20) + 1;
    EXPECT_FALSE(world_.Engine().IsMeetDataCollectCondition());
    peer_.LastNightCollectTime() = At(23, 20);
    EXPECT_TRUE(world_.Engine().IsMeetDataCollectCondition());
    peer_.SleepTestMode() = true;
    EXPECT_FALSE(world_.Engine().IsMeetDataCollectCondition());
    peer_.SleepTestMode() = false;

    peer_.BayesResult() = 95;
    peer_.BaselineResult() = 1;
    peer_.WakeUpTimestamp() = At(30);
    peer_.IsUserSleep() = true;
    peer_.IsEnhanceModelSleep() = true;
    peer_.ThreeSigmaModeSwitch() = true;
    peer_.StartLightSleepTimestamp() = At(27);
    world_.Clock().SetWallTimeMs(At(24 + 9));
    EXPECT_FALSE(world_.Engine().IsMeetDataCollectCondition());
    EXPECT_EQ(peer_.BayesResult(), 0);
    EXPECT_EQ(peer_.BaselineResult(), 0);
    EXPECT_EQ(peer_.WakeUpTimestamp(), -1);
    EXPECT_FALSE(peer_.IsUserSleep());
    EXPECT_FALSE(peer_.IsEnhanceModelSleep());
    EXPECT_FALSE(peer_.ThreeSigmaModeSwitch());
    EXPECT_EQ(peer_.StartLightSleepTimestamp(), 0);
}

TEST_F(SleepDetectionTest, DayConditionNeedsDayTimeAQuarterHourDarkAndAnHourSinceTheLastObservation)
{
    world_.Clock().SetWallTimeMs(At(24 + 7, 30));
    world_.ScreenOff();
    const std::vector<std::pair<int64_t, bool>> cases{
        {At(24 + 7, 44), false},                                                  // night hours
        {At(24 + 8), false},                                                      // exactly 08:00
        {At(24 + 8) + 1000, true}, {At(24 + 20, 59), true}, {At(24 + 21), false}, // exactly 21:00
    };
    for (const auto& [time, expected] : cases) {
        world_.Clock().SetWallTimeMs(time);
        EXPECT_EQ(world_.Engine().IsMeetDayDataCollectCondition(), expected) << time;
    }
    world_.Clock().SetWallTimeMs(At(24 + 10));
    peer_.LastDayCollectTime() = At(24 + 9, 50) + 1;
    EXPECT_FALSE(world_.Engine().IsMeetDayDataCollectCondition());
}

struct DecisionCase {
    const char* name;
    int32_t bayes;
    int32_t baseline;
    int64_t wakeupFromNowMs;
    bool enhanceBetter;
    int32_t stationarySec;
    int32_t hour;
    bool userSleep;
    bool enhanceSleep;
    int32_t baselineAfter;
};

class SleepDetectionDecisionTest : public SleepDetectionTest, public testing::WithParamInterface<DecisionCase> {};

// The decision steps after the predictor answered: sleep, enhance model and its overruling.
TEST_P(SleepDetectionDecisionTest, DecidesFromBayesBaselineWakeupAndEnhanceModel)
{
    const DecisionCase& c = GetParam();
    int64_t now = At(24 + c.hour);
    world_.Clock().SetWallTimeMs(now);
    peer_.BayesResult() = c.bayes;
    peer_.BaselineResult() = c.baseline;
    peer_.WakeUpTimestamp() = now + c.wakeupFromNowMs;
    peer_.IsEnhanceModelBetter() = c.enhanceBetter;
    peer_.LastEnhanceModelBetterTime() = now - kHourMs;
    peer_.NowCollectedData().timestamp = now;
    peer_.NowCollectedData().stationaryDuration = c.stationarySec;
    peer_.NowCollectedData().screenOffDuration = 0;

    peer_.IsUserSleep() = world_.Engine().IsUserSleep();
    peer_.IsEnhanceModelSleep() = peer_.IsUserSleep() && world_.Engine().IsEnhanceModelSleep();
    world_.Engine().UpdateIsEnhanceModelBetter();
    EXPECT_EQ(peer_.IsUserSleep(), c.userSleep);
    EXPECT_EQ(peer_.IsEnhanceModelSleep(), c.enhanceSleep);
    EXPECT_EQ(peer_.BaselineResult(), c.baselineAfter);
}

constexpr int64_t kFarWakeup = 5 * kHourMs;
INSTANTIATE_TEST_SUITE_P(Table, SleepDetectionDecisionTest,
    testing::Values(DecisionCase{"Bayes90Asleep", 90, 0, kFarWakeup, false, 0, 2, true, true, 0},
        DecisionCase{"Bayes89Awake", 89, 1, kFarWakeup, false, 0, 2, false, false, 1},
        DecisionCase{"NoBayesBaselineAsleep", -1, 1, kFarWakeup, false, 0, 2, true, false, 1},
        DecisionCase{"NoBayesBaselineAwake", -1, 0, kFarWakeup, false, 3600, 2, false, false, 0},
        DecisionCase{"WakeupExactlyFifteenMinutesAhead", 99, 1, 15 * kMinuteMs, false, 0, 2, false, false, 1},
        DecisionCase{"WakeupJustOverFifteenMinutes", 99, 1, 15 * kMinuteMs + 1, false, 0, 2, true, true, 1},
        DecisionCase{"EnhanceStillBeforeSix", -1, 1, kFarWakeup, false, 1800, 5, true, true, 1},
        DecisionCase{"EnhanceStillAtSix", -1, 1, kFarWakeup, false, 1800, 6, true, false, 1},
        DecisionCase{"EnhanceTooShort", -1, 1, kFarWakeup, false, 1799, 5, true, false, 1},
        DecisionCase{"EnhanceBetterOverrulesBaseline", -1, 1, kFarWakeup, true, 0, 2, true, false, -2},
        DecisionCase{"EnhanceBetterAgrees", -1, 1, kFarWakeup, true, 1800, 2, true, true, 1},
        DecisionCase{"EnhanceBetterWithBayesKeepsBaseline", 95, 1, kFarWakeup, true, 0, 2, true, true, 1}),
    [](const testing::TestParamInfo<DecisionCase>& info) { return std::string(info.param.name); });

TEST_F(SleepDetectionTest, EnhanceModelCountsForThreeDaysOfObservations)
{
    peer_.IsUserSleep() = true;
    peer_.IsEnhanceModelSleep() = false;
    Emulator::LogCapture capture;
    world_.Engine().HandleEnhanceModel();
    EXPECT_TRUE(peer_.IsEnhanceModelBetter());
    EXPECT_EQ(peer_.LastEnhanceModelBetterTime(), At(23));
    EXPECT_TRUE(
        capture.Contains("is long standby = 1, is enhance long standby = 0, last enhance model better time = "));

    peer_.NowCollectedData().timestamp = At(23) + 3 * kDayMs;
    world_.Engine().UpdateIsEnhanceModelBetter();
    EXPECT_TRUE(peer_.IsEnhanceModelBetter());
    peer_.NowCollectedData().timestamp = At(23) + 3 * kDayMs + 1;
    world_.Engine().UpdateIsEnhanceModelBetter();
    EXPECT_FALSE(peer_.IsEnhanceModelBetter());
    EXPECT_TRUE(capture.HasText("update Is EnhanceModelBetter to 0"));
}

TEST_F(SleepDetectionTest, LightSleepStartTurnsAsleepScoresInto103AndSends2004)
{
    const std::vector<std::pair<int32_t, int32_t>> scores{{95, 103}, {90, 103}, {80, 80}, {-1, -1}};
    for (const auto& [score, stored] : scores) {
        peer_.StartLightSleepTimestamp() = At(23);
        peer_.BayesResult() = score;
        world_.Engine().UpdatemNowCollectedData();
        EXPECT_EQ(peer_.BayesResult(), stored);
        EXPECT_EQ(peer_.NowCollectedData().bayesResult, stored);
    }
    peer_.StartLightSleepTimestamp() = At(23) + 1;
    peer_.BayesResult() = 95;
    world_.Engine().UpdatemNowCollectedData();
    EXPECT_EQ(peer_.BayesResult(), 95);

    peer_.ThreeSigmaModeSwitch() = true;
    peer_.LastSleepState() = false;
    peer_.StartLightSleepTimestamp() = At(23) - 1;
    EXPECT_EQ(world_.Engine().GetEventTypeForSendSleepStateMessage(true), 2004);
    EXPECT_FALSE(peer_.LastSleepState());
    peer_.StartLightSleepTimestamp() = At(23);
    EXPECT_EQ(world_.Engine().GetEventTypeForSendSleepStateMessage(true), 2003);
    EXPECT_TRUE(peer_.LastSleepState());
    EXPECT_EQ(world_.Engine().GetEventTypeForSendSleepStateMessage(false), 2002);
    EXPECT_FALSE(peer_.LastSleepState());
}

TEST_F(SleepDetectionTest, UnsleepMainReasonPrefersTheMostCountedThenTheLargerKey)
{
    const std::vector<std::pair<std::map<int32_t, int32_t>, int32_t>> cases{
        {{{1, 3}, {5, 3}}, 5},
        {{}, 0},
        {{{1, 4}, {2, 1}, {5, 3}}, 1},
        {{{1, 1}, {2, 2}, {8, 2}}, 8},
    };
    for (const auto& [counts, expected] : cases) {
        peer_.UnsleepReasons() = counts;
        EXPECT_EQ(world_.Engine().GetUnsleepMainReason(), expected);
        EXPECT_TRUE(peer_.UnsleepReasons().empty());
    }
}

Want NotificationWant(int64_t timestamp, const std::string& pkg)
{
    Want want;
    want.SetParam("timestamp", timestamp);
    want.SetParam("pkg", pkg);
    return want;
}

TEST_F(SleepDetectionTest, NotificationsAreKeptUpToAMinuteAfterSleepStopped)
{
    world_.Engine().HandleStopSleep();
    int64_t stop = At(23);
    world_.Engine().HandleAddNotificationInfo(NotificationWant(stop - kHourMs, "early"));
    world_.Engine().HandleAddNotificationInfo(NotificationWant(stop + 60000, "edge"));
    world_.Engine().HandleAddNotificationInfo(NotificationWant(stop + 60001, "late"));
    world_.Engine().HandleAddNotificationInfo(std::nullopt);
    std::vector<std::string> kept;
    for (const NotificationInformation& info : peer_.NotificationInfos()) {
        kept.push_back(info.pkg);
    }
    EXPECT_EQ(kept, (std::vector<std::string>{"early", "edge"}));

    world_.Engine().HandleCancelNotificationInfo(NotificationWant(stop + 10, "edge"));
    world_.Engine().HandleCancelNotificationInfo(NotificationWant(stop + 20, "edge"));
    EXPECT_EQ(peer_.CancelNotificationTimes().at("edge"), stop + 10);
}

struct ReactionCase {
    const char* name;
    int64_t notifiedAt;
    int64_t cancelledAt; // -1: never cancelled
    bool valid;
};

class SleepDetectionReactionTest : public SleepDetectionTest, public testing::WithParamInterface<ReactionCase> {};

// A cancellation after the notification and before the judgement is a reaction: the negative
// feedback mode starts, is stored, and the night's notification record says so.
TEST_P(SleepDetectionReactionTest, JudgesTheReactionAndRecordsTheNight)
{
    const ReactionCase& c = GetParam();
    world_.Engine().HandleStopSleep();
    world_.Engine().HandleAddNotificationInfo(NotificationWant(c.notifiedAt, "im.app"));
    if (c.cancelledAt >= 0) {
        world_.Engine().HandleCancelNotificationInfo(NotificationWant(c.cancelledAt, "im.app"));
    }
    world_.Engine().HandleNotificationAfterStopSleep();

    EXPECT_EQ(peer_.IsErrorNotificationControlValue(), c.valid);
    EXPECT_TRUE(peer_.NotificationInfos().empty());
    EXPECT_TRUE(peer_.CancelNotificationTimes().empty());
    int64_t stored = SleepSharedPref::GetInt64Settings(SleepSharedPref::START_NEGATIVE_FEEDBACK_MODE_TIMESTAMP, 0);
    EXPECT_EQ(stored, c.valid ? At(23) : 0);
    ASSERT_EQ(peer_.SleepNotificationRecords().size(), 1U);
    EXPECT_EQ(peer_.SleepNotificationRecords()[0].isHasNotification, c.valid ? 1 : 0);
    EXPECT_EQ(peer_.SleepNotificationRecords()[0].weekDay, 3);
}

INSTANTIATE_TEST_SUITE_P(Table, SleepDetectionReactionTest,
    testing::Values(ReactionCase{"CancelledLater", At(22), At(22) + 1, true},
        ReactionCase{"CancelledAtItsOwnTime", At(22), At(22), false},
        ReactionCase{"CancelledNow", At(22), At(23), false}, ReactionCase{"NeverCancelled", At(22), -1, false}),
    [](const testing::TestParamInfo<ReactionCase>& info) { return std::string(info.param.name); });

TEST_F(SleepDetectionTest, NegativeFeedbackLastsThreeDaysAndSurvivesARestart)
{
    world_.Engine().HandleStopSleep();
    world_.Engine().HandleAddNotificationInfo(NotificationWant(At(22), "im.app"));
    world_.Engine().HandleCancelNotificationInfo(NotificationWant(At(22, 30), "im.app"));
    world_.Engine().HandleNotificationAfterStopSleep();

    world_.CreateEngine();
    SleepDetectionTestPeer restarted(world_.Engine());
    EXPECT_EQ(restarted.StartNegativeFeedbackModeTimestamp(), At(23));
    const std::vector<std::pair<int64_t, bool>> cases{
        {At(23), false}, {At(23) + 1, true}, {At(23) + 3 * kDayMs - 1, true}, {At(23) + 3 * kDayMs, false}};
    for (const auto& [time, enabled] : cases) {
        world_.Clock().SetWallTimeMs(time);
        EXPECT_EQ(world_.Engine().IsEnableNegativeFeedbackMode(), enabled) << time;
        EXPECT_EQ(world_.Engine().IsEnableThreeSigmaModeSwitch(), enabled) << time;
    }
}

TEST_F(SleepDetectionTest, ThreeSigmaModeNeedsANotificationProbabilityAboveOneTenth)
{
    peer_.NowCollectedData().weekType = 6;
    peer_.NotiProbWeekend() = 0.1F;
    peer_.NotiProbWeekday() = 0.9F;
    EXPECT_FALSE(world_.Engine().IsEnableThreeSigmaModeSwitch());
    peer_.NotiProbWeekend() = 0.11F;
    peer_.ThreeSigmaTimestampWeekend() = 2 * kHourMs;
    world_.Engine().HandleStartSleep();
    EXPECT_TRUE(peer_.ThreeSigmaModeSwitch());
    // Midnight of the day twelve hours ahead (Thursday) plus the weekend offset.
    EXPECT_EQ(peer_.StartLightSleepTimestamp(), At(24 + 2));
}

TEST_F(SleepDetectionTest, TrainingResultUpdatesMemoryAndPreferencesOnlyOnSuccess)
{
    Want result;
    result.SetParam("isTrainSuccess", true);
    result.SetParam("notiProbWeekday", 0.25F);
    result.SetParam("notiProbWeekend", 0.75F);
    result.SetParam("weekdayThreeSigmaTimestamp", int64_t{24600000});
    result.SetParam("weekendThreeSigmaTimestamp", int64_t{30000000});
    world_.Engine().UpdateNotificationAndSigmaData(result);
    EXPECT_FLOAT_EQ(peer_.NotiProbWeekday(), 0.25F);
    EXPECT_EQ(peer_.ThreeSigmaTimestampWeekend(), 30000000);

    Emulator::LogCapture capture;
    Want failed;
    failed.SetParam("isTrainSuccess", false);
    failed.SetParam("notiProbWeekday", 0.5F);
    world_.Engine().UpdateNotificationAndSigmaData(failed);
    world_.Engine().UpdateNotificationAndSigmaData(std::nullopt);
    EXPECT_EQ(
        capture.Texts(), (std::vector<std::string>{"Faild to return train result", "Faild to return train result"}));

    world_.CreateEngine();
    SleepDetectionTestPeer restarted(world_.Engine());
    EXPECT_FLOAT_EQ(restarted.NotiProbWeekday(), 0.25F);
    EXPECT_FLOAT_EQ(restarted.NotiProbWeekend(), 0.75F);
    EXPECT_EQ(restarted.ThreeSigmaTimestampWeekday(), 24600000);
    EXPECT_EQ(restarted.ThreeSigmaTimestampWeekend(), 30000000);
}

TEST_F(SleepDetectionTest, MissingPreferencesReadAsZero)
{
    EXPECT_EQ(peer_.ThreeSigmaTimestampWeekday(), 0);
    EXPECT_EQ(peer_.ThreeSigmaTimestampWeekend(), 0);
    EXPECT_EQ(peer_.NotiProbWeekday(), 0.0F);
    EXPECT_EQ(peer_.StartNegativeFeedbackModeTimestamp(), 0);
}

int64_t CountRows(const std::string& table)
{
    return SleepDatabaseManager::GetInstance()->QueryCount(table, "");
}

TEST_F(SleepDetectionTest, EmptySaveLogsEachBufferAndInsertsNothing)
{
    Emulator::LogCapture capture;
    world_.Engine().SaveDataToDatabase();
    EXPECT_EQ(
        capture.Texts(), (std::vector<std::string>{"screen state records is empty", "slp environment records is empty",
                             "slp notification records is empty", "save data to sleep.db"}));
}

TEST_F(SleepDetectionTest, ScreenStatesAreSavedOnTheTwentyFirst)
{
    for (int32_t i = 0; i < 20; ++i) {
        world_.Engine().HandleScreenStateChange(i % 2);
    }
    EXPECT_EQ(peer_.ScreenStates().size(), 20U);
    EXPECT_EQ(CountRows(ScreenStateRecord::TABLE_NAME), 0);
    world_.Engine().HandleScreenStateChange(0);
    EXPECT_TRUE(peer_.ScreenStates().empty());
    EXPECT_EQ(CountRows(ScreenStateRecord::TABLE_NAME), 21);
}

TEST_F(SleepDetectionTest, ARefusedSaveDropsTheBuffersAndKeepsMemoryBounded)
{
    Emulator::RdbFaults::SetDiskFull(true);
    Emulator::LogCapture capture;
    for (int32_t i = 0; i < 105; ++i) {
        world_.Engine().HandleScreenStateChange(0);
        EXPECT_LE(peer_.ScreenStates().size(), 20U);
    }
    for (int32_t i = 0; i < 140; ++i) {
        SleepDataRecord record;
        record.timestamp = At(23) + i;
        world_.Engine().HandleFinishCollect(record);
        EXPECT_LE(peer_.SleepEnvironments().size(), 5U);
    }
    EXPECT_TRUE(capture.HasText("Faired to save screen state records"));
    EXPECT_TRUE(capture.HasText("Faired to save slp environment records"));
    Emulator::RdbFaults::SetDiskFull(false);
    EXPECT_EQ(CountRows(ScreenStateRecord::TABLE_NAME), 0);
    EXPECT_EQ(CountRows(SleepEnvironment::TABLE_NAME), 0);
}

TEST_F(SleepDetectionTest, ObservationsAreSavedOnTheSixthUnlabelled)
{
    for (int32_t i = 0; i < 6; ++i) {
        SleepDataRecord record;
        record.timestamp = At(23) + i * 600000;
        record.screenOffDuration = 100 * i;
        record.stationaryDuration = 50 * i;
        record.nextAlarmClockTime = At(30);
        world_.Engine().HandleFinishCollect(record);
        EXPECT_EQ(peer_.SleepEnvironments().size(), i < 5 ? static_cast<size_t>(i + 1) : 0U);
    }
    std::vector<SleepEnvironment> rows;
    ASSERT_EQ(SleepDatabaseManager::GetInstance()->QueryEntries(rows, "label = -1", "timestamp"), 0);
    ASSERT_EQ(rows.size(), 6U);
    EXPECT_EQ(rows[5].timestamp, At(23) + 5 * 600000);
    EXPECT_EQ(rows[5].screenOffDuration, 500);
    EXPECT_EQ(rows[5].userStationaryDuration, 250);
    EXPECT_EQ(SleepDatabaseManager::GetInstance()->QueryCount(
                  SleepEnvironment::TABLE_NAME, "next_clock = " + std::to_string(At(30))),
        6);
    world_.Engine().TrySaveSleepDataRecords();
    EXPECT_EQ(CountRows(SleepEnvironment::TABLE_NAME), 6);
}

struct PruneCase {
    const char* name;
    int32_t environmentRows;
    int32_t screenRows;
    int64_t environmentsLeft;
    int64_t screensLeft;
};

class SleepDetectionPruneTest : public SleepDetectionTest, public testing::WithParamInterface<PruneCase> {};

TEST_P(SleepDetectionPruneTest, DeletesAWholeTableAtItsLimit)
{
    const PruneCase& c = GetParam();
    std::vector<SleepEnvironment> environments(c.environmentRows);
    std::vector<ScreenStateRecord> screens(c.screenRows);
    ASSERT_EQ(SleepDatabaseManager::GetInstance()->InsertEntries(SleepEnvironment::TABLE_NAME, environments), 0);
    ASSERT_EQ(SleepDatabaseManager::GetInstance()->InsertEntries(ScreenStateRecord::TABLE_NAME, screens), 0);
    world_.Engine().DeleteDataIfLongTimeNoTrain();
    EXPECT_EQ(CountRows(SleepEnvironment::TABLE_NAME), c.environmentsLeft);
    EXPECT_EQ(CountRows(ScreenStateRecord::TABLE_NAME), c.screensLeft);
}

INSTANTIATE_TEST_SUITE_P(Table, SleepDetectionPruneTest,
    testing::Values(PruneCase{"BelowBoth", 10000, 20000, 10000, 20000}, PruneCase{"AtBoth", 10001, 20001, 0, 0},
        PruneCase{"OnlyScreens", 10, 20001, 10, 0}),
    [](const testing::TestParamInfo<PruneCase>& info) { return std::string(info.param.name); });

TEST_F(SleepDetectionTest, HandledMarksComeFromASingleParameterRow)
{
    peer_.HandledTimestamp() = 77;
    peer_.HandledDateIndex() = 7;
    SleepParameter parameter;
    parameter.handledTimestamp = -1;
    parameter.handledDateIndex = 12;
    ASSERT_EQ(SleepDatabaseManager::GetInstance()->InsertEntry(SleepParameter::TABLE_NAME, parameter), 0);
    world_.Engine().UpdateLastHandledTime();
    EXPECT_EQ(peer_.HandledTimestamp(), 77);
    EXPECT_EQ(peer_.HandledDateIndex(), 12);

    ASSERT_EQ(SleepDatabaseManager::GetInstance()->InsertEntry(SleepParameter::TABLE_NAME, parameter), 0);
    Emulator::LogCapture capture;
    peer_.HandledDateIndex() = 3;
    world_.Engine().UpdateLastHandledTime();
    EXPECT_EQ(peer_.HandledDateIndex(), 3);
    EXPECT_TRUE(capture.HasText("unexpected length of long standby parameters table (should be 1)."));
}

TEST_F(SleepDetectionTest, ManualPredictionParsesFifteenFields)
{
    Emulator::LogCapture capture;
    world_.Engine().SleepPredictManualTest("1/2/3");
    world_.Engine().SleepPredictManualTest("1736982000000/2000/0/0/2000/2000/0/0/0.5/5/5/0/0/-1/x");
    EXPECT_EQ(capture.Texts(), (std::vector<std::string>{"invalied args", "invalied args"}));
    world_.Engine().SleepPredictManualTest("1736982000000/2000/0/0/2000/2000/0/0/0.5/5/5/0/0/-1/-1");
    ASSERT_EQ(peer_.SleepEnvironments().size(), 1U);
    const SleepDataRecord& record = peer_.SleepEnvironments()[0];
    EXPECT_EQ(record.timestamp, 1736982000000);
    EXPECT_EQ(record.lightDarkDuration, 2000);
    EXPECT_DOUBLE_EQ(record.light, 0.5);
    EXPECT_EQ(record.weekType, 4);
    world_.Handler().RunUntilIdle();
    EXPECT_EQ(world_.Strategy().MessagesWithId(2003).size(), 1U);
}

TEST_F(SleepDetectionTest, TestModeStopsNightObservationsAndAutoTestObservesAtOnce)
{
    world_.Engine().SetSleepTestMode(true);
    world_.ScreenOff();
    world_.RunUntil(At(23, 30));
    EXPECT_TRUE(world_.Strategy().MessagesWithId(2000).empty());
    world_.Engine().SleepPredictAutoTest();
    world_.RunUntil(At(23, 31));
    EXPECT_EQ(world_.Strategy().MessagesWithId(2000).size(), 1U);
    EXPECT_EQ(peer_.LastNightCollectTime(), At(23, 30));
}

} // namespace
} // namespace OHOS::DevStandbyMgr
