#include "sleep_data_record.h"

#include <sstream>

namespace OHOS::DevStandbyMgr {

std::string SleepDataRecord::FeatureToString()
{
    std::ostringstream line;
    line << "timestamp: " << timestamp << ", stationaryDuration: " << stationaryDuration
         << ", lastUserStationaryStartDuration: " << lastUserStationaryStartDuration
         << ", userMoveDuration: " << userMoveDuration << ", lightDarkDuration: " << lightDarkDuration
         << ", screenOffDuration: " << screenOffDuration << ", screenOnCount: " << screenOnCount << ", light: " << light
         << ", proximity: " << proximity << ", proximityOrigin: " << proximityOrigin
         << ", proximityErrorSize: " << proximityErrorSize << ", proximityListSize: " << proximityListSize
         << ", unlockTimestamp: " << unlockTimestamp << ", nextAlarmClockTime: " << nextAlarmClockTime
         << ", timeSleepProbability: " << timeSleepProbability << ", bayesResult: " << bayesResult
         << ", baselineResult: " << baselineResult << ", wakeupTime: " << wakeupTime << ", isTimeOk: " << isTimeOk
         << ", weekType: " << weekType;
    return line.str();
}

AAFwk::Want SleepDataRecord::ToWant() const
{
    AAFwk::Want want;
    want.SetParam("timestamp", timestamp)
        .SetParam("weekType", weekType)
        .SetParam("scrOffDuration", screenOffDuration)
        .SetParam("lastUserStationaryStartDuration", lastUserStationaryStartDuration)
        .SetParam("userStationaryDuration", stationaryDuration)
        .SetParam("userMoveDuration", userMoveDuration)
        .SetParam("chargeState", chargeState)
        .SetParam("light", light)
        .SetParam("proximityOri", proximityOrigin)
        .SetParam("proximity", proximity)
        .SetParam("unlockTimestamp", unlockTimestamp)
        .SetParam("scrOnCount", screenOnCount)
        .SetParam("lightDarkDuration", lightDarkDuration)
        .SetParam("proximityErrSize", proximityErrorSize)
        .SetParam("proximityListSize", proximityListSize)
        .SetParam("nextAlarmClockTriggerTime", nextAlarmClockTime);
    return want;
}

SleepDataRecord SleepDataRecord::FromWant(const AAFwk::Want& want)
{
    SleepDataRecord record;
    record.timestamp = want.GetLongParam("timestamp", -1);
    record.weekType = want.GetIntParam("weekType", -1);
    record.screenOffDuration = want.GetIntParam("scrOffDuration", -1);
    record.lastUserStationaryStartDuration = want.GetIntParam("lastUserStationaryStartDuration", -1);
    record.stationaryDuration = want.GetIntParam("userStationaryDuration", -1);
    record.userMoveDuration = want.GetIntParam("userMoveDuration", -1);
    record.chargeState = want.GetIntParam("chargeState", -1);
    record.light = want.GetDoubleParam("light", -1.0);
    record.proximityOrigin = want.GetDoubleParam("proximityOri", -1.0);
    record.proximity = want.GetDoubleParam("proximity", -1.0);
    record.unlockTimestamp = want.GetLongParam("unlockTimestamp", -1);
    record.screenOnCount = want.GetIntParam("scrOnCount", -1);
    record.lightDarkDuration = want.GetIntParam("lightDarkDuration", -1);
    record.proximityErrorSize = want.GetIntParam("proximityErrSize", 0);
    record.proximityListSize = want.GetIntParam("proximityListSize", 0);
    record.nextAlarmClockTime = want.GetLongParam("nextAlarmClockTriggerTime", -1);
    return record;
}

} // namespace OHOS::DevStandbyMgr
