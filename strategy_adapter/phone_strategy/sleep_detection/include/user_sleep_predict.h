#ifndef SLEEP_DETECTION_INCLUDE_USER_SLEEP_PREDICT_H
#define SLEEP_DETECTION_INCLUDE_USER_SLEEP_PREDICT_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "sleep_data_record.h"

namespace OHOS::DevStandbyMgr {

class SleepDatabaseManager;

// Result codes of the model loaders.
constexpr int32_t MODEL_LOAD_OK = 0;
constexpr int32_t MODEL_DATA_INVALID = 22;
constexpr int32_t MODEL_TABLE_UNAVAILABLE = 38;

// Scores one night observation with the learned sleep model: a Bayes sleep score, a rule-based
// baseline verdict and a predicted wake-up time. Holds the model tables that training writes to the
// database (time-of-day probabilities for weekdays and weekends, ambient-light percentiles, number of
// recorded days). Used on the detection engine's thread only; no locking.
//
// Bayes score: -1 no prediction (too few recorded days), 0 ... 100 per cent, 101 kept asleep since the
// previous observation, 102 dark and covered before 06:00 in a likely sleep slot.
class UserSleepPredict {
public:
    UserSleepPredict();

    // Remembers when an alarm clock last rang; the hour after it never counts as sleep.
    void UpdateLastClockTime(int64_t timestamp);

    // Reloads every model table from the database. 0 loaded, 22 stored data invalid, 38 unreadable.
    // A failed load may leave tables partly overwritten and keeps the old number of recorded days.
    int32_t LoadModel();
    // Loads the weekday and the weekend time-of-day tables (38 on any failure).
    int32_t LoadProbability();
    // Loads one column ("probability" or "probability_weekend") into `table` and normalises it to
    // span 0.0 ... 1.0. 22 for a wrong row count, bad index, value outside 0 ... 1 or a range below 0.5.
    int32_t LoadProbabilityByWeekType(std::vector<float>& table, const std::string& column);
    // Loads the two ambient-light tables (101 entries each, no normalisation).
    int32_t LoadProbaAmbient();

    // Selects the time table for the observation's week type (below 6 weekday, else weekend).
    void UpdateSleepProByWeekType(int32_t weekType);

    // The Bayes score of `cur`; writes the slot's sleep probability into cur.timeSleepProbability.
    int32_t SleepBayesPredict(const SleepDataRecord& last, SleepDataRecord& cur);
    // Fixed rules by time band: 1 asleep, 0 not.
    int32_t SleepBaselinePredict(const SleepDataRecord& last, const SleepDataRecord& cur);
    // Predicted wake-up timestamp (ms) from the next alarm and the user's habit.
    int64_t WakeUpPredict(const SleepDataRecord& cur, float notificationProba, bool inFeedbackPeriod);

    // The rules below are public so that each can be exercised alone.
    // Within the hour after the last alarm rang, or within 15 minutes of the next alarm.
    bool IsNearClock(int64_t timestamp, int64_t nextAlarm) const;
    // 12:00 to 21:00, both ends included.
    bool IsDayTime(float hour) const;
    // Nothing since the previous observation would have woken the user.
    bool IsKeepUserSleeping(const SleepDataRecord& last, const SleepDataRecord& cur) const;
    // Whether the observation is clearly awake before any Bayes arithmetic.
    bool IsUnsleepForBayes(const SleepDataRecord& cur) const;
    bool IsUnsleepWhenUserStatInvalid(const SleepDataRecord& cur) const;
    bool IsUnsleepWhenUserStatValid(const SleepDataRecord& cur) const;
    // The movement service reports no current still period right after a long one.
    bool IsUserStatDurInvaild(int32_t stationary, int32_t lastStationaryStart) const;
    // Bayes score from the ambient tables, or -1 when the light reading cannot be used.
    int32_t TryUseAmbientForBayesPredict(
        float pSleep, float pUnsleep, const SleepDataRecord& last, const SleepDataRecord& cur) const;
    // Bayes score from the time table alone (squared, to sharpen it away from 50).
    int32_t TryUseTimeForBayesPredict(float pSleep, float pUnsleep) const;
    float GetAmbientLight(double light) const;
    float CalculateProbabilitySleepByAmbient(float light) const;
    float CalculateProbabilityUnsleepByAmbient(float light) const;
    // round(a / (b + a) * 100).
    int32_t CalculateBayesPredictResult(float a, float b) const;
    bool IsSleepBaselineLaterSixClock(const SleepDataRecord& cur) const;
    bool IsSleepBaselineDurZeroToSixClock(const SleepDataRecord& last, const SleepDataRecord& cur) const;
    // The next alarm is set, before noon, and within the coming nine hours.
    bool IsUseClockByUser(int64_t nextAlarm, int64_t timestamp) const;
    // Default wake-up second of day: 08:15 in standby mode 1, else 06:15.
    int32_t SetDefaultWakeupTime() const;
    // Wake-up second of day from the habit (latest morning slot above the threshold), capped by the alarm.
    int32_t WakeupOfClockAndHabit(int32_t clockSecond, float notificationProba, bool inFeedbackPeriod) const;

    int64_t GetRecordDays() const { return recordDays; }
    const std::vector<float>& GetTimeSleepProba() const { return timeSleepProba; }

private:
    float SlotProbability(int64_t timestamp) const;

    int64_t lastClockTime = -1;
    int64_t recordDays = 0;
    std::vector<float> ambientSleepProba;
    std::vector<float> ambientUnsleepProba;
    std::vector<float> timeSleepProba;
    std::vector<float> timeSleepProbaWeekday;
    std::vector<float> timeSleepProbaWeekend;
    std::shared_ptr<SleepDatabaseManager> databaseManager;
};

} // namespace OHOS::DevStandbyMgr

#endif // SLEEP_DETECTION_INCLUDE_USER_SLEEP_PREDICT_H
