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

} // namespace OHOS::DevStandbyMgr
