#include "sleep_table.h"

#include <array>

namespace OHOS::DevStandbyMgr {
namespace {

using NativeRdb::AbsSharedResultSet;
using NativeRdb::ValuesBucket;

const std::string CREATE_PREFIX = "CREATE TABLE IF NOT EXISTS ";

// The getter that matches the field's type; its result is deliberately not checked.
void ReadColumn(AbsSharedResultSet& resultSet, int index, int64_t& field)
{
    resultSet.GetLong(index, field);
}

void ReadColumn(AbsSharedResultSet& resultSet, int index, int32_t& field)
{
    resultSet.GetInt(index, field);
}

void ReadColumn(AbsSharedResultSet& resultSet, int index, double& field)
{
    resultSet.GetDouble(index, field);
}

// Reads columns 0, 1, 2 ... of the current row into the fields in order.
template <typename... Fields> void ReadColumns(std::shared_ptr<AbsSharedResultSet>& resultSet, Fields&... fields)
{
    if (resultSet == nullptr) {
        return;
    }
    int index = 0;
    (ReadColumn(*resultSet, index++, fields), ...);
}

void PutColumn(ValuesBucket& bucket, const std::string& column, int64_t value)
{
    bucket.PutLong(column, value);
}

void PutColumn(ValuesBucket& bucket, const std::string& column, int32_t value)
{
    bucket.PutInt(column, value);
}

void PutColumn(ValuesBucket& bucket, const std::string& column, double value)
{
    bucket.PutDouble(column, value);
}

// Number of thresholds that `value` reaches.
template <size_t N> int32_t CountReached(int32_t value, const std::array<int32_t, N>& thresholds)
{
    int32_t reached = 0;
    for (int32_t threshold : thresholds) {
        reached += value >= threshold ? 1 : 0;
    }
    return reached;
}

constexpr std::array<int32_t, 7> STATIONARY_THRESHOLDS_S = {600, 1200, 1800, 3600, 7200, 10800, 14400};
constexpr std::array<int32_t, 3> SCREEN_OFF_THRESHOLDS_S = {600, 1800, 3600};
constexpr int32_t SCREEN_OFF_LONGEST_BUCKET = 4;
constexpr int32_t SCREEN_OFF_LONGEST_FROM_S = 10800; // exclusive

// Light up to `maxLux` falls in `coveredBucket` when the proximity sensor is covered, else in
// `uncoveredBucket`.
struct LightBand {
    double maxLux;
    int32_t coveredBucket;
    int32_t uncoveredBucket;
};
constexpr std::array<LightBand, 5> LIGHT_BANDS = {{{-1.0, 0, 0}, {0.01, 1, 2}, {0.5, 3, 4}, {5.0, 5, 6}, {50.0, 7, 7}}};
constexpr int32_t BRIGHTEST_LIGHT_BUCKET = 8;
constexpr double COVERED_PROXIMITY = 0.01;

} // namespace

std::string ScreenStateRecord::GetCreateStatement()
{
    return CREATE_PREFIX + TABLE_NAME + " (id INTEGER PRIMARY KEY, timestamp INTEGER, state INTEGER)";
}

std::string ScreenStateRecord::GetQueryStatement()
{
    return "SELECT timestamp, state FROM " + TABLE_NAME;
}

void ScreenStateRecord::ReadFromResultSet(std::shared_ptr<AbsSharedResultSet>& resultSet)
{
    ReadColumns(resultSet, timestamp, state);
}

void ScreenStateRecord::WriteToBucket(ValuesBucket& bucket) const
{
    PutColumn(bucket, "timestamp", timestamp);
    PutColumn(bucket, "state", state);
}

std::string SleepDurationRecord::GetCreateStatement()
{
    return CREATE_PREFIX + TABLE_NAME +
           " (id INTEGER PRIMARY KEY, date_index INTEGER, begin_time INTEGER, end_time INTEGER, week_day INTEGER)";
}

std::string SleepDurationRecord::GetQueryStatement()
{
    return "SELECT date_index, begin_time, end_time, week_day FROM " + TABLE_NAME;
}

void SleepDurationRecord::ReadFromResultSet(std::shared_ptr<AbsSharedResultSet>& resultSet)
{
    ReadColumns(resultSet, dateIndex, beginTime, endTime, weekDay);
}

void SleepDurationRecord::WriteToBucket(ValuesBucket& bucket) const
{
    PutColumn(bucket, "date_index", dateIndex);
    PutColumn(bucket, "begin_time", beginTime);
    PutColumn(bucket, "end_time", endTime);
    PutColumn(bucket, "week_day", weekDay);
}

std::string SleepEnvironment::GetCreateStatement()
{
    return CREATE_PREFIX + TABLE_NAME +
           " (id INTEGER PRIMARY KEY, timestamp INTEGER, screen_off_duration INTEGER, user_stationary_duration "
           "INTEGER, charge_state INTEGER, light FLOAT, light_dark_duration INTEGER, proximity FLOAT, location "
           "INTEGER, label INTEGER, next_clock INTEGER, bayes_result INTEGER, baseline_result INTEGER, is_time_ok "
           "INTEGER, wakeup_time INTEGER)";
}

std::string SleepEnvironment::GetQueryStatement()
{
    return "SELECT timestamp, screen_off_duration, user_stationary_duration, charge_state light, "
           "light_dark_duration, proximity, location, label, next_clock, bayes_result, baseline_result, "
           "is_time_ok, wakeup_time FROM " +
           TABLE_NAME;
}

void SleepEnvironment::ReadFromResultSet(std::shared_ptr<AbsSharedResultSet>& resultSet)
{
    ReadColumns(resultSet, timestamp, screenOffDuration, userStationaryDuration, chargeState, light, lightDarkDuration,
        proximity, location, label, nextClock, bayesResult, baselineResult, isTimeOk, wakeupTime);
}

void SleepEnvironment::WriteToBucket(ValuesBucket& bucket) const
{
    PutColumn(bucket, "timestamp", timestamp);
    PutColumn(bucket, "screen_off_duration", screenOffDuration);
    PutColumn(bucket, "user_stationary_duration", userStationaryDuration);
    PutColumn(bucket, "charge_state", chargeState);
    PutColumn(bucket, "light", light);
    PutColumn(bucket, "light_dark_duration", static_cast<int32_t>(lightDarkDuration));
    PutColumn(bucket, "proximity", proximity);
    PutColumn(bucket, "location", location);
    PutColumn(bucket, "label", label);
    PutColumn(bucket, "next_clock", nextClock);
    PutColumn(bucket, "bayes_result", bayesResult);
    PutColumn(bucket, "baseline_result", baselineResult);
    PutColumn(bucket, "is_time_ok", isTimeOk);
    PutColumn(bucket, "wakeup_time", wakeupTime);
}

int32_t SleepEnvironment::GetStatDurQuanVal() const
{
    return CountReached(userStationaryDuration, STATIONARY_THRESHOLDS_S);
}

int32_t SleepEnvironment::GetScrOffDurQuanVal() const
{
    if (screenOffDuration > SCREEN_OFF_LONGEST_FROM_S) {
        return SCREEN_OFF_LONGEST_BUCKET;
    }
    return CountReached(screenOffDuration, SCREEN_OFF_THRESHOLDS_S);
}

int32_t SleepEnvironment::GetLightQuanVal() const
{
    for (const LightBand& band : LIGHT_BANDS) {
        if (light <= band.maxLux) {
            return proximity <= COVERED_PROXIMITY ? band.coveredBucket : band.uncoveredBucket;
        }
    }
    return BRIGHTEST_LIGHT_BUCKET;
}

std::string SleepNotificationRecord::GetCreateStatement()
{
    return CREATE_PREFIX + TABLE_NAME +
           " (id INTEGER PRIMARY KEY, timestamp INTEGER, is_has_notification INTEGER, week_day INTEGER)";
}

std::string SleepNotificationRecord::GetQueryStatement()
{
    return "SELECT timestamp, is_has_notification, week_day FROM " + TABLE_NAME;
}

void SleepNotificationRecord::ReadFromResultSet(std::shared_ptr<AbsSharedResultSet>& resultSet)
{
    ReadColumns(resultSet, timestamp, isHasNotification, weekDay);
}

void SleepNotificationRecord::WriteToBucket(ValuesBucket& bucket) const
{
    PutColumn(bucket, "timestamp", timestamp);
    PutColumn(bucket, "is_has_notification", isHasNotification);
    PutColumn(bucket, "week_day", weekDay);
}

std::string SleepProbability::GetCreateStatement()
{
    return CREATE_PREFIX + TABLE_NAME +
           " (id INTEGER PRIMARY KEY, time_index INTEGER, probability FLOAT, probability_weekend FLOAT)";
}

std::string SleepProbability::GetQueryStatement()
{
    return "SELECT time_index, probability, probability_weekend FROM " + TABLE_NAME;
}

void SleepProbability::ReadFromResultSet(std::shared_ptr<AbsSharedResultSet>& resultSet)
{
    ReadColumns(resultSet, timeIndex, probability, probabilityWeekend);
}

void SleepProbability::WriteToBucket(ValuesBucket& bucket) const
{
    PutColumn(bucket, "time_index", timeIndex);
    PutColumn(bucket, "probability", probability);
    PutColumn(bucket, "probability_weekend", probabilityWeekend);
}

std::string SleepAmbientProbability::GetCreateStatement()
{
    return CREATE_PREFIX + TABLE_NAME +
           " (id INTEGER PRIMARY KEY, percent INTEGER, sleep_ambient FLOAT, unsleep_ambient FLOAT)";
}

std::string SleepAmbientProbability::GetQueryStatement()
{
    return "SELECT percent, sleep_ambient, unsleep_ambient FROM " + TABLE_NAME;
}

void SleepAmbientProbability::ReadFromResultSet(std::shared_ptr<AbsSharedResultSet>& resultSet)
{
    ReadColumns(resultSet, percent, sleepAmbient, unsleepAmbient);
}

void SleepAmbientProbability::WriteToBucket(ValuesBucket& bucket) const
{
    PutColumn(bucket, "percent", percent);
    PutColumn(bucket, "sleep_ambient", sleepAmbient);
    PutColumn(bucket, "unsleep_ambient", unsleepAmbient);
}

std::string SleepParameter::GetCreateStatement()
{
    return CREATE_PREFIX + TABLE_NAME +
           " (id INTEGER PRIMARY KEY, handled_timestamp INTEGER, handled_report_quantify_timestamp INTEGER, "
           "handled_date_index INTEGER, sleep_home_proba FLOAT, unsleep_home_proba FLOAT, sleep_charge_proba FLOAT, "
           "unsleep_charge_proba FLOAT, record_days INTEGER)";
}

std::string SleepParameter::GetQueryStatement()
{
    return "SELECT handled_timestamp, handled_report_quantify_timestamp, handled_date_index, sleep_home_proba, "
           "unsleep_home_proba, sleep_charge_proba, unsleep_charge_proba, record_days FROM " +
           TABLE_NAME;
}

void SleepParameter::ReadFromResultSet(std::shared_ptr<AbsSharedResultSet>& resultSet)
{
    ReadColumns(resultSet, handledTimestamp, handledReportQuantifyTimestamp, handledDateIndex, sleepHomeProba,
        unsleepHomeProba, sleepChargeProba, unsleepChargeProba, recordDays);
}

void SleepParameter::WriteToBucket(ValuesBucket& bucket) const
{
    PutColumn(bucket, "handled_timestamp", handledTimestamp);
    PutColumn(bucket, "handled_report_quantify_timestamp", handledReportQuantifyTimestamp);
    PutColumn(bucket, "handled_date_index", handledDateIndex);
    PutColumn(bucket, "sleep_home_proba", sleepHomeProba);
    PutColumn(bucket, "unsleep_home_proba", unsleepHomeProba);
    PutColumn(bucket, "sleep_charge_proba", sleepChargeProba);
    PutColumn(bucket, "unsleep_charge_proba", unsleepChargeProba);
    PutColumn(bucket, "record_days", recordDays);
}

} // namespace OHOS::DevStandbyMgr
