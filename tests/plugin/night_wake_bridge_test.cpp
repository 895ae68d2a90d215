#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine_test_world.h"
#include "night_wake_bridge.h"
#include "scoped_detector_variants.h"
#include "scoped_time_zone.h"
#include "sleep_detection_test_peer.h"

namespace OHOS::DevStandbyMgr {
namespace {

namespace Emulator = OHOS::Emulator;

constexpr int64_t kMinuteMs = 60000;
constexpr int64_t kHourMs = 3600000;
constexpr int64_t kWednesdayMs = 1736899200000; // 2025-01-15 00:00 UTC
constexpr int32_t kAsleep = 2003;
constexpr int32_t kAwake = 2002;

int64_t At(int32_t hour, int32_t minute = 0)
{
    return kWednesdayMs + hour * kHourMs + minute * kMinuteMs;
}

// An observation at `atMs` whose stillness began at `stillSinceMs` and darkness at `darkSinceMs`.
SleepDataRecord Observation(int64_t atMs, int64_t stillSinceMs, int64_t darkSinceMs)
{
    SleepDataRecord record;
    record.timestamp = atMs;
    record.stationaryDuration = static_cast<int32_t>((atMs - stillSinceMs) / 1000);
    record.lightDarkDuration = static_cast<int32_t>((atMs - darkSinceMs) / 1000);
    record.screenOffDuration = record.lightDarkDuration;
    record.lastUserStationaryStartDuration = 0;
    record.light = 0.0;
    record.proximity = 5.0;
    record.weekType = 3;
    return record;
}

// A night without a learned model, so the baseline decides: asleep at 23:00 after an hour of
// stillness and darkness (unless said otherwise), then the screen is on from 23:05 for
// `wakeMinutes`, then one observation
// at 23:20 whose stillness and darkness began at the given minutes past 23:00.
struct WakeCase {
    const char* name;
    bool switchOn;
    bool asleepBeforeWake;
    bool alarmJustBeforeWake; // an observation at 23:04 is judged awake: the alarm is near
    int32_t wakeMinutes;
    int32_t stillSinceMinute, darkSinceMinute;
    int32_t expectedEvent;
};

class QuickResumeTest : public testing::TestWithParam<WakeCase> {
protected:
    SleepDetection& Engine() { return world_.Engine(); }
    void Collect(const SleepDataRecord& record)
    {
        world_.RunUntil(record.timestamp);
        SleepDataRecord copy = record;
        Engine().HandleFinishCollect(copy);
        world_.RunUntil(record.timestamp);
    }
    int32_t LastVerdict()
    {
        const auto received = world_.Strategy().ReceivedMessages();
        return received.empty() ? 0 : received.back().message.eventId;
    }

    Emulator::ScopedTimeZone zone_{"UTC0"};
    EngineTestWorld world_{At(22)};
    SleepDetectionTestPeer peer_{world_.Engine()};
};

TEST_P(QuickResumeTest, AShortWakeKeepsTheStillnessAndDarknessFromBeforeIt)
{
    const WakeCase& c = GetParam();
    std::optional<ScopedDetectorVariants> variants;
    if (c.switchOn) {
        variants.emplace(std::initializer_list<DetectorVariant>{DetectorVariant::QUICK_RESUME});
    }
    peer_.SleepTestMode() = true; // only the test hands observations to the engine
    world_.ScreenOff();
    const int64_t sleptSince = c.asleepBeforeWake ? At(22) : At(22, 35);
    Collect(Observation(At(23), sleptSince, sleptSince));
    ASSERT_EQ(LastVerdict(), c.asleepBeforeWake ? kAsleep : kAwake);
    if (c.alarmJustBeforeWake) {
        SleepDataRecord nearAlarm = Observation(At(23, 4), sleptSince, sleptSince);
        nearAlarm.nextAlarmClockTime = At(23, 10);
        Collect(nearAlarm);
        ASSERT_EQ(LastVerdict(), kAwake);
    }
    world_.RunUntil(At(23, 5));
    world_.ScreenOn();
    world_.RunUntil(At(23, 5) + c.wakeMinutes * kMinuteMs - 1);
    world_.ScreenOff(); // the engine hears of it 1 ms later
    const SleepDataRecord observed = Observation(At(23, 20), At(23, c.stillSinceMinute), At(23, c.darkSinceMinute));
    Collect(observed);
    EXPECT_EQ(LastVerdict(), c.expectedEvent);
    // The stored observation keeps what was observed.
    const SleepDataRecord& stored = peer_.SleepEnvironments().back();
    EXPECT_EQ(std::make_pair(stored.stationaryDuration, stored.lightDarkDuration),
        std::make_pair(observed.stationaryDuration, observed.lightDarkDuration));
}

INSTANTIATE_TEST_SUITE_P(Wakes, QuickResumeTest,
    testing::Values(WakeCase{"SwitchOff", false, true, false, 3, 9, 8, kAwake},
        WakeCase{"ShortWake", true, true, false, 3, 9, 8, kAsleep},
        WakeCase{"TenMinuteWake", true, true, false, 10, 15, 15, kAsleep},
        WakeCase{"ElevenMinuteWake", true, true, false, 11, 16, 16, kAwake},
        WakeCase{"StillnessRestartedLongAfterTheWake", true, true, false, 3, 14, 8, kAwake},
        WakeCase{"DarknessRestartedBeforeTheWake", true, true, false, 3, 9, 4, kAwake},
        WakeCase{"AwakeBeforeTheWake", true, false, false, 3, 9, 8, kAwake},
        WakeCase{"JudgedAwakeJustBeforeTheWake", true, true, true, 3, 9, 8, kAwake}),
    [](const auto& info) { return std::string(info.param.name); });

// Looks in quick succession are one wake, measured from the first screen-on; a day reset forgets it.
TEST(NightWakeBridgeTest, SuccessiveLooksAreOneWakeAndTheDayForgetsIt)
{
    ScopedDetectorVariants variants{DetectorVariant::QUICK_RESUME};
    NightWakeBridge bridge;
    bridge.OnJudged(Observation(At(23), At(22), At(22)));
    bridge.OnScreenOn(At(23, 5), true);
    bridge.OnScreenOff(At(23, 9));
    bridge.OnScreenOn(At(23, 12), true);
    bridge.OnScreenOff(At(23, 15));
    const SleepDataRecord afterBoth = Observation(At(23, 30), At(23, 6), At(23, 15));
    EXPECT_EQ(bridge.JudgedRecord(afterBoth).stationaryDuration, afterBoth.stationaryDuration + 3600);
    bridge.OnScreenOn(At(23, 20), true);
    bridge.OnScreenOff(At(23, 27)); // 7 minutes, but 22 from the first look: not short
    const SleepDataRecord afterThird = Observation(At(23, 40), At(23, 28), At(23, 28));
    EXPECT_EQ(bridge.JudgedRecord(afterThird).stationaryDuration, afterThird.stationaryDuration);
    bridge.Reset();
    bridge.OnScreenOn(At(23, 56), true);
    bridge.OnScreenOff(At(23, 57));
    EXPECT_EQ(bridge.JudgedRecord(afterThird).lightDarkDuration, afterThird.lightDarkDuration);
}

} // namespace
} // namespace OHOS::DevStandbyMgr
