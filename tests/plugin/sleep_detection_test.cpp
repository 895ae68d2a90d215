#include <gtest/gtest.h>

#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "engine_test_world.h"
#include "hilog.h"
#include "hisysevent.h"
#include "rdb_faults.h"
#include "scoped_time_zone.h"
#include "sleep_database_manager.h"
#include "sleep_detection_test_peer.h"
#include "sleep_reporter.h"
#include "sleep_shared_pref.h"
#include "write_controller.h"

namespace OHOS::DevStandbyMgr {
namespace {

namespace Emulator = OHOS::Emulator;
using OHOS::AAFwk::Want;

constexpr int64_t kMinuteMs = 60000;
constexpr int64_t kHourMs = 3600000;
constexpr int64_t kDayMs = 24 * kHourMs;
constexpr int64_t kWednesdayMs = 1736899200000; // 2025-01-15 00:00 UTC

int64_t At(int32_t hour, int32_t minute = 0)
{
    return kWednesdayMs + hour * kHourMs + minute * kMinuteMs;
}

Want NotificationWant(int64_t timestamp, const std::string& pkg)
{
    Want want;
    want.SetParam("timestamp", timestamp);
    want.SetParam("pkg", pkg);
    return want;
}

int64_t CountRows(const std::string& table)
{
    return SleepDatabaseManager::GetInstance()->QueryCount(table, "");
}

class SleepDetectionTest : public testing::Test {
protected:
    SleepDetection& Engine() { return world_.Engine(); }
    void SetTime(int64_t wallMs) { world_.Clock().SetWallTimeMs(wallMs); }

