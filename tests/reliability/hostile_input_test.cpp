// Alarm times come from the settings store, where another app writes them as text: any 64-bit
// value may arrive. Such values once made the plug-in compute an overflowing signed difference
// (found by fuzzing; the sanitizer build fails on them). They must be judged like any other.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "engine_test_world.h"
#include "hilog.h"
#include "scoped_time_zone.h"
#include "sleep_history_builder.h"
#include "user_sleep_predict.h"

namespace OHOS::DevStandbyMgr {
namespace {

constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
constexpr int64_t kMinuteMs = 60000;

struct AlarmCase {
    int64_t lastClock, nextAlarm;
    bool nearClock;
};

TEST(HostileInputTest, AlarmTimesAtTheEndsOfTheRangeAreFarFromNow)
{
    Emulator::ScopedTimeZone zone{"CST-8"};
    const int64_t now = Emulator::LocalTimeMs(2024, 3, 12, 5, 0);
    const AlarmCase cases[] = {{-1, now + 10 * kMinuteMs, true}, {-1, now - 10 * kMinuteMs, true},
        {-1, now + 20 * kMinuteMs, false}, {-1, kMax, false}, {-1, kMin, false}, {kMin, -1, false}, {kMax, kMax, false},
        {now - 30 * kMinuteMs, kMin, true}};
    for (const AlarmCase& alarm : cases) {
        UserSleepPredict predict;
        predict.UpdateLastClockTime(alarm.lastClock);
        EXPECT_EQ(predict.IsNearClock(now, alarm.nextAlarm), alarm.nearClock)
            << alarm.lastClock << " " << alarm.nextAlarm;
        EXPECT_FALSE(predict.IsUseClockByUser(kMin, now));
    }
}

// A manual-prediction word and an observation whose alarm time sits at the ends of the range are
// judged, and the verdict reaches the host.
TEST(HostileInputTest, ObservationsWithExtremeAlarmTimesStillGetAVerdict)
{
    Emulator::LogCapture quiet;
    Emulator::ScopedTimeZone zone{"CST-8"};
    EngineTestWorld world(Emulator::LocalTimeMs(2024, 3, 12, 23, 0));
    const std::string words[] = {"1710255600000/3600/0/0/3600/3600/0/0/0/5/5/0/0/0/-9223372036854775808",
        "1710255600000/3600/0/0/3600/3600/0/0/0/5/5/0/0/-9223372036854775808/9223372036854775807"};
    for (const std::string& word : words) {
        world.Strategy().ClearMessages();
        world.Engine().SleepPredictManualTest(word);
        world.Handler().RunUntilIdle();
        EXPECT_EQ(world.Strategy().ReceivedMessages().size(), 1u) << word;
    }
    for (int64_t alarm : {kMax, kMin}) {
        world.Strategy().ClearMessages();
        SleepDataRecord record;
        record.timestamp = world.Now();
        record.nextAlarmClockTime = alarm;
        world.Engine().HandleFinishCollect(record);
        world.Handler().RunUntilIdle();
        EXPECT_EQ(world.Strategy().ReceivedMessages().size(), 1u) << alarm;
    }
}

} // namespace
} // namespace OHOS::DevStandbyMgr
