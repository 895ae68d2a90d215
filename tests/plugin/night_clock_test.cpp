#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "data_root.h"
#include "engine_test_world.h"
#include "night_clock.h"
#include "scoped_detector_variants.h"
#include "scoped_time_zone.h"
#include "sleep_database_manager.h"
#include "sleep_detection_test_peer.h"
#include "user_sleep_strategy.h"
#include "user_sleep_predict.h"

namespace OHOS::DevStandbyMgr {
namespace {

constexpr int32_t kSlotsPerHour = 12;
constexpr int64_t kHourMs = 3600000;
constexpr int64_t kWednesdayMs = 1736899200000; // 2025-01-15 00:00 UTC

int64_t At(double hour)
{
    return kWednesdayMs + static_cast<int64_t>(hour * kHourMs);
}

// A normalised time table: 1 from `fromHour` up to `toHour` (round midnight if need be), 0 elsewhere.
std::vector<float> Asleep(double fromHour, double toHour)
{
    std::vector<float> table(288, 0.0F);
    const auto from = static_cast<int32_t>(fromHour * kSlotsPerHour);
    const auto to = static_cast<int32_t>(toHour * kSlotsPerHour);
    for (int32_t slot = from; slot != to; slot = (slot + 1) % 288) {
        table[slot] = 1.0F;
    }
    return table;
}

// Whatever a test learned, the next starts from the fixed window.
class NightClockTest : public testing::Test {
protected:
    void TearDown() override { NightClock::Forget(); }
    Emulator::ScopedTimeZone zone_{"UTC0"};
};

// weekday sleep, weekend sleep, shift in slots, local hour, the hour the night rules see
struct LearnCase {
    const char* name;
    double weekdayFrom, weekdayTo, weekendFrom, weekendTo;
    int32_t shiftSlots;
    double localHour, nightHour;
};

class NightClockLearnTest : public NightClockTest, public testing::WithParamInterface<LearnCase> {};

TEST_P(NightClockLearnTest, MovesTheNightRulesHourBySleepCentreMinusThree)
{
    const LearnCase& c = GetParam();
    NightClock::LearnSleepCentre(Asleep(c.weekdayFrom, c.weekdayTo), Asleep(c.weekendFrom, c.weekendTo));
    EXPECT_EQ(NightClock::ShiftSlots(), c.shiftSlots);
    EXPECT_FLOAT_EQ(NightClock::NightHour(At(c.localHour)), static_cast<float>(c.localHour)) << "switch off";
    ScopedDetectorVariants variants{DetectorVariant::LEARNED_NIGHT_WINDOW};
    EXPECT_NEAR(NightClock::NightHour(At(c.localHour)), c.nightHour, 1e-4);
}

INSTANTIATE_TEST_SUITE_P(Sleepers, NightClockLearnTest,
    testing::Values(LearnCase{"CentredOnThree", 23, 7, 23, 7, 0, 23.5, 23.5},
        LearnCase{"DaySleeper", 8.5, 15.5, 8.5, 15.5, 108, 8.5, 23.5},
        LearnCase{"EarlySleeper", 19, 3, 19, 3, -48, 22.0, 2.0},
        LearnCase{"LaterAtWeekends", 0, 8, 2, 10, 18, 1.0, 23.5},
        LearnCase{"NoSleepLearned", 0, 0, 0, 0, 0, 9.0, 9.0}),
    [](const auto& info) { return std::string(info.param.name); });

// A day sleeper's 09:00 with an hour of stillness and darkness is night for the strategy, the
// engine's predict time and enhance model and the baseline only with the switch on.
TEST_F(NightClockTest, DaySleepersMorningIsNightOnlyWithTheSwitch)
{
    EngineTestWorld world(At(9));
    NightClock::LearnSleepCentre(Asleep(8.5, 15.5), Asleep(8.5, 15.5));
    UserSleepPredict predict;
    SleepDataRecord record;
    record.timestamp = At(9);
    record.stationaryDuration = 3600;
    record.lightDarkDuration = 3600;
    record.screenOffDuration = 3600;
    record.nextAlarmClockTime = -1;
    SleepDetectionTestPeer peer(world.Engine());
    peer.NowCollectedData() = record;
    peer.BayesResult() = -1;
    UserSleepStrategy strategy;
    for (bool switchOn : {false, true}) {
        std::optional<ScopedDetectorVariants> variants;
        if (switchOn) {
            variants.emplace(std::initializer_list<DetectorVariant>{DetectorVariant::LEARNED_NIGHT_WINDOW});
        }
        EXPECT_EQ(predict.SleepBaselinePredict(record, record), switchOn ? 1 : 0);
        EXPECT_EQ(world.Engine().IsPredictTime(At(9)), switchOn);
        EXPECT_EQ(world.Engine().IsPredictTime(At(3)), !switchOn); // 18:00 on the night clock
        EXPECT_EQ(world.Engine().IsEnhanceModelSleep(), switchOn);
        EXPECT_EQ(strategy.IsDayTime(), !switchOn);
    }
}

// Loading a time table learns its centre; a table that fails to load leaves the fixed window.
TEST_F(NightClockTest, TheModelLoadLearnsTheCentreAndAFailedLoadForgetsIt)
{
    Emulator::ScopedDataRoot root;
    auto manager = SleepDatabaseManager::GetInstance();
    manager->OnUserSwitched();
    const std::vector<float> daySleep = Asleep(8.5, 15.5);
    std::vector<SleepProbability> rows;
    for (int32_t slot = 0; slot < 288; ++slot) {
        rows.push_back({slot, daySleep[slot], daySleep[slot]});
    }
    ASSERT_EQ(manager->InsertEntries(SleepProbability::TABLE_NAME, rows), 0);
    UserSleepPredict predict;
    ASSERT_EQ(predict.LoadProbability(), 0);
    EXPECT_EQ(NightClock::ShiftSlots(), 108);
    std::vector<SleepProbability> extra{{0, 0.5, 0.5}};
    ASSERT_EQ(manager->InsertEntries(SleepProbability::TABLE_NAME, extra), 0); // 289 rows: invalid
    EXPECT_NE(predict.LoadProbability(), 0);
    EXPECT_EQ(NightClock::ShiftSlots(), 0);
}

} // namespace
} // namespace OHOS::DevStandbyMgr
