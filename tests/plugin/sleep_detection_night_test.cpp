#include <gtest/gtest.h>

#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
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
// Wednesday 2025-01-15 00:00 UTC.
constexpr int64_t kWednesdayMs = 1736899200000;
constexpr char kLoopTask[] = "user_sleep_detection_loop_task";

int64_t At(int32_t dayOffset, int32_t hour, int32_t minute = 0)
{
    return kWednesdayMs + dayOffset * 24 * kHourMs + hour * kHourMs + minute * kMinuteMs;
}

float HourOf(int64_t timestamp)
{
    return TimeProviderExt::TimestampToDayHour(timestamp);
}

// A dark, still room with the phone lying far from the face, not charging.
void LayPhoneDownInTheDark()
{
    Emulator::SimulatedPhone& phone = Emulator::SimulatedPhone::GetInstance();
    phone.SetAmbientLightLux(0.0F);
    phone.SetProximityDistance(5.0F);
    phone.SetChargingStatus(0);
    phone.SetBatteryLevel(80);
}

int64_t WakeupTimeOf(const StandbyMessage& message)
{
    return message.want.has_value() ? message.want->GetLongParam("wakeupTime", -2) : -2;
}

class SleepDetectionNightTest : public testing::Test {
protected:
    Emulator::ScopedTimeZone zone_{"UTC0"};
};

TEST_F(SleepDetectionNightTest, NightLoopObservesInsideTheWindowDecidesAndResetsInTheMorning)
{
    EngineTestWorld world(At(0, 22, 30));
    LayPhoneDownInTheDark();
    world.RunUntil(At(0, 23));
    world.ScreenOff();
    Emulator::SimulatedPhone::GetInstance().SetMotionState(Emulator::MotionState::STILL);
    world.RunUntil(At(1, 9));

    // Observations: every 10 minutes from 23:00 to 07:50, none from 08:00 on.
    std::vector<StandbyMessage> observations = world.Strategy().MessagesWithId(2000);
    ASSERT_EQ(observations.size(), 54U);
    int64_t previous = 0;
    for (const StandbyMessage& message : observations) {
        int64_t timestamp = message.want->GetLongParam("timestamp", -1);
        float hour = HourOf(timestamp);
        EXPECT_TRUE(hour >= 21.0F || hour < 8.0F) << timestamp;
        if (previous != 0) {
            EXPECT_EQ(timestamp - previous, 10 * kMinuteMs);
        }
        previous = timestamp;
    }

    // Without a model the baseline decides: asleep once still and dark long enough, awake again
    // within 15 minutes of the predicted wake-up (06:15 plus the minutes past the hour of the observation).
    std::vector<int32_t> sleepStates;
    for (const StandbyMessage& message : world.Strategy().Messages()) {
        if (message.eventId == 2002 || message.eventId == 2003) {
            sleepStates.push_back(message.eventId);
        }
    }
    ASSERT_EQ(sleepStates.size(), observations.size());
    std::vector<StandbyMessage> asleep = world.Strategy().MessagesWithId(2003);
    ASSERT_FALSE(asleep.empty());
    EXPECT_EQ(sleepStates.front(), 2002);
    EXPECT_EQ(sleepStates.back(), 2002);
    for (const StandbyMessage& message : asleep) {
        EXPECT_GT(WakeupTimeOf(message), At(1, 6, 15));
        EXPECT_LT(WakeupTimeOf(message), At(1, 7, 15));
    }

    // The first day-time pass reset the night's state.
    SleepDetectionTestPeer peer(world.Engine());
    EXPECT_EQ(peer.BayesResult(), 0);
    EXPECT_EQ(peer.WakeUpTimestamp(), -1);
    EXPECT_FALSE(peer.IsUserSleep());
    EXPECT_FALSE(peer.LastSleepState());
    EXPECT_TRUE(world.Handler().HasTask(kLoopTask));

    // The night's observations went to the database in batches of six, unlabelled.
    std::vector<SleepEnvironment> rows;
    ASSERT_EQ(SleepDatabaseManager::GetInstance()->QueryEntries(rows, "", ""), 0);
    EXPECT_EQ(rows.size(), 54U);
    EXPECT_TRUE(peer.SleepEnvironments().empty());

    world.ScreenOn();
    EXPECT_FALSE(world.Handler().HasTask(kLoopTask));
    world.RunUntil(At(1, 10));
    EXPECT_EQ(world.Strategy().MessagesWithId(2000).size(), 54U);
}

TEST_F(SleepDetectionNightTest, ScreenOnStopsTheLoopAndASecondScreenOffWithinTenMinutesObservesNothing)
{
    EngineTestWorld world(At(0, 23));
    LayPhoneDownInTheDark();
    world.ScreenOff();
    world.RunUntil(At(0, 23, 5));
    EXPECT_EQ(world.Strategy().MessagesWithId(2000).size(), 1U);
    world.ScreenOn();
    EXPECT_FALSE(world.Handler().HasTask(kLoopTask));
    world.RunUntil(At(0, 23, 8));
    world.ScreenOff();
    world.RunUntil(At(0, 23, 9) + 59000);
    EXPECT_EQ(world.Strategy().MessagesWithId(2000).size(), 1U);
    world.RunUntil(At(0, 23, 10) + 2000);
    EXPECT_EQ(world.Strategy().MessagesWithId(2000).size(), 2U);
}

