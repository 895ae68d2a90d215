#include "sleep_history_builder.h"

#include <algorithm>
#include <ctime>

#include "sleep_database_manager.h"
#include "time_provider_ext.h"

namespace OHOS::Emulator {
using DevStandbyMgr::ScreenStateRecord;
using DevStandbyMgr::SleepDatabaseManager;
using DevStandbyMgr::SleepEnvironment;
using DevStandbyMgr::SleepNotificationRecord;
using DevStandbyMgr::TimeProviderExt;

namespace {
constexpr int64_t MINUTE_MS = 60000;
constexpr int64_t HOUR_MS = 3600000;
constexpr int64_t MSEC_PER_SEC = 1000;
constexpr int32_t DEFAULT_OBSERVATIONS = 67; // every 10 minutes from 21:00 to 08:00
constexpr int32_t DEFAULT_DAY_PAIRS = 6;
constexpr int32_t NIGHT_ROWS = 2; // off at bedtime, unlock at wake-up
constexpr int32_t FIRST_WEEKEND_DAY = 6;
constexpr double ASLEEP_PROXIMITY = 5.0;
constexpr int32_t LABEL_UNLABELLED = -1;

// Share `total` rows out over `parts`, the first ones taking the remainder.
int32_t ShareOf(int32_t total, int32_t parts, int32_t index)
{
    return total / parts + (index < total % parts ? 1 : 0);
}

} // namespace

int64_t LocalTimeMs(int year, int month, int day, int hour, int minute, int second)
{
    std::tm fields{};
    fields.tm_year = year - 1900;
    fields.tm_mon = month - 1;
    fields.tm_mday = day;
    fields.tm_hour = hour;
    fields.tm_min = minute;
    fields.tm_sec = second;
    fields.tm_isdst = -1;
    return static_cast<int64_t>(std::mktime(&fields)) * MSEC_PER_SEC;
}

SleepHistoryBuilder::SleepHistoryBuilder(const SleepHabit& habit, uint32_t seed) : habit_(habit), random_(seed) {}

int32_t SleepHistoryBuilder::Jitter(int32_t spread)
{
    if (spread <= 0) {
        return 0;
    }
    uint32_t width = static_cast<uint32_t>(2 * spread + 1);
    return static_cast<int32_t>(random_() % width) - spread;
}

GeneratedNight SleepHistoryBuilder::PlanNight(int64_t wakeDayMidnight)
{
    GeneratedNight night;
    night.weekDay = TimeProviderExt::TimestampToWeekIndex(wakeDayMidnight + 12 * HOUR_MS);
    bool weekend = night.weekDay >= FIRST_WEEKEND_DAY;
    int32_t bedMinute = (weekend ? habit_.weekendBedMinute : habit_.weekdayBedMinute) + Jitter(habit_.spreadMinutes);
    int32_t wakeMinute = (weekend ? habit_.weekendWakeMinute : habit_.weekdayWakeMinute) + Jitter(habit_.spreadMinutes);
    night.bedTime = wakeDayMidnight + bedMinute * MINUTE_MS;
    night.wakeTime = wakeDayMidnight + wakeMinute * MINUTE_MS;
    if (weekend ? habit_.weekendAlarm : habit_.weekdayAlarm) {
        night.alarmTime = night.wakeTime;
    }
    constexpr uint32_t permille = 1000;
    night.notified = random_() % permille < static_cast<uint32_t>(habit_.notificationRate * permille);
    return night;
}

bool SleepHistoryBuilder::Write(int64_t lastWakeDayMs, const HistorySize& size)
{
    std::vector<int64_t> midnights;
    std::vector<SleepNotificationRecord> notifications;
    for (int32_t n = 0; n < size.nights; ++n) {
        int64_t midnight = TimeProviderExt::GetAlarmClcokTimestamp(lastWakeDayMs, n - (size.nights - 1), 0, 0);
        midnights.push_back(midnight);
        nights_.push_back(PlanNight(midnight));
    }
    for (int32_t n = 0; n < size.nights; ++n) {
        const GeneratedNight& night = nights_[n];
        int32_t observations =
            size.observationRows > 0 ? ShareOf(size.observationRows, size.nights, n) : DEFAULT_OBSERVATIONS;
        AddObservations(night, midnights[n], std::max(observations, 1));
        int32_t pairs =
            size.screenRows > 0 ? (ShareOf(size.screenRows, size.nights, n) - NIGHT_ROWS) / 2 : DEFAULT_DAY_PAIRS;
        // The last day ends two hours after its wake-up, so that no event lies in the caller's future.
        int64_t dayEnd = n + 1 < size.nights ? nights_[n + 1].bedTime : night.wakeTime + 2 * HOUR_MS;
        AddScreenRows(night, dayEnd, std::max(pairs, 0));
        notifications.push_back({night.bedTime + 30 * MINUTE_MS, night.notified ? 1 : 0, night.weekDay});
    }
    auto manager = SleepDatabaseManager::GetInstance();
    return manager->InsertEntries(ScreenStateRecord::TABLE_NAME, screenRows_) == 0 &&
           manager->InsertEntries(SleepEnvironment::TABLE_NAME, observations_) == 0 &&
           manager->InsertEntries(SleepNotificationRecord::TABLE_NAME, notifications) == 0;
}

void SleepHistoryBuilder::AddScreenRows(const GeneratedNight& night, int64_t nextBedTime, int32_t pairs)
{
    constexpr int64_t margin = 10 * MINUTE_MS;
    screenRows_.push_back({night.bedTime, 0});
    screenRows_.push_back({night.wakeTime, 1});
    if (pairs == 0) {
        return;
    }
    int64_t dayStart = night.wakeTime + margin;
    int64_t step = (nextBedTime - margin - dayStart) / pairs;
    for (int32_t i = 0; i < pairs; ++i) {
        int64_t off = dayStart + i * step;
        screenRows_.push_back({off, 0});
        screenRows_.push_back({off + step / 2, 1});
    }
}

void SleepHistoryBuilder::AddObservations(const GeneratedNight& night, int64_t wakeDayMidnight, int32_t count)
{
    int64_t windowStart = wakeDayMidnight - 3 * HOUR_MS; // 21:00 the evening before
    int64_t windowEnd = wakeDayMidnight + 8 * HOUR_MS;
    int64_t step = (windowEnd - windowStart) / count;
    for (int32_t i = 0; i < count; ++i) {
        observations_.push_back(MakeObservation(night, windowStart + i * step));
    }
}

SleepEnvironment SleepHistoryBuilder::MakeObservation(const GeneratedNight& night, int64_t timestamp)
{
    constexpr uint32_t randomSpanSec = 300;
    constexpr double roomLightLux = 150.0;
    SleepEnvironment observation;
    observation.timestamp = timestamp;
    observation.chargeState = 1;
    observation.proximity = ASLEEP_PROXIMITY;
    observation.label = LABEL_UNLABELLED;
    observation.nextClock = night.alarmTime;
    bool asleep = timestamp >= night.bedTime && timestamp < night.wakeTime;
    if (asleep) {
        int32_t sinceBedSec = static_cast<int32_t>((timestamp - night.bedTime) / MSEC_PER_SEC);
        observation.screenOffDuration = sinceBedSec;
        observation.userStationaryDuration = sinceBedSec;
        observation.lightDarkDuration = sinceBedSec;
        observation.light = static_cast<double>(random_() % 10) / 100.0;
    } else {
        observation.screenOffDuration = static_cast<int32_t>(random_() % randomSpanSec);
        observation.userStationaryDuration = static_cast<int32_t>(random_() % randomSpanSec);
        observation.lightDarkDuration = 0;
        observation.light = roomLightLux + static_cast<double>(random_() % 100);
    }
    return observation;
}

} // namespace OHOS::Emulator
