#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "engine_test_world.h"
#include "hilog.h"
#include "hisysevent.h"
#include "scoped_time_zone.h"
#include "settings_store.h"
#include "simulated_phone.h"
#include "sleep_database_manager.h"
#include "sleep_detection_test_peer.h"
#include "sleep_history_builder.h"
#include "sleep_shared_pref.h"
#include "standby_host_globals.h"
#include "time_provider_ext.h"

namespace OHOS::DevStandbyMgr {
namespace {

namespace Emulator = OHOS::Emulator;

constexpr int64_t kMinuteMs = 60000;
constexpr int64_t kHourMs = 3600000;
constexpr int64_t kDayMs = 24 * kHourMs;
constexpr int64_t kWednesdayMs = 1736899200000; // 2025-01-15 00:00 UTC
constexpr char kLoopTask[] = "user_sleep_detection_loop_task";

int64_t At(int32_t dayOffset, int32_t hour, int32_t minute = 0)
{
    return kWednesdayMs + dayOffset * kDayMs + hour * kHourMs + minute * kMinuteMs;
}

int64_t WakeupTimeOf(const StandbyMessage& message)
{
    return message.want.has_value() ? message.want->GetLongParam("wakeupTime", -2) : -2;
}

// The arrival times of the messages with this id.
std::vector<int64_t> TimesOf(EngineTestWorld& world, int32_t eventId)
{
    std::vector<int64_t> times;
    for (const EngineTestStrategy::Received& item : world.Strategy().ReceivedMessages()) {
        if (item.message.eventId == eventId) {
            times.push_back(item.timeMs);
        }
    }
    return times;
}

class SleepDetectionNightTest : public testing::Test {
protected:
    // A dark, still room with the phone lying far from the face, not charging; screen off at 23:00.
    static void StartNight(EngineTestWorld& world)
    {
        Emulator::SimulatedPhone& phone = Emulator::SimulatedPhone::GetInstance();
        phone.SetAmbientLightLux(0.0F);
        phone.SetProximityDistance(5.0F);
        phone.SetChargingStatus(0);
        phone.SetBatteryLevel(80);
        world.RunUntil(At(0, 23));
        world.ScreenOff();
        phone.SetMotionState(Emulator::MotionState::STILL);
    }

