#include "sleep_data_record.h"

#include <gtest/gtest.h>

#include <limits>

#include "sleep_log.h"

namespace OHOS::DevStandbyMgr {
namespace {

TEST(SleepDataRecordTest, UnmeasuredRecordPrintsItsMarkers)
{
    SleepDataRecord record;
    EXPECT_EQ(record.FeatureToString(),
        "timestamp: -1, stationaryDuration: -1, lastUserStationaryStartDuration: -1, userMoveDuration: -1, "
        "lightDarkDuration: -1, screenOffDuration: -1, screenOnCount: -1, light: -1, proximity: -1, "
        "proximityOrigin: -1, proximityErrorSize: 0, proximityListSize: 0, unlockTimestamp: -1, "
        "nextAlarmClockTime: -1, timeSleepProbability: -1, bayesResult: -1, baselineResult: -1, wakeupTime: -1, "
        "isTimeOk: -1, weekType: -1");
    EXPECT_EQ(record.reserved, -1);
}

TEST(SleepDataRecordTest, PrintsEveryFieldInOrderWithStreamDefaultsButNotTheChargeState)
{
    // Fields in declaration order; the charge state (1) and the reserved value are never printed.
    SleepDataRecord record{1711900799999, 3600, 120, 5, 1800, 2400, 3, 1, 0.5, 5.0, 12345678.9, 2, 4, 1711890000000,
        1711929600000, 0.123456789, std::numeric_limits<int64_t>::max(), 101, 1, 1711927800000, 1, 7};
    EXPECT_EQ(record.FeatureToString(),
        "timestamp: 1711900799999, stationaryDuration: 3600, lastUserStationaryStartDuration: 120, "
        "userMoveDuration: 5, lightDarkDuration: 1800, screenOffDuration: 2400, screenOnCount: 3, light: 0.5, "
        "proximity: 5, proximityOrigin: 1.23457e+07, proximityErrorSize: 2, proximityListSize: 4, "
        "unlockTimestamp: 1711890000000, nextAlarmClockTime: 1711929600000, timeSleepProbability: 0.123457, "
        "bayesResult: 101, baselineResult: 1, wakeupTime: 1711927800000, isTimeOk: 1, weekType: 7");
}

TEST(SleepLogTest, MacrosLogWithTheServiceDomainTagAndPrefix)
{
    Emulator::LogCapture capture;
    STANDBYSERVICE_LOGD("debug %{public}d", 1);
    const int line = __LINE__ + 1;
    STANDBYSERVICE_LOGE("error %{public}s %{private}s", "shown", "hidden");
    const auto records = capture.Records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].level, LOG_DEBUG);
    EXPECT_EQ(std::make_tuple(records[1].level, records[1].domain, records[1].tag, records[1].message),
        std::make_tuple(
            LOG_ERROR, 0xD001718u, "StandbyService", "[TestBody:" + std::to_string(line) + "] error shown <private>"));
    EXPECT_EQ(capture.Texts(), (std::vector<std::string>{"debug 1", "error shown <private>"}));
}

} // namespace
} // namespace OHOS::DevStandbyMgr