    Emulator::ScopedTimeZone zone_{"UTC0"};
    EngineTestWorld world_{At(23)};
    SleepDetectionTestPeer peer_{world_.Engine()};
};

TEST_F(SleepDetectionTest, PredictTimeCoversTheNightAndKeepsTheMorningWhileAsleep)
{
    // time, last reported asleep, predict
    const std::vector<std::tuple<int64_t, bool, bool>> cases{{At(21), false, true}, {At(21) - 1000, false, false},
        {At(7, 59), false, true}, {At(8), false, false}, {At(11, 59), true, true}, {At(12), true, false},
        {At(0), false, true}};
    for (const auto& [time, lastSleep, expected] : cases) {
        peer_.LastSleepState() = lastSleep;
        Emulator::LogCapture capture;
        EXPECT_EQ(Engine().IsPredictTime(time), expected) << time;
        EXPECT_EQ(capture.HasText("cur time is keep predict"), expected && lastSleep) << time;
    }
}

TEST_F(SleepDetectionTest, NightConditionRespectsSpacingTestModeAndResetsByDay)
{
    SetTime(At(23, 30));
    peer_.LastNightCollectTime() = At(23, 20) + 1;
    EXPECT_FALSE(Engine().IsMeetDataCollectCondition());
    peer_.LastNightCollectTime() = At(23, 20);
    EXPECT_TRUE(Engine().IsMeetDataCollectCondition());
    peer_.SleepTestMode() = true;
    EXPECT_FALSE(Engine().IsMeetDataCollectCondition());
    peer_.SleepTestMode() = false;

    peer_.BayesResult() = 95;
    peer_.BaselineResult() = 1;
    peer_.WakeUpTimestamp() = At(30);
    peer_.IsUserSleep() = peer_.IsEnhanceModelSleep() = peer_.ThreeSigmaModeSwitch() = true;
    peer_.StartLightSleepTimestamp() = At(27);
    SetTime(At(24 + 9));
    EXPECT_FALSE(Engine().IsMeetDataCollectCondition());
    EXPECT_EQ(std::make_tuple(peer_.BayesResult(), peer_.BaselineResult(), peer_.WakeUpTimestamp()),
        std::make_tuple(0, 0, int64_t{-1}));
    EXPECT_FALSE(peer_.IsUserSleep() || peer_.IsEnhanceModelSleep() || peer_.ThreeSigmaModeSwitch());
    EXPECT_EQ(peer_.StartLightSleepTimestamp(), 0);
}

TEST_F(SleepDetectionTest, DayConditionNeedsDayTimeAQuarterHourDarkAndAnHourSinceTheLastObservation)
{
    SetTime(At(24 + 7, 30));
    world_.ScreenOff();
    const std::vector<std::pair<int64_t, bool>> cases{{At(24 + 7, 44), false}, {At(24 + 8), false},
        {At(24 + 8) + 1000, true}, {At(24 + 20, 59), true}, {At(24 + 21), false}};
    for (const auto& [time, expected] : cases) {
        SetTime(time);
        EXPECT_EQ(Engine().IsMeetDayDataCollectCondition(), expected) << time;
    }
    SetTime(At(24 + 10));
    peer_.LastDayCollectTime() = At(24 + 9, 50) + 1;
    EXPECT_FALSE(Engine().IsMeetDayDataCollectCondition());
}

// The decision steps after the predictor answered: sleep, enhance model and its overruling.
TEST_F(SleepDetectionTest, DecidesFromBayesBaselineWakeupAndEnhanceModel)
{
    constexpr int64_t kFar = 5 * kHourMs;
    constexpr int64_t kEdge = 15 * kMinuteMs;
    // name, bayes, baseline, wake-up from now, enhance better, still seconds, hour, then: asleep,
    // enhance asleep, baseline after
    const std::vector<std::tuple<const char*, int32_t, int32_t, int64_t, bool, int32_t, int32_t, bool, bool, int32_t>>
        cases{{"Bayes90Asleep", 90, 0, kFar, false, 0, 2, true, true, 0},
            {"Bayes89Awake", 89, 1, kFar, false, 0, 2, false, false, 1},
            {"NoBayesBaselineAsleep", -1, 1, kFar, false, 0, 2, true, false, 1},
            {"NoBayesBaselineAwake", -1, 0, kFar, false, 3600, 2, false, false, 0},
            {"WakeupExactlyFifteenMinutesAhead", 99, 1, kEdge, false, 0, 2, false, false, 1},
            {"WakeupJustOverFifteenMinutes", 99, 1, kEdge + 1, false, 0, 2, true, true, 1},
            {"EnhanceStillBeforeSix", -1, 1, kFar, false, 1800, 5, true, true, 1},
            {"EnhanceStillAtSix", -1, 1, kFar, false, 1800, 6, true, false, 1},
            {"EnhanceTooShort", -1, 1, kFar, false, 1799, 5, true, false, 1},
            {"EnhanceBetterOverrulesBaseline", -1, 1, kFar, true, 0, 2, true, false, -2},
            {"EnhanceBetterAgrees", -1, 1, kFar, true, 1800, 2, true, true, 1},
            {"EnhanceBetterWithBayesKeepsBaseline", 95, 1, kFar, true, 0, 2, true, true, 1}};
    for (const auto& [name, bayes, baseline, wakeup, better, still, hour, sleep, enhanceSleep, baselineAfter] : cases) {
        const int64_t now = At(24 + hour);
        SetTime(now);
        peer_.BayesResult() = bayes;
        peer_.BaselineResult() = baseline;
        peer_.WakeUpTimestamp() = now + wakeup;
        peer_.IsEnhanceModelBetter() = better;
        peer_.LastEnhanceModelBetterTime() = now - kHourMs;
        peer_.NowCollectedData().timestamp = now;
        peer_.NowCollectedData().stationaryDuration = still;
        peer_.NowCollectedData().screenOffDuration = 0;
        peer_.IsUserSleep() = Engine().IsUserSleep();
        peer_.IsEnhanceModelSleep() = peer_.IsUserSleep() && Engine().IsEnhanceModelSleep();
        Engine().UpdateIsEnhanceModelBetter();
        EXPECT_EQ(peer_.IsUserSleep(), sleep) << name;
        EXPECT_EQ(peer_.IsEnhanceModelSleep(), enhanceSleep) << name;
        EXPECT_EQ(peer_.BaselineResult(), baselineAfter) << name;
    }
}

TEST_F(SleepDetectionTest, EnhanceModelCountsForThreeDaysOfObservations)
{
    peer_.IsUserSleep() = true;
    peer_.IsEnhanceModelSleep() = false;
    Emulator::LogCapture capture;
    Engine().HandleEnhanceModel();
    EXPECT_TRUE(peer_.IsEnhanceModelBetter());
    EXPECT_EQ(peer_.LastEnhanceModelBetterTime(), At(23));
    EXPECT_TRUE(
        capture.Contains("is long standby = 1, is enhance long standby = 0, last enhance model better time = "));
    for (const auto& [timestamp, better] : {std::pair{At(23) + 3 * kDayMs, true}, {At(23) + 3 * kDayMs + 1, false}}) {
        peer_.NowCollectedData().timestamp = timestamp;
        Engine().UpdateIsEnhanceModelBetter();
        EXPECT_EQ(peer_.IsEnhanceModelBetter(), better);
    }
    EXPECT_TRUE(capture.HasText("update Is EnhanceModelBetter to 0"));
}

TEST_F(SleepDetectionTest, LightSleepStartTurnsAsleepScoresInto103AndSends2004)
{
    // light-sleep start, score, stored score
    const std::vector<std::tuple<int64_t, int32_t, int32_t>> scores{
        {At(23), 95, 103}, {At(23), 90, 103}, {At(23), 80, 80}, {At(23), -1, -1}, {At(23) + 1, 95, 95}};
    for (const auto& [start, score, stored] : scores) {
        peer_.StartLightSleepTimestamp() = start;
        peer_.BayesResult() = score;
        Engine().UpdatemNowCollectedData();
        EXPECT_EQ(peer_.BayesResult(), stored);
        EXPECT_EQ(peer_.NowCollectedData().bayesResult, stored);
    }
    peer_.ThreeSigmaModeSwitch() = true;
    peer_.LastSleepState() = false;
    // light-sleep start, asleep, event, last sleep state after
    const std::vector<std::tuple<int64_t, bool, int32_t, bool>> events{
        {At(23) - 1, true, 2004, false}, {At(23), true, 2003, true}, {At(23), false, 2002, false}};
    for (const auto& [start, asleep, event, lastState] : events) {
        peer_.StartLightSleepTimestamp() = start;
        EXPECT_EQ(Engine().GetEventTypeForSendSleepStateMessage(asleep), event);
        EXPECT_EQ(peer_.LastSleepState(), lastState);
    }
}

TEST_F(SleepDetectionTest, UnsleepMainReasonPrefersTheMostCountedThenTheLargerKey)
{
    const std::vector<std::pair<std::map<int32_t, int32_t>, int32_t>> cases{
        {{{1, 3}, {5, 3}}, 5}, {{}, 0}, {{{1, 4}, {2, 1}, {5, 3}}, 1}, {{{1, 1}, {2, 2}, {8, 2}}, 8}};
    for (const auto& [counts, expected] : cases) {
        peer_.UnsleepReasons() = counts;
        EXPECT_EQ(Engine().GetUnsleepMainReason(), expected);
        EXPECT_TRUE(peer_.UnsleepReasons().empty());
    }
}

TEST_F(SleepDetectionTest, NotificationsAreKeptUpToAMinuteAfterSleepStopped)
{
    Engine().HandleStopSleep();
    const int64_t stop = At(23);
    Engine().HandleAddNotificationInfo(NotificationWant(stop - kHourMs, "early"));
    Engine().HandleAddNotificationInfo(NotificationWant(stop + 60000, "edge"));
    Engine().HandleAddNotificationInfo(NotificationWant(stop + 60001, "late"));
    Engine().HandleAddNotificationInfo(std::nullopt);
    std::vector<std::string> kept;
    for (const NotificationInformation& info : peer_.NotificationInfos()) {
        kept.push_back(info.pkg);
    }
    EXPECT_EQ(kept, (std::vector<std::string>{"early", "edge"}));
    Engine().HandleCancelNotificationInfo(NotificationWant(stop + 10, "edge"));
    Engine().HandleCancelNotificationInfo(NotificationWant(stop + 20, "edge"));
    EXPECT_EQ(peer_.CancelNotificationTimes().at("edge"), stop + 10);
}

// A cancellation after the notification and before the judgement is a reaction: the negative
// feedback mode starts, is stored, and the night's notification record says so.
TEST_F(SleepDetectionTest, JudgesTheReactionAndRecordsTheNight)
{
    // cancelled at (-1: never), reaction; the valid one last, as it is stored
    const std::vector<std::pair<int64_t, bool>> cases{
        {At(22), false}, {At(23), false}, {-1, false}, {At(22) + 1, true}};
    for (const auto& [cancelledAt, valid] : cases) {
        world_.CreateEngine();
        SleepDetectionTestPeer peer(Engine());
        Engine().HandleStopSleep();
        Engine().HandleAddNotificationInfo(NotificationWant(At(22), "im.app"));
        if (cancelledAt >= 0) {
            Engine().HandleCancelNotificationInfo(NotificationWant(cancelledAt, "im.app"));
        }
        Engine().HandleNotificationAfterStopSleep();
        EXPECT_EQ(peer.IsErrorNotificationControlValue(), valid) << cancelledAt;
        EXPECT_TRUE(peer.NotificationInfos().empty() && peer.CancelNotificationTimes().empty());
        EXPECT_EQ(SleepSharedPref::GetInt64Settings(SleepSharedPref::START_NEGATIVE_FEEDBACK_MODE_TIMESTAMP, 0),
            valid ? At(23) : 0);
        ASSERT_EQ(peer.SleepNotificationRecords().size(), 1U);
        EXPECT_EQ(peer.SleepNotificationRecords()[0].isHasNotification, valid ? 1 : 0);
        EXPECT_EQ(peer.SleepNotificationRecords()[0].weekDay, 3);
    }
}

TEST_F(SleepDetectionTest, NegativeFeedbackLastsThreeDaysAndSurvivesARestart)
{
    Engine().HandleStopSleep();
    Engine().HandleAddNotificationInfo(NotificationWant(At(22), "im.app"));
    Engine().HandleCancelNotificationInfo(NotificationWant(At(22, 30), "im.app"));
    Engine().HandleNotificationAfterStopSleep();
    world_.CreateEngine();
    EXPECT_EQ(SleepDetectionTestPeer(Engine()).StartNegativeFeedbackModeTimestamp(), At(23));
    const std::vector<std::pair<int64_t, bool>> cases{
        {At(23), false}, {At(23) + 1, true}, {At(23) + 3 * kDayMs - 1, true}, {At(23) + 3 * kDayMs, false}};
    for (const auto& [time, enabled] : cases) {
        SetTime(time);
        EXPECT_EQ(Engine().IsEnableNegativeFeedbackMode(), enabled) << time;
        EXPECT_EQ(Engine().IsEnableThreeSigmaModeSwitch(), enabled) << time;
    }
}

TEST_F(SleepDetectionTest, ThreeSigmaModeNeedsANotificationProbabilityAboveOneTenth)
{
    peer_.NowCollectedData().weekType = 6;
    peer_.NotiProbWeekend() = 0.1F;
    peer_.NotiProbWeekday() = 0.9F;
    EXPECT_FALSE(Engine().IsEnableThreeSigmaModeSwitch());
    peer_.NotiProbWeekend() = 0.11F;
    EXPECT_TRUE(Engine().IsEnableThreeSigmaModeSwitch());
}

TEST_F(SleepDetectionTest, TrainingResultUpdatesMemoryAndPreferencesOnlyOnSuccess)
{
    Want result;
    result.SetParam("isTrainSuccess", true);
    result.SetParam("notiProbWeekday", 0.25F);
    result.SetParam("notiProbWeekend", 0.75F);
    result.SetParam("weekdayThreeSigmaTimestamp", int64_t{24600000});
    result.SetParam("weekendThreeSigmaTimestamp", int64_t{30000000});
    Engine().UpdateNotificationAndSigmaData(result);
    EXPECT_FLOAT_EQ(peer_.NotiProbWeekday(), 0.25F);
    EXPECT_EQ(peer_.ThreeSigmaTimestampWeekend(), 30000000);

    Emulator::LogCapture capture;
    Want failed;
    failed.SetParam("isTrainSuccess", false);
    failed.SetParam("notiProbWeekday", 0.5F);
    Engine().UpdateNotificationAndSigmaData(failed);
    Engine().UpdateNotificationAndSigmaData(std::nullopt);
    EXPECT_EQ(
        capture.Texts(), (std::vector<std::string>{"Faild to return train result", "Faild to return train result"}));

    world_.CreateEngine();
    SleepDetectionTestPeer restarted(Engine());
    EXPECT_EQ(std::make_tuple(restarted.NotiProbWeekday(), restarted.NotiProbWeekend(),
                  restarted.ThreeSigmaTimestampWeekday(), restarted.ThreeSigmaTimestampWeekend()),
        std::make_tuple(0.25F, 0.75F, 24600000, 30000000));
}

TEST_F(SleepDetectionTest, EmptySaveLogsEachBufferAndInsertsNothing)
{
    Emulator::LogCapture capture;
    Engine().SaveDataToDatabase();
    EXPECT_EQ(
        capture.Texts(), (std::vector<std::string>{"screen state records is empty", "slp environment records is empty",
                             "slp notification records is empty", "save data to sleep.db"}));
}

TEST_F(SleepDetectionTest, ScreenStatesAreSavedOnTheTwentyFirst)
{
    for (int32_t i = 0; i < 20; ++i) {
        Engine().HandleScreenStateChange(i % 2);
    }
    EXPECT_EQ(peer_.ScreenStates().size(), 20U);
    EXPECT_EQ(CountRows(ScreenStateRecord::TABLE_NAME), 0);
    Engine().HandleScreenStateChange(0);
    EXPECT_TRUE(peer_.ScreenStates().empty());
    EXPECT_EQ(CountRows(ScreenStateRecord::TABLE_NAME), 21);
}

TEST_F(SleepDetectionTest, ARefusedSaveDropsTheBuffersAndKeepsMemoryBounded)
{
    Emulator::RdbFaults::SetDiskFull(true);
    Emulator::LogCapture capture;
    for (int32_t i = 0; i < 105; ++i) {
        Engine().HandleScreenStateChange(0);
        EXPECT_LE(peer_.ScreenStates().size(), 20U);
    }
    for (int32_t i = 0; i < 140; ++i) {
        SleepDataRecord record;
        record.timestamp = At(23) + i;
        Engine().HandleFinishCollect(record);
        EXPECT_LE(peer_.SleepEnvironments().size(), 5U);
    }
    EXPECT_TRUE(capture.HasText("Faired to save screen state records"));
    EXPECT_TRUE(capture.HasText("Faired to save slp environment records"));
    Emulator::RdbFaults::SetDiskFull(false);
    EXPECT_EQ(CountRows(ScreenStateRecord::TABLE_NAME) + CountRows(SleepEnvironment::TABLE_NAME), 0);
}

TEST_F(SleepDetectionTest, ObservationsAreSavedOnTheSixthUnlabelled)
{
    for (int32_t i = 0; i < 6; ++i) {
        SleepDataRecord record;
        record.timestamp = At(23) + i * 600000;
        record.screenOffDuration = 100 * i;
        record.stationaryDuration = 50 * i;
        record.nextAlarmClockTime = At(30);
        Engine().HandleFinishCollect(record);
        EXPECT_EQ(peer_.SleepEnvironments().size(), i < 5 ? static_cast<size_t>(i + 1) : 0U);
    }
    std::vector<SleepEnvironment> rows;
    ASSERT_EQ(SleepDatabaseManager::GetInstance()->QueryEntries(rows, "label = -1", "timestamp"), 0);
    ASSERT_EQ(rows.size(), 6U);
    EXPECT_EQ(std::make_tuple(rows[5].timestamp, rows[5].screenOffDuration, rows[5].userStationaryDuration),
        std::make_tuple(At(23) + 5 * 600000, 500, 250));
    EXPECT_EQ(SleepDatabaseManager::GetInstance()->QueryCount(
                  SleepEnvironment::TABLE_NAME, "next_clock = " + std::to_string(At(30))),
        6);
}

// Each table is deleted as a whole once it holds more rows than its limit.
TEST_F(SleepDetectionTest, PruningDeletesAWholeTableAtItsLimit)
{
    // rows added to environments and screen states, rows left in each
    const std::vector<std::tuple<int32_t, int32_t, int64_t, int64_t>> steps{
        {10000, 20000, 10000, 20000}, {1, 1, 0, 0}, {10, 20001, 10, 0}};
    for (const auto& [environments, screens, environmentsLeft, screensLeft] : steps) {
        std::vector<SleepEnvironment> environmentRows(environments);
        std::vector<ScreenStateRecord> screenRows(screens);
        auto manager = SleepDatabaseManager::GetInstance();
        ASSERT_EQ(manager->InsertEntries(SleepEnvironment::TABLE_NAME, environmentRows), 0);
        ASSERT_EQ(manager->InsertEntries(ScreenStateRecord::TABLE_NAME, screenRows), 0);
        Engine().DeleteDataIfLongTimeNoTrain();
        EXPECT_EQ(CountRows(SleepEnvironment::TABLE_NAME), environmentsLeft);
        EXPECT_EQ(CountRows(ScreenStateRecord::TABLE_NAME), screensLeft);
    }
}

TEST_F(SleepDetectionTest, HandledMarksComeFromASingleParameterRow)
{
    peer_.HandledTimestamp() = 77;
    peer_.HandledDateIndex() = 7;
    SleepParameter parameter;
    parameter.handledTimestamp = -1;
    parameter.handledDateIndex = 12;
    ASSERT_EQ(SleepDatabaseManager::GetInstance()->InsertEntry(SleepParameter::TABLE_NAME, parameter), 0);
    Engine().UpdateLastHandledTime();
    EXPECT_EQ(peer_.HandledTimestamp(), 77);
    EXPECT_EQ(peer_.HandledDateIndex(), 12);

    ASSERT_EQ(SleepDatabaseManager::GetInstance()->InsertEntry(SleepParameter::TABLE_NAME, parameter), 0);
    Emulator::LogCapture capture;
    peer_.HandledDateIndex() = 3;
    Engine().UpdateLastHandledTime();
    EXPECT_EQ(peer_.HandledDateIndex(), 3);
    EXPECT_TRUE(capture.HasText("unexpected length of long standby parameters table (should be 1)."));
}

TEST_F(SleepDetectionTest, ReportsOfAnEmptyDatabaseWriteNoEventButEachFinishes)
{
    Emulator::LogCapture capture;
    Engine().ReportSleepData();
    EXPECT_EQ(capture.Texts(),
        (std::vector<std::string>{"finish report long standby database data.",
            "finish report slp duration database data.", "finish report slp parameters database data."}));
    EXPECT_TRUE(Emulator::ReadSysEvents("SLEEP_PARAMETERS").empty());
}

TEST_F(SleepDetectionTest, ManualPredictionParsesFifteenFields)
{
    Emulator::LogCapture capture;
    Engine().SleepPredictManualTest("1/2/3");
    Engine().SleepPredictManualTest("1736982000000/2000/0/0/2000/2000/0/0/0.5/5/5/0/0/-1/x");
    EXPECT_EQ(capture.Texts(), (std::vector<std::string>{"invalied args", "invalied args"}));
    Engine().SleepPredictManualTest("1736982000000/2000/0/0/2000/2000/0/0/0.5/5/5/0/0/-1/-1");
    ASSERT_EQ(peer_.SleepEnvironments().size(), 1U);
    const SleepDataRecord& record = peer_.SleepEnvironments()[0];
    EXPECT_EQ(std::make_tuple(record.timestamp, record.lightDarkDuration, record.light, record.weekType),
        std::make_tuple(1736982000000, 2000, 0.5, 4));
    world_.Handler().RunUntilIdle();
    EXPECT_EQ(world_.Strategy().MessagesWithId(2003).size(), 1U);
}

TEST_F(SleepDetectionTest, TestModeStopsNightObservationsAndAutoTestObservesAtOnce)
{
    Engine().SetSleepTestMode(true);
    world_.ScreenOff();
    world_.RunUntil(At(23, 30));
    EXPECT_TRUE(world_.Strategy().MessagesWithId(2000).empty());
    Engine().SleepPredictAutoTest();
    world_.RunUntil(At(23, 31));
    EXPECT_EQ(world_.Strategy().MessagesWithId(2000).size(), 1U);
    EXPECT_EQ(peer_.LastNightCollectTime(), At(23, 30));
}

// ---- System events written by the reporter ----

constexpr int64_t kNowMs = 1736899200000;

// Domain, name, type and payload of each event `name` written so far ("" for every name).
std::vector<std::string> EventLines(const std::string& name = "")
{
    std::vector<std::string> lines;
    for (const Emulator::SysEventRecord& event :
        name.empty() ? Emulator::ReadSysEvents() : Emulator::ReadSysEvents(name)) {
        lines.push_back(event.domain + " " + event.name + " " + std::to_string(event.type) + " " + event.params.dump());
    }
    return lines;
}

SleepEnvironment MakeEnvironment(int64_t timestamp)
{
    SleepEnvironment env;
    env.timestamp = timestamp;
    env.screenOffDuration = env.userStationaryDuration = 10800;
    env.chargeState = 1;
    env.light = 0.01;
    env.lightDarkDuration = 4000;
    env.proximity = 0.02;
    env.nextClock = timestamp + 3600000;
    env.bayesResult = 95;
    env.baselineResult = env.isTimeOk = 1;
    env.wakeupTime = timestamp + 7200000;
    return env;
}

void ResetSysEvents()
{
    Emulator::SetSysEventWriteFails(false);
    Emulator::ResetSysEventRateLimit();
    Emulator::ClearSysEvents();
}

class SleepReporterTest : public testing::Test {
protected:
    void SetUp() override { ResetSysEvents(); }
    void TearDown() override { ResetSysEvents(); }

