#ifndef SLEEP_DETECTION_INCLUDE_TIME_PROVIDER_EXT_H
#define SLEEP_DETECTION_INCLUDE_TIME_PROVIDER_EXT_H

#include <cstdint>
#include <string>

namespace OHOS::DevStandbyMgr {

// The plug-in's one source of "now" and its conversions between millisecond timestamps and the
// local calendar (process time zone). Stateless.
class TimeProviderExt {
public:
    // Wall-clock ms since the epoch, from the platform time service.
    static int64_t GetCurMsecTimestamp();
    // Nanoseconds since boot, from the platform time service.
    static int64_t GetBootTimeNs();
    // Local hour of day with fractions down to the millisecond: [0.0, 24.0).
    static float TimestampToDayHour(int64_t timestamp);
    // Local second of day (0 ... 86399); milliseconds dropped.
    static int32_t TimestampToDaySecond(int64_t timestamp);
    // Local day of week: Monday 1 ... Sunday 7.
    static int32_t TimestampToWeekIndex(int64_t timestamp);
    // Local "%Y-%m-%d %H:%M:%S".
    static std::string TimestampToDateString(int64_t timestamp);
    // Local hour:minute:00 on the day `dayOffset` days after the local day of `timestamp`, in ms.
    static int64_t GetAlarmClcokTimestamp(int64_t timestamp, int32_t dayOffset, int32_t hour, int32_t minute);
    static int64_t SecToMsec(int64_t seconds) { return seconds * 1000; }
    static int64_t MinToMsec(int64_t minutes) { return minutes * 60000; }
    static int64_t HourToMsec(int64_t hours) { return hours * 3600000; }
    static int64_t DayToMsec(int64_t days) { return days * 86400000; }
};

} // namespace OHOS::DevStandbyMgr

#endif // SLEEP_DETECTION_INCLUDE_TIME_PROVIDER_EXT_H
