#ifndef SLEEP_DETECTION_INCLUDE_SLEEP_TABLE_H
#define SLEEP_DETECTION_INCLUDE_SLEEP_TABLE_H

#include <cstdint>
#include <memory>
#include <string>

#include "result_set.h"
#include "values_bucket.h"

// The row types of the sleep database, one per table. Each knows its table name, the statements
// that create and read its table, and how to move one row between itself and the store.
// ReadFromResultSet reads the current row by column position in field order and ignores the
// getters' results, so a column that cannot be read leaves its field as it was.
// WriteToBucket puts every field under its column name (never the id).

namespace OHOS::DevStandbyMgr {

// A screen event: off, unlocked or boot.
struct ScreenStateRecord {
    static inline const std::string TABLE_NAME = "raw_screen_state";
    int64_t timestamp = 0;
    int32_t state = 0;

    static std::string GetCreateStatement();
    static std::string GetQueryStatement();
    void ReadFromResultSet(std::shared_ptr<NativeRdb::AbsSharedResultSet>& resultSet);
    void WriteToBucket(NativeRdb::ValuesBucket& bucket) const;
};

// One sleep episode identified by training.
struct SleepDurationRecord {
    static inline const std::string TABLE_NAME = "sleep_duration";
    int32_t dateIndex = 0;
    int64_t beginTime = 0;
    int64_t endTime = 0;
    int32_t weekDay = 0;

    static std::string GetCreateStatement();
    static std::string GetQueryStatement();
    void ReadFromResultSet(std::shared_ptr<NativeRdb::AbsSharedResultSet>& resultSet);
    void WriteToBucket(NativeRdb::ValuesBucket& bucket) const;
};

// One stored observation of the night. Its query statement lacks a comma after charge_state, so a
// read row is shifted from `light` on: light gets the dark duration, lightDarkDuration the
// proximity, and so on, and wakeupTime is never read. Kept as it is.
struct SleepEnvironment {
    static inline const std::string TABLE_NAME = "sleep_environment";
    int64_t timestamp = 0;
    int32_t screenOffDuration = 0;
    int32_t userStationaryDuration = 0;
    int32_t chargeState = 0;
    double light = 0.0;
    int64_t lightDarkDuration = 0; // seconds; stored as a 32-bit integer
    double proximity = 0.0;
    int32_t location = 0;
    int32_t label = 0;
    int64_t nextClock = 0;
    int32_t bayesResult = 0;
    int32_t baselineResult = 0;
    int32_t isTimeOk = 0;
    int64_t wakeupTime = 0;

    static std::string GetCreateStatement();
    static std::string GetQueryStatement();
    void ReadFromResultSet(std::shared_ptr<NativeRdb::AbsSharedResultSet>& resultSet);
    void WriteToBucket(NativeRdb::ValuesBucket& bucket) const;

    // Bucket 0 ... 7 of the stationary duration (10-minute steps up to 30 min, then 1, 2, 3, 4 h).
    int32_t GetStatDurQuanVal() const;
    // Bucket 0 ... 4 of the screen-off duration (10 min, 30 min, 1 h, then more than 3 h).
    int32_t GetScrOffDurQuanVal() const;
    // Bucket 0 ... 8 of the ambient light; up to 5 lux a covered proximity sensor picks the lower
    // bucket of a pair.
    int32_t GetLightQuanVal() const;
};

// Whether a notification arrived in a sampled interval of the night.
struct SleepNotificationRecord {
    static inline const std::string TABLE_NAME = "sleep_notification_records";
    int64_t timestamp = 0;
    int32_t isHasNotification = 0;
    int32_t weekDay = 0;

    static std::string GetCreateStatement();
    static std::string GetQueryStatement();
    void ReadFromResultSet(std::shared_ptr<NativeRdb::AbsSharedResultSet>& resultSet);
    void WriteToBucket(NativeRdb::ValuesBucket& bucket) const;
};

// Learned probability of being asleep in one time-of-day slot, weekday and weekend.
struct SleepProbability {
    static inline const std::string TABLE_NAME = "sleep_probability";
    int32_t timeIndex = 0;
    double probability = 0.0;
    double probabilityWeekend = 0.0;

    static std::string GetCreateStatement();
    static std::string GetQueryStatement();
    void ReadFromResultSet(std::shared_ptr<NativeRdb::AbsSharedResultSet>& resultSet);
    void WriteToBucket(NativeRdb::ValuesBucket& bucket) const;
};

// Learned ambient-light level at one percentile, asleep and awake.
struct SleepAmbientProbability {
    static inline const std::string TABLE_NAME = "sleep_ambient_probability";
    int32_t percent = 0;
    double sleepAmbient = 0.0;
    double unsleepAmbient = 0.0;

    static std::string GetCreateStatement();
    static std::string GetQueryStatement();
    void ReadFromResultSet(std::shared_ptr<NativeRdb::AbsSharedResultSet>& resultSet);
    void WriteToBucket(NativeRdb::ValuesBucket& bucket) const;
};

// The training run's bookkeeping and learned scalar parameters.
struct SleepParameter {
    static inline const std::string TABLE_NAME = "sleep_parameters";
    int64_t handledTimestamp = 0;
    int64_t handledReportQuantifyTimestamp = 0;
    int32_t handledDateIndex = 0;
    double sleepHomeProba = 0.0;
    double unsleepHomeProba = 0.0;
    double sleepChargeProba = 0.0;
    double unsleepChargeProba = 0.0;
    int32_t recordDays = 0;

    static std::string GetCreateStatement();
    static std::string GetQueryStatement();
    void ReadFromResultSet(std::shared_ptr<NativeRdb::AbsSharedResultSet>& resultSet);
    void WriteToBucket(NativeRdb::ValuesBucket& bucket) const;
};

} // namespace OHOS::DevStandbyMgr

#endif // SLEEP_DETECTION_INCLUDE_SLEEP_TABLE_H