// Sets the host's standby mode for one test.
class ScopedStandbyMode {
public:
    explicit ScopedStandbyMode(int32_t mode) : previous_(STANDBT_MODE) { STANDBT_MODE = mode; }
    ~ScopedStandbyMode() { STANDBT_MODE = previous_; }

private:
    int32_t previous_;
};

TEST_F(SleepDetectionNightTest, KeepsPredictingAfterEightWhileLastReportedAsleep)
{
    // In host mode 1 the default wake-up is 08:15, so the user is still asleep at 07:50.
    ScopedStandbyMode mode(1);
    EngineTestWorld world(At(0, 23));
    LayPhoneDownInTheDark();
    world.ScreenOff();
    Emulator::SimulatedPhone::GetInstance().SetMotionState(Emulator::MotionState::STILL);
    Emulator::LogCapture capture;
    world.RunUntil(At(1, 12));

    std::vector<EngineTestStrategy::Received> received = world.Strategy().ReceivedMessages();
    std::vector<int64_t> observedAt;
    for (const EngineTestStrategy::Received& item : received) {
        if (item.message.eventId == 2000) {
            observedAt.push_back(item.timeMs);
        }
    }
    ASSERT_FALSE(observedAt.empty());
    // 07:50 was asleep, so 08:00 is still observed; its wake-up is then 15 minutes ahead: awake.
    EXPECT_EQ(observedAt.back(), At(1, 8) + 1001);
    EXPECT_TRUE(capture.HasText("cur time is keep predict"));
    EXPECT_EQ(received.back().message.eventId, 2002);
}

TEST_F(SleepDetectionNightTest, LightSleepIsReportedAfterTheThreeSigmaStart)
{
    EngineTestWorld world(At(0, 22), false);
    SleepSharedPref::UpdateFloatSettings(SleepSharedPref::HAS_NOTIFICATION_PROBABILITY_WEEKDAY, 0.5F);
    SleepSharedPref::UpdateInt64Settings(SleepSharedPref::THREE_SIGMA_TIMESTAMP_WEEKDAY, 3 * kHourMs);
    world.CreateEngine();
    LayPhoneDownInTheDark();
    world.RunUntil(At(0, 23));
    world.ScreenOff();
    Emulator::SimulatedPhone::GetInstance().SetMotionState(Emulator::MotionState::STILL);
    world.RunUntil(At(0, 23, 30));
    Emulator::LogCapture capture;
    world.Engine().HandleStartSleep();
    EXPECT_TRUE(capture.HasText("set three sigma mode switch true"));
    SleepDetectionTestPeer peer(world.Engine());
    EXPECT_EQ(peer.StartLightSleepTimestamp(), At(1, 3));

    world.RunUntil(At(1, 5, 55));
    size_t deep = 0;
    size_t light = 0;
    for (const EngineTestStrategy::Received& item : world.Strategy().ReceivedMessages()) {
        if (item.message.eventId == 2003) {
            ++deep;
            EXPECT_LT(item.timeMs, At(1, 3));
        } else if (item.message.eventId == 2004) {
            ++light;
            EXPECT_GT(item.timeMs, At(1, 3));
            EXPECT_TRUE(item.message.want->GetBoolParam("isSleep", false));
        }
    }
    EXPECT_GT(deep, 0U);
    // One light-sleep message per observation from 03:00 to 05:50.
    EXPECT_EQ(light, 18U);
    EXPECT_TRUE(capture.HasText("the event is light slp state"));
}

TEST_F(SleepDetectionNightTest, ActiveUseAndANearAlarmSuppressSleep)
{
    EngineTestWorld world(At(0, 23));
    LayPhoneDownInTheDark();
    Emulator::PutSetting(Emulator::SETTINGS_TABLE, "nearestAlarmingTime", std::to_string(At(1, 2, 30)));
    world.ScreenOff();
    Emulator::SimulatedPhone::GetInstance().SetMotionState(Emulator::MotionState::STILL);
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
    for (const EngineTestStrategy::Received& item : world.Strategy().ReceivedMessages()) {
        if (item.message.eventId == 2003) {
            EXPECT_LT(item.timeMs, At(1, 2, 15));
        } else if (item.message.eventId == 2002) {
            EXPECT_GT(item.timeMs, At(1, 2, 15));
        }
    }
    EXPECT_FALSE(world.Strategy().MessagesWithId(2003).empty());
    EXPECT_FALSE(world.Strategy().MessagesWithId(2002).empty());
    EXPECT_EQ(world.Engine().GetUnsleepMainReason(), 1);
}

} // namespace
} // namespace OHOS::DevStandbyMgr