    Emulator::ScopedDataRoot root_;
    Emulator::ScopedVirtualClock clock_{kNowMs};
};

// Every key in order, with its type: integers plain, real numbers with a fraction.
TEST_F(SleepReporterTest, KeyFeatureAndKeyInfoCarryEveryKeyInOrderWithTheirTypes)
{
    std::vector<SleepEnvironment> environments{MakeEnvironment(kNowMs - 600000), MakeEnvironment(kNowMs)};
    SleepReporter::ReportSleepEnvironment(environments);
    SleepReporter::ReportQuantifySleepData(environments);
    const std::vector<std::string> features = EventLines("SLEEP_KEY_FEATURE");
    ASSERT_EQ(features.size(), 2U);
    EXPECT_EQ(features[1],
        R"(RSS SLEEP_KEY_FEATURE 2 {"RECORD_TIMESTAMP":1736899200000,"BAYES_RESULT":95,"BASELINE_RESULT":1,)"
        R"("WAKEUP_TIEMSTAMP":1736906400000,"SCREEN_OFF_DURATION":10800,"LIGHT_DARK_DURATION":4000,)"
        R"("USER_STATIONARY_DURATION":10800,"LUX":0.01,"DISTANCE":0.02,"SLEEP_DB_VERSION":1,"CHARGE_STATE":1,)"
        R"("IS_TIME_OK":1,"NEXT_CLOCK":1736902800000})");
    // 10800 s still is bucket 6, 10800 s screen off bucket 3; 0.01 lux at a far proximity bucket 2.
    const std::string info = R"(RSS SLEEP_KEY_INFO 2 {"BAYES_RESULT":95,"BASELINE_RESULT":1,"IS_STATIONARY_OK":6,)"
                             R"("IS_LUX_OK":2,"IS_SCREEN_OFF_OK":3,"IS_TIME_OK":1})";
    EXPECT_EQ(EventLines("SLEEP_KEY_INFO"), std::vector<std::string>(2, info));
}

TEST_F(SleepReporterTest, DurationsParametersAndPowerState)
{
    SleepDurationRecord duration;
    duration.dateIndex = 12;
    duration.beginTime = kNowMs - 28800000;
    duration.endTime = kNowMs;
    duration.weekDay = 3;
    SleepReporter::ReportSleepDuration({duration});
    SleepParameter parameter;
    parameter.handledTimestamp = kNowMs;
    parameter.handledDateIndex = 12;
    parameter.sleepHomeProba = 0.25;
    std::vector<SleepProbability> probabilities(3);
    for (int32_t i = 0; i < 3; ++i) {
        probabilities[i].timeIndex = i;
        probabilities[i].probability = 0.1 * i;
        probabilities[i].probabilityWeekend = 0.2 * i;
    }
    std::vector<SleepAmbientProbability> ambient(2);
    ambient[1].sleepAmbient = 3.5;
    ambient[1].unsleepAmbient = 7.25;
    SleepReporter::ReportSleepParameters(parameter, probabilities, ambient);
    SleepReporter::WritePowerBrainStateHiSysEvent(100, -6, kNowMs);
    EXPECT_EQ(EventLines(),
        (std::vector<std::string>{R"(RSS SLEEP_DURATION 2 {"DATE_INDEX":12,"BEGIN_TIMESTAMP":1736870400000,)"
                                  R"("END_TIMESTAMP":1736899200000,"WEEK_DAY":3})",
            R"(RSS SLEEP_PARAMETERS 2 {"HANDLED_TIMESTAMP":1736899200000,"HANDLED_DATE_INDEX":12,)"
            R"("SLEEP_HOME_PROBA":0.25,"UNSLEEP_HOME_PROBA":0.0,"SLEEP_CHARGE_PROBA":0.0,"UNSLEEP_CHARGE_PROBA":0.0,)"
            R"("SLEEP_PROBABILITY":[0.0,0.1,0.2],"SLEEP_PROBABILITY_WEEKEND":[0.0,0.2,0.4],)"
            R"("SLEEP_AMBIENT_PROBA":[0.0,3.5],"UNSLEEP_AMBIENT_PROBA":[0.0,7.25]})",
            R"(RSS POWER_BRAIN_STATE 4 {"TYPE":100,"VALUE":-6,"TIME":1736899200000})"}));
}

// A refused or rate-limited write is logged with the writer's name; the next record still goes out.
TEST_F(SleepReporterTest, LogsEachDroppedEventAndGoesOn)
{
    // write refused, events allowed per window
    for (const auto& [refused, limit] : {std::pair{true, 10}, {false, 1}, {false, 0}}) {
        ResetSysEvents();
        Emulator::SetSysEventWriteFails(refused);
        Emulator::SetSysEventRateLimit(1000, limit);
        Emulator::LogCapture capture;
        SleepReporter::ReportSleepEnvironment({MakeEnvironment(kNowMs - 1), MakeEnvironment(kNowMs)});
        SleepReporter::WritePowerBrainStateHiSysEvent(1001, 5, kNowMs);

        const size_t written = refused ? 0U : static_cast<size_t>(limit);
        EXPECT_EQ(Emulator::ReadSysEvents("SLEEP_KEY_FEATURE").size(), written) << refused << limit;
        // Each failure is logged in the name of the report operation.
        size_t statisticFailures = 0;
        size_t behaviorFailures = 0;
        for (const Emulator::LogRecord& record : capture.Records()) {
            const std::string& line = record.message;
            statisticFailures += line.rfind("[ReportSleepEnvironment:", 0) == 0 &&
                                 line.find("] Write event fail: WriteStatisticEvent") != std::string::npos;
            behaviorFailures += line.rfind("[WritePowerBrainStateHiSysEvent:", 0) == 0 &&
                                line.find("] Write event fail: WriteBehaviorEvent") != std::string::npos;
        }
        EXPECT_EQ(statisticFailures, 2U - written);
        EXPECT_EQ(behaviorFailures, (refused || limit == 0) ? 1U : 0U);
    }
}

TEST_F(SleepReporterTest, EmptyInputsWriteNothing)
{
    SleepReporter::ReportSleepEnvironment({});
    SleepReporter::ReportQuantifySleepData({});
    SleepReporter::ReportSleepDuration({});
    EXPECT_TRUE(Emulator::ReadSysEvents().empty());
}

} // namespace
} // namespace OHOS::DevStandbyMgr
