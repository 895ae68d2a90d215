#ifndef SLEEP_DETECTION_INCLUDE_USER_SLEEP_TRAIN_MODEL_H
#define SLEEP_DETECTION_INCLUDE_USER_SLEEP_TRAIN_MODEL_H

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "sleep_table.h"

namespace OHOS::DevStandbyMgr {

class SleepDatabaseManager;

// One nightly training run of the sleep model, on the training thread. From the stored history it
// finds one sleep episode per night (screen-off spans, merged over brief wake-ups, clipped to the
// night), labels the observations around those episodes, rebuilds the time-of-day and ambient-light
// tables, the notification probabilities, the early-wake-up limits and the parameters row, and finally
// tells the host with message 2001. Created for one run and destroyed after it.
class UserSleepTrainModel {
public:
    using Span = std::pair<int64_t, int64_t>;

    UserSleepTrainModel();

    // The whole run; always ends with the training-finished message to the host.
    void Run();
    // Housekeeping, episodes and labels; true when the table-building steps may follow.
    bool IsMeetTrainCondition();

    // Retention: drops history older than 90 days.
    void DeleteOldData();
    // Empties every table when the newest screen event lies more than an hour in the future.
    void DropTableIfScrStateTimeInvalid();
    // Drops screen events and unusable observations that are already turned into episodes.
    void DeleteHandledRecord();
    void GetHandledTimestamp();

    // Screen-off spans, merging, episodes and their storage. 0, or -1 when the history is unreadable.
    int32_t IdentifySleepTime();
    int32_t GetScreenOffDuration();
    void CalculateScreenOffDurations(const std::vector<ScreenStateRecord>& rows);
    void GetMergeScreenOffData();
    // A screen use of under a minute before 05:00 does not end the night.
    bool CanMergeScreenOffData(int64_t prevEnd, int64_t nextBegin) const;
    // Clips an episode to the night (begins no earlier than 21:00, ends no later than 12:00); the
    // adjustment is done in single precision, so adjusted ends are coarse. [begin, begin] when empty.
    Span UpdateBeginEndTime(int64_t begin, int64_t end) const;
    void GetSleepDuration();
    void WriteSleepTable();

    // Labels the observations that have no label yet: 1 asleep, 0 awake, -2 unusable. 0, or -1.
    int32_t LabelData();
    void CalculateLabelData(
        const std::vector<SleepDurationRecord>& durations, const std::vector<SleepEnvironment>& environments);
    // Position reached in `beginTimes` and the label; a position at the end means "leave unlabelled".
    std::pair<int32_t, int32_t> HandleLabelItem(const std::vector<int64_t>& beginTimes, int64_t timestamp) const;

    // Whether an alarm was due within (begin, end), judged from the observations.
    bool IsWakeupBecauseOfClock(int64_t begin, int64_t end);
    // Whether `wakeTime` lies earlier in its day than `offset` ms after local midnight.
    bool IsAbnormalEarlyWakeupRecord(int64_t wakeTime, int64_t offset) const;

    // Time-of-day table, wake-up limits, recorded days and the parameters row.
    void CalculateTimeSleepProba();
    std::vector<int32_t> CalculateTimeSleepProbaByWeekType(const std::string& condition);
    std::vector<SleepDurationRecord> GetSleepDurationCareWeekdayRecordsList(const std::string& condition);
    std::vector<SleepDurationRecord> GetSleepDurationNoClockRecords(const std::vector<SleepDurationRecord>& records);
    std::vector<int32_t> CalculateSleepProbaTimes(const std::vector<SleepDurationRecord>& records);
    void WriteTimeSleepProba(const std::vector<int32_t>& weekdayCounts, const std::vector<int32_t>& weekendCounts);
    // Mean wake-up second minus `multiplier` sigmas, in ms after midnight; 0 with fewer than 7 episodes.
    int64_t GetTypeSigmaTimestamp(const std::vector<SleepDurationRecord>& records, int32_t multiplier) const;
    void UpdateThreeSigmaTimestampValue();
    void CalculateRecordDays();
    void WriteParametersTable();

    // Ambient-light percentile table and notification probabilities.
    void CalculateAmbientSleepProba();
    void WriteSleepAmbimetTable(std::vector<float>& sleepTable, std::vector<float>& unsleepTable);
    // Percentile fill: type 1 from index 99 downward (index 100 stays 0), any other type from index 1
    // upward (index 0 stays 0).
    std::vector<float> CalculateProbaAmbients(std::vector<SleepEnvironment>& records, int type);
    void CalculateNotificationProba();
    float CalculateNotificationProbaByWeekType(const std::string& condition);

    int64_t GetHandledTimestampValue() const { return handledTimestamp; }
    int32_t GetHandledDateIndex() const { return handledDateIndex; }
    int32_t GetRecordDays() const { return recordDays; }
    float GetNotiProbWeekday() const { return notiProbWeekday; }
    float GetNotiProbWeekend() const { return notiProbWeekend; }
    int64_t GetWeekdayThreeSigmaTimestamp() const { return weekdayThreeSigmaTimestamp; }
    int64_t GetWeekendThreeSigmaTimestamp() const { return weekendThreeSigmaTimestamp; }
    std::vector<Span> GetScreenOffSpans() const;
    std::vector<Span> GetMergedSpans() const;
    const std::vector<std::string>& GetSleepDates() const { return sleepDates; }
    const std::vector<int64_t>& GetSleepBeginTimes() const { return sleepBeginTimes; }
    const std::vector<int64_t>& GetSleepEndTimes() const { return sleepEndTimes; }

private:
    void AppendScreenOffSpan(int64_t begin, int64_t end);
    void StoreEpisode(const std::string& endDate, const Span& episode);
    void DispatchFinishMessage(bool trained) const;

    int64_t handledTimestamp = 0;
    float sleepHomeProba = 0.0F;
    float sleepChargeProba = 0.0F;
    float unsleepHomeProba = 0.0F;
    float unsleepChargeProba = 0.0F;
    float notiProbWeekday = 0.0F;
    float notiProbWeekend = 0.0F;
    int64_t weekdayThreeSigmaTimestamp = 32400000;
    int64_t weekendThreeSigmaTimestamp = 32400000;
    int32_t handledDateIndex = 0;
    int32_t recordDays = 0;
    int32_t nightCount = 0;
    int32_t weekdayNights = 1;
    int32_t weekendNights = 1;
    int32_t screenOffCount = 0;
    int32_t mergedCount = 0;
    std::vector<std::string> sleepDates;
    std::vector<int64_t> sleepBeginTimes;
    std::vector<int64_t> sleepEndTimes;
    std::vector<Span> screenOffDurations;
    std::vector<Span> mergedDurations;
    std::shared_ptr<SleepDatabaseManager> databaseManager;
};

} // namespace OHOS::DevStandbyMgr

#endif // SLEEP_DETECTION_INCLUDE_USER_SLEEP_TRAIN_MODEL_H
