#ifndef SLEEP_DETECTION_INCLUDE_SLEEP_DATA_RECORD_H
#define SLEEP_DETECTION_INCLUDE_SLEEP_DATA_RECORD_H

#include <cstdint>
#include <string>

#include "want.h"

namespace OHOS::DevStandbyMgr {

// One observation of the phone at a sampling point of the night, with the predictor's results.
// Times in ms since the epoch, durations in whole seconds; -1 / -1.0 mean "not known".
struct SleepDataRecord {
    int64_t timestamp = -1;
    int32_t stationaryDuration = -1;
    int32_t lastUserStationaryStartDuration = -1;
    int32_t userMoveDuration = -1;
    int32_t lightDarkDuration = -1;
    int32_t screenOffDuration = -1;
    int32_t screenOnCount = -1;
    int32_t chargeState = 0;
    double light = -1.0;
    double proximity = -1.0;
    double proximityOrigin = -1.0;
    int32_t proximityErrorSize = 0;
    int32_t proximityListSize = 0;
    int64_t unlockTimestamp = -1;
    int64_t nextAlarmClockTime = -1;
    double timeSleepProbability = -1.0;
    int64_t reserved = -1; // kept for the record's layout; nothing reads or writes it
    int32_t bayesResult = -1;
    int32_t baselineResult = -1;
    int64_t wakeupTime = -1;
    int32_t isTimeOk = -1;
    int32_t weekType = -1;

    // The record as one log line: labelled fields in order, ", " between them; chargeState left out.
    std::string FeatureToString();
    // The record as the parameters of the "observation collected" message; the keys deliberately
    // differ from the printed labels, and the predictor's results are not sent.
    AAFwk::Want ToWant() const;
    // Reads a record back from those parameters; an absent key gives the receiver's default.
    static SleepDataRecord FromWant(const AAFwk::Want& want);
};

} // namespace OHOS::DevStandbyMgr

#endif // SLEEP_DETECTION_INCLUDE_SLEEP_DATA_RECORD_H
