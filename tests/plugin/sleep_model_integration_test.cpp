#include <memory>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "data_root.h"
#include "event_handler.h"
#include "rdb_faults.h"
#include "scoped_time_zone.h"
#include "sleep_database_manager.h"
#include "sleep_history_builder.h"
#include "standby_service_impl.h"
#include "time_provider_ext.h"
#include "user_sleep_predict.h"
#include "user_sleep_train_model.h"
#include "virtual_clock.h"

namespace OHOS::DevStandbyMgr {
namespace {
using Emulator::LocalTimeMs;

constexpr int64_t HOUR_MS = 3600000;

// Thirty generated nights across the spring clock change, trained, then loaded by the predictor.
class SleepModelIntegrationTest : public testing::Test {
protected:
    void SetUp() override
    {
        Emulator::RdbFaults::Reset();
        SleepDatabaseManager::GetInstance()->OnUserSwitched();
        StandbyServiceImpl::GetInstance()->SetHandler(AppExecFwk::EventHandler::CreateVirtual(clock_.Shared()));
    }
    void TearDown() override { StandbyServiceImpl::GetInstance()->Reset(); }

    // Last night ends on Sunday 14 April 2024; the first on 16 March.
    static int64_t LastWakeDay() { return LocalTimeMs(2024, 4, 14, 0, 0); }

    // A still, dark, uncovered observation at `timestamp` after `asleepHours` of sleep.
    static SleepDataRecord AsleepObservation(int64_t timestamp, int32_t asleepHours)
    {
        SleepDataRecord record;
        record.timestamp = timestamp;
        record.stationaryDuration = asleepHours * 3600;
        record.lastUserStationaryStartDuration = 0;
        record.userMoveDuration = 0;
        record.lightDarkDuration = asleepHours * 3600;
        record.screenOffDuration = asleepHours * 3600;
        record.screenOnCount = 5;
        record.light = 0.05;
        record.proximity = 5.0;
        record.unlockTimestamp = timestamp - asleepHours * HOUR_MS;
        record.weekType = TimeProviderExt::TimestampToWeekIndex(timestamp + 12 * HOUR_MS);
        return record;
    }

    Emulator::ScopedTimeZone zone_{"CET-1CEST,M3.5.0,M10.5.0/3"};
    Emulator::ScopedDataRoot root_;
    Emulator::ScopedVirtualClock clock_{LocalTimeMs(2024, 4, 14, 13, 0)};
    Emulator::SleepHistoryBuilder builder_{Emulator::SleepHabit{}, 7};
};

TEST_F(SleepModelIntegrationTest, TrainedModelMatchesTheNightsAndScoresNightAsleepAndDayAwake)
{
    ASSERT_TRUE(builder_.Write(LastWakeDay(), Emulator::HistorySize{}));
    UserSleepTrainModel().Run();
    std::vector<SleepDurationRecord> episodes;
    ASSERT_EQ(SleepDatabaseManager::GetInstance()->QueryEntries(episodes, "", "begin_time"), 0);
    const auto& nights = builder_.Nights();
    // The night that ends on the day of the last screen event is left for the next run.
    ASSERT_EQ(episodes.size(), nights.size() - 1);
    for (size_t i = 0; i < episodes.size(); ++i) {
        EXPECT_EQ(std::make_tuple(episodes[i].beginTime, episodes[i].endTime, episodes[i].weekDay),
            std::make_tuple(nights[i].bedTime, nights[i].wakeTime, nights[i].weekDay))
            << i;
    }

    UserSleepPredict predict;
    ASSERT_EQ(predict.LoadModel(), 0);
    EXPECT_GE(predict.GetRecordDays(), 7);
    // Wednesday 10 April, 03:00: four hours into a weekday night.
    SleepDataRecord last = AsleepObservation(LocalTimeMs(2024, 4, 10, 2, 50), 4);
    SleepDataRecord night = AsleepObservation(LocalTimeMs(2024, 4, 10, 3, 0), 4);
    predict.UpdateSleepProByWeekType(night.weekType);
    EXPECT_EQ(predict.SleepBaselinePredict(last, night), 1);
    EXPECT_GE(predict.SleepBayesPredict(last, night), 90);
    // With no alarm the habit says the user wakes around 07:00.
    int64_t wakeUp = predict.WakeUpPredict(night, 0.0F, false);
    EXPECT_GE(wakeUp, LocalTimeMs(2024, 4, 10, 6, 30));
    EXPECT_LE(wakeUp, LocalTimeMs(2024, 4, 10, 7, 30));

    // Someone using the phone in a lit room, in the afternoon and in the evening.
    auto awake = [](int64_t timestamp) {
        SleepDataRecord record = AsleepObservation(timestamp, 0);
        record.stationaryDuration = 60;
        record.screenOffDuration = 120;
        record.light = 180.0;
        return record;
    };
    for (int64_t awakeAt : {LocalTimeMs(2024, 4, 10, 15, 0), LocalTimeMs(2024, 4, 10, 21, 30)}) {
        SleepDataRecord previous = awake(awakeAt - 10 * 60000);
        SleepDataRecord day = awake(awakeAt);
        predict.UpdateSleepProByWeekType(day.weekType);
        EXPECT_EQ(predict.SleepBaselinePredict(previous, day), 0);
        EXPECT_LT(predict.SleepBayesPredict(previous, day), 50);
    }
}

} // namespace
} // namespace OHOS::DevStandbyMgr