    Emulator::ScopedTimeZone zone_{"UTC0"};
};

TEST_F(SleepDetectionNightTest, NightLoopObservesInsideTheWindowDecidesAndResetsInTheMorning)
{
    EngineTestWorld world(At(0, 22, 30));
    StartNight(world);
    world.RunUntil(At(1, 9));

    // Observations: every 10 minutes from 23:00 to 07:50, none from 08:00 on.
    std::vector<StandbyMessage> observations = world.Strategy().MessagesWithId(2000);
    ASSERT_EQ(observations.size(), 54U);
    for (size_t i = 0; i < observations.size(); ++i) {
        const int64_t timestamp = observations[i].want->GetLongParam("timestamp", -1);
        const float hour = TimeProviderExt::TimestampToDayHour(timestamp);
        EXPECT_TRUE(hour >= 21.0F || hour < 8.0F) << timestamp;
        if (i > 0) {
            EXPECT_EQ(timestamp - observations[i - 1].want->GetLongParam("timestamp", -1), 10 * kMinuteMs);
        }
    }

    // Without a model the baseline decides: asleep once still and dark long enough, awake again
    // within 15 minutes of the predicted wake-up (06:15 plus the minutes past the hour of the observation).
    std::vector<int32_t> sleepStates;
    for (const EngineTestStrategy::Received& item : world.Strategy().ReceivedMessages()) {
        if (item.message.eventId == 2002 || item.message.eventId == 2003) {
            sleepStates.push_back(item.message.eventId);
        }
    }
    ASSERT_EQ(sleepStates.size(), observations.size());
    EXPECT_EQ(sleepStates.front(), 2002);
    EXPECT_EQ(sleepStates.back(), 2002);
    std::vector<StandbyMessage> asleep = world.Strategy().MessagesWithId(2003);
    ASSERT_FALSE(asleep.empty());
    for (const StandbyMessage& message : asleep) {
        EXPECT_GT(WakeupTimeOf(message), At(1, 6, 15));
        EXPECT_LT(WakeupTimeOf(message), At(1, 7, 15));
    }

    // The first day-time pass reset the night's state; the loop goes on until the screen comes on.
    SleepDetectionTestPeer peer(world.Engine());
    EXPECT_EQ(std::make_tuple(peer.BayesResult(), peer.WakeUpTimestamp(), peer.IsUserSleep(), peer.LastSleepState()),
        std::make_tuple(0, -1, false, false));
    EXPECT_TRUE(world.Handler().HasTask(kLoopTask));

    // The night's observations went to the database in batches of six.
    EXPECT_EQ(SleepDatabaseManager::GetInstance()->QueryCount(SleepEnvironment::TABLE_NAME, ""), 54);
    EXPECT_TRUE(peer.SleepEnvironments().empty());

    world.ScreenOn();
    EXPECT_FALSE(world.Handler().HasTask(kLoopTask));
    world.RunUntil(At(1, 10));
    EXPECT_EQ(world.Strategy().MessagesWithId(2000).size(), 54U);
}

TEST_F(SleepDetectionNightTest, KeepsPredictingAfterEightWhileLastReportedAsleep)
{
    // In host mode 1 the default wake-up is 08:15, so the user is still asleep at 07:50.
    STANDBT_MODE = 1;
    EngineTestWorld world(At(0, 23));
    StartNight(world);
    Emulator::LogCapture capture;
    world.RunUntil(At(1, 12));
    STANDBT_MODE = 0;
    // 07:50 was asleep, so 08:00 is still observed; its wake-up is then 15 minutes ahead: awake.
    EXPECT_EQ(TimesOf(world, 2000).back(), At(1, 8) + 1001);
    EXPECT_TRUE(capture.HasText("cur time is keep predict"));
    EXPECT_EQ(world.Strategy().ReceivedMessages().back().message.eventId, 2002);
}

TEST_F(SleepDetectionNightTest, LightSleepIsReportedAfterTheThreeSigmaStart)
{
    EngineTestWorld world(At(0, 22), false);
    SleepSharedPref::UpdateFloatSettings(SleepSharedPref::HAS_NOTIFICATION_PROBABILITY_WEEKDAY, 0.5F);
    SleepSharedPref::UpdateInt64Settings(SleepSharedPref::THREE_SIGMA_TIMESTAMP_WEEKDAY, 3 * kHourMs);
    world.CreateEngine();
    StartNight(world);
    world.RunUntil(At(0, 23, 30));
    Emulator::LogCapture capture;
    world.Engine().HandleStartSleep();
    EXPECT_TRUE(capture.HasText("set three sigma mode switch true"));
    EXPECT_EQ(SleepDetectionTestPeer(world.Engine()).StartLightSleepTimestamp(), At(1, 3));

    world.RunUntil(At(1, 5, 55));
    const std::vector<int64_t> deep = TimesOf(world, 2003);
    const std::vector<int64_t> light = TimesOf(world, 2004);
    ASSERT_FALSE(deep.empty());
    EXPECT_LT(deep.back(), At(1, 3));
    // One light-sleep message per observation from 03:00 to 05:50.
    ASSERT_EQ(light.size(), 18U);
    EXPECT_GT(light.front(), At(1, 3));
    for (const StandbyMessage& message : world.Strategy().MessagesWithId(2004)) {
        EXPECT_TRUE(message.want->GetBoolParam("isSleep", false));
    }
    EXPECT_TRUE(capture.HasText("the event is light slp state"));
}

TEST_F(SleepDetectionNightTest, ActiveUseAndANearAlarmSuppressSleep)
{
    EngineTestWorld world(At(0, 23));
    Emulator::PutSetting(Emulator::SETTINGS_TABLE, "nearestAlarmingTime", std::to_string(At(1, 2, 30)));
    StartNight(world);
    world.RunUntil(At(1, 1));
    ASSERT_FALSE(world.Strategy().MessagesWithId(2003).empty());
    world.Engine().GetUnsleepMainReason();

    // Music keeps playing in an app that is not frozen: not asleep, wake-up time -1, reason 2.
    Emulator::SimulatedPhone::GetInstance().AddContinuousTask({2, 20010, 300});
    world.Strategy().ClearMessages();
    world.RunUntil(At(1, 1, 30));
    std::vector<StandbyMessage> awake = world.Strategy().MessagesWithId(2002);
    ASSERT_EQ(awake.size(), 3U);
    for (const StandbyMessage& message : awake) {
        EXPECT_EQ(WakeupTimeOf(message), -1);
        EXPECT_FALSE(message.want->GetBoolParam("isSleep", true));
    }
    EXPECT_TRUE(world.Strategy().MessagesWithId(2003).empty());
    EXPECT_EQ(world.Engine().GetUnsleepMainReason(), 2);

    // A frozen player does not count; the alarm at 02:30 ends sleep from 02:15 on.
    Emulator::SimulatedPhone::GetInstance().SetUidFrozen(20010, true);
    world.Strategy().ClearMessages();
    world.RunUntil(At(1, 2, 45));
    const std::vector<int64_t> asleep = TimesOf(world, 2003);
    const std::vector<int64_t> awakeAgain = TimesOf(world, 2002);
    ASSERT_FALSE(asleep.empty() || awakeAgain.empty());
    EXPECT_LT(asleep.back(), At(1, 2, 15));
    EXPECT_GT(awakeAgain.front(), At(1, 2, 15));
    EXPECT_EQ(world.Engine().GetUnsleepMainReason(), 1);
}

using SleepDetectionTrainTest = SleepDetectionNightTest;

void WriteHistory(int32_t nights)
{
    Emulator::HistorySize size;
    size.nights = nights;
    ASSERT_TRUE(Emulator::SleepHistoryBuilder(Emulator::SleepHabit(), 7).Write(kWednesdayMs, size));
}

// A world at `startMs` whose database holds `nights` of history, the phone on the charger in a dark room.
void PrepareChargingNight(EngineTestWorld& world, int32_t nights)
{
    if (nights > 0) {
        WriteHistory(nights);
    }
    world.CreateEngine();
    Emulator::SimulatedPhone& phone = Emulator::SimulatedPhone::GetInstance();
    phone.SetChargingStatus(1);
    phone.SetBatteryLevel(80);
    phone.SetAmbientLightLux(0.0F);
    phone.SetProximityDistance(5.0F);
}

TEST_F(SleepDetectionTrainTest, NeedsADaySinceTheLastTrainingBatteryAndCharger)
{
    // since the last training, battery, charging status, may train
    const std::vector<std::tuple<int64_t, int32_t, int32_t, bool>> cases{{kDayMs, 80, 1, false},
        {kDayMs + 1, 80, 1, true}, {2 * kDayMs, 30, 1, false}, {2 * kDayMs, 31, 1, true}, {2 * kDayMs, 100, 3, true},
        {2 * kDayMs, 80, 0, false}};
    EngineTestWorld world(At(0, 22));
    for (const auto& [sinceLastTrain, battery, charging, expected] : cases) {
        Emulator::SimulatedPhone::GetInstance().SetBatteryLevel(battery);
        Emulator::SimulatedPhone::GetInstance().SetChargingStatus(charging);
        SleepDetectionTestPeer(world.Engine()).LastTrainTime() = world.Now() - sinceLastTrain;
        EXPECT_EQ(world.Engine().IsMeetTrainCondition(), expected)
            << sinceLastTrain << " " << battery << " " << charging;
    }
}

// Unlock on the charger, then screen off: the readiness check 3 minutes after the unlock and the
// training check 5 minutes after the screen-off start the training; its end reloads the model.
TEST_F(SleepDetectionTrainTest, UnlockThenScreenOffOnTheChargerTrainsAndReloadsTheModel)
{
    EngineTestWorld world(At(0, 21), false);
    PrepareChargingNight(world, 30);
    SleepDetectionTestPeer peer(world.Engine());
    Emulator::LogCapture capture;

    world.Unlock();
    world.RunUntil(At(0, 21, 3) - 1);
    EXPECT_FALSE(peer.IsReadyForTrain());
    world.RunUntil(At(0, 21, 3));
    EXPECT_TRUE(peer.IsReadyForTrain());
    const std::vector<Emulator::LogRecord> records = capture.Records();
    EXPECT_TRUE(std::any_of(records.begin(), records.end(), [](const Emulator::LogRecord& record) {
        // The check logs in the name of the screen-state change that posted it.
        return record.message.rfind("[HandleScreenStateChange:", 0) == 0 &&
               record.message.find("] get ready for train long standby model") != std::string::npos;
    }));
    // The first unlock after boot loaded the (still empty) model 10 s after the unlock.
    EXPECT_TRUE(capture.HasText("this is try load long standby model by first unlock state after device reboot."));

    world.RunUntil(At(0, 21, 10));
    world.ScreenOff();
    world.RunUntil(At(0, 21, 15) - 1);
    EXPECT_TRUE(world.Strategy().MessagesWithId(2001).empty());
    world.RunUntil(At(0, 21, 15) + 1000);

    ASSERT_EQ(world.Strategy().MessagesWithId(2001).size(), 1U);
    EXPECT_EQ(std::make_tuple(SleepDetection::GetLiveTrainingThreadCount(), peer.IsTraining(), peer.IsReadyForTrain(),
                  peer.LastTrainTime(), peer.LoadModelResult()),
        std::make_tuple(0, false, false, At(0, 21, 15) + 1, 0));
    EXPECT_TRUE(capture.HasText("load model successful"));
    const AAFwk::Want result = world.Strategy().MessagesWithId(2001)[0].want.value_or(AAFwk::Want());
    EXPECT_FLOAT_EQ(peer.NotiProbWeekday(), result.GetFloatParam("notiProbWeekday", -1));
    EXPECT_EQ(peer.ThreeSigmaTimestampWeekday(), result.GetLongParam("weekdayThreeSigmaTimestamp", -1));
    EXPECT_EQ(SleepSharedPref::GetInt64Settings(SleepSharedPref::THREE_SIGMA_TIMESTAMP_WEEKEND, -1),
        result.GetLongParam("weekendThreeSigmaTimestamp", -2));

    // The statistics of the stored history went out as system events.
    EXPECT_FALSE(Emulator::ReadSysEvents("SLEEP_KEY_FEATURE").empty());
    EXPECT_EQ(Emulator::ReadSysEvents("SLEEP_KEY_FEATURE").size(), Emulator::ReadSysEvents("SLEEP_KEY_INFO").size());
    EXPECT_FALSE(Emulator::ReadSysEvents("SLEEP_DURATION").empty());
    std::vector<Emulator::SysEventRecord> parameters = Emulator::ReadSysEvents("SLEEP_PARAMETERS");
    ASSERT_EQ(parameters.size(), 1U);
    EXPECT_EQ(parameters[0].params["SLEEP_PROBABILITY"].size(), 288U);
    EXPECT_EQ(parameters[0].params["SLEEP_AMBIENT_PROBA"].size(), 101U);
}

TEST_F(SleepDetectionTrainTest, NoTrainingWithoutReadinessOrChargerOrWhenTheUnlockDisarmedTheCheck)
{
    EngineTestWorld world(At(0, 21), false);
    PrepareChargingNight(world, 0);
    Emulator::SimulatedPhone::GetInstance().SetChargingStatus(0);
    world.Unlock();
    world.RunUntil(At(0, 21, 5));
    EXPECT_FALSE(SleepDetectionTestPeer(world.Engine()).IsReadyForTrain());
    Emulator::SimulatedPhone::GetInstance().SetChargingStatus(1);
    world.ScreenOff();
    world.RunUntil(At(0, 21, 30));
    EXPECT_TRUE(world.Strategy().MessagesWithId(2001).empty());

    SleepDetectionTestPeer(world.Engine()).IsReadyForTrain() = true;
    world.ScreenOff();
    world.RunUntil(At(0, 21, 33));
    world.ScreenOn();
    world.Unlock();
    world.RunUntil(At(0, 21, 40));
    EXPECT_TRUE(world.Strategy().MessagesWithId(2001).empty());
}

TEST_F(SleepDetectionTrainTest, ASecondTrainingIsRefusedWhileTheFirstRuns)
{
    EngineTestWorld world(At(0, 21), false);
    WriteHistory(10);
    world.CreateEngine();
    SleepDetectionTestPeer peer(world.Engine());
    peer.ScreenStates().push_back({world.Now(), 0});
    Emulator::LogCapture capture;

    world.Engine().SleepModelTrainTest();
    EXPECT_TRUE(peer.IsTraining());
    EXPECT_TRUE(peer.ScreenStates().empty());
    peer.ScreenStates().push_back({world.Now(), 1});
    world.Engine().ExecuteTrain();
    EXPECT_TRUE(capture.HasText("training, can not create new train task"));
    EXPECT_TRUE(peer.ScreenStates().empty()); // the refused call still saved the buffers
    EXPECT_LE(SleepDetection::GetLiveTrainingThreadCount(), 1);
    for (size_t trainings : {1U, 2U}) {
        if (trainings == 2U) {
            world.Engine().ExecuteTrain();
        }
        SleepDetection::WaitForTrainingThreads();
        world.Handler().RunUntilIdle();
        EXPECT_EQ(world.Strategy().MessagesWithId(2001).size(), trainings);
        EXPECT_FALSE(peer.IsTraining());
    }
}

} // namespace
} // namespace OHOS::DevStandbyMgr
