#ifndef TESTS_SUPPORT_SLEEP_HISTORY_BUILDER_H
#define TESTS_SUPPORT_SLEEP_HISTORY_BUILDER_H

#include <cstdint>
#include <random>
#include <vector>

#include "sleep_table.h"

namespace OHOS::Emulator {

// Timestamp (ms) of a local calendar time in the process time zone (normalised like mktime).
int64_t LocalTimeMs(int year, int month, int day, int hour, int minute, int second = 0);

// How a generated user sleeps. Times are minutes relative to local midnight of the day the night
// ends (a bedtime of -60 is 23:00 the evening before).
struct SleepHabit {
    int32_t weekdayBedMinute = -60;
    int32_t weekdayWakeMinute = 7 * 60;
    int32_t weekendBedMinute = 30;
    int32_t weekendWakeMinute = 9 * 60;
    // Bedtime and wake time each move by a uniform amount in [-spread, +spread] minutes.
    int32_t spreadMinutes = 20;
    // An alarm rings at the wake time on weekday (and, if set, weekend) mornings.
    bool weekdayAlarm = true;
    bool weekendAlarm = false;
    // Share of nights on which a notification arrives.
    double notificationRate = 0.3;
};

// Sizes of the generated history. Rows are spread evenly over the nights; each night gets at least
// one observation and the screen rows of its bedtime and wake-up.
struct HistorySize {
    int32_t nights = 30;
    int32_t observationRows = 0; // 0: one observation every 10 minutes from 21:00 to 08:00
    int32_t screenRows = 0;      // 0: bedtime, wake-up and six daytime off/unlock pairs per day
};

// One generated night, as the truth the tests compare against.
struct GeneratedNight {
    int64_t bedTime = 0;
    int64_t wakeTime = 0;
    int64_t alarmTime = -1;
    int32_t weekDay = 0;
    bool notified = false;
};

// Writes a deterministic, seeded history of nights into the sleep database through the plug-in's
// database manager: screen states (off at bedtime, unlock at wake-up, short daytime sessions),
// unlabelled observations of the night window and one notification record per night.
class SleepHistoryBuilder {
public:
    SleepHistoryBuilder(const SleepHabit& habit, uint32_t seed);

    // Generates `size.nights` nights, the last one ending on the local day of `lastWakeDayMs`, and
    // writes them. The last screen event lies at most two hours after the last wake-up. Returns false
    // when an insert fails.
    bool Write(int64_t lastWakeDayMs, const HistorySize& size);

    const std::vector<GeneratedNight>& Nights() const { return nights_; }

private:
    GeneratedNight PlanNight(int64_t wakeDayMidnight);
    void AddScreenRows(const GeneratedNight& night, int64_t nextBedTime, int32_t pairs);
    void AddObservations(const GeneratedNight& night, int64_t wakeDayMidnight, int32_t count);
    DevStandbyMgr::SleepEnvironment MakeObservation(const GeneratedNight& night, int64_t timestamp);
    int32_t Jitter(int32_t spread);

    SleepHabit habit_;
    std::mt19937 random_;
    std::vector<GeneratedNight> nights_;
    std::vector<DevStandbyMgr::ScreenStateRecord> screenRows_;
    std::vector<DevStandbyMgr::SleepEnvironment> observations_;
};

} // namespace OHOS::Emulator

#endif // TESTS_SUPPORT_SLEEP_HISTORY_BUILDER_H
