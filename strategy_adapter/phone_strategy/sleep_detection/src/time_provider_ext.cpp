#include "time_provider_ext.h"

#include <cmath>
#include <ctime>

#include "time_service_client.h"

namespace OHOS::DevStandbyMgr {
namespace {

constexpr int64_t kMsPerSecond = 1000;
constexpr double kMsPerHour = 3600000.0;
constexpr double kMinutesPerHour = 60.0;
constexpr double kSecondsPerHour = 3600.0;
constexpr int32_t kSecondsPerMinute = 60;
constexpr int32_t kSecondsPerHourInt = 3600;
constexpr float kHoursPerDay = 24.0f;
constexpr int32_t kSunday = 7;
constexpr size_t kDateBufferSize = 64;

// The local calendar fields of the whole seconds of `timestamp`.
tm ToLocalTime(int64_t timestamp)
{
    time_t seconds = static_cast<time_t>(timestamp / kMsPerSecond);
    tm local{};
    localtime_r(&seconds, &local);
    return local;
}

} // namespace

int64_t TimeProviderExt::GetCurMsecTimestamp()
{
    return MiscServices::TimeServiceClient::GetInstance()->GetWallTimeMs();
}

int64_t TimeProviderExt::GetBootTimeNs()
{
    return MiscServices::TimeServiceClient::GetInstance()->GetBootTimeNs();
}

float TimeProviderExt::TimestampToDayHour(int64_t timestamp)
{
    tm local = ToLocalTime(timestamp);
    double hours = local.tm_hour + local.tm_min / kMinutesPerHour + local.tm_sec / kSecondsPerHour +
                   static_cast<double>(timestamp % kMsPerSecond) / kMsPerHour;
    float dayHour = static_cast<float>(hours);
    // The last milliseconds of a day would round up to 24.0 in a float; keep them inside the day.
    return dayHour < kHoursPerDay ? dayHour : std::nextafter(kHoursPerDay, 0.0f);
}

int32_t TimeProviderExt::TimestampToDaySecond(int64_t timestamp)
{
    tm local = ToLocalTime(timestamp);
    return local.tm_hour * kSecondsPerHourInt + local.tm_min * kSecondsPerMinute + local.tm_sec;
}

int32_t TimeProviderExt::TimestampToWeekIndex(int64_t timestamp)
{
    tm local = ToLocalTime(timestamp);
    return local.tm_wday == 0 ? kSunday : local.tm_wday;
}

std::string TimeProviderExt::TimestampToDateString(int64_t timestamp)
{
    tm local = ToLocalTime(timestamp);
    char buffer[kDateBufferSize] = {};
    size_t length = strftime(buffer, sizeof(buffer), "%Y-%m-%d %H:%M:%S", &local);
    return std::string(buffer, length);
}

int64_t TimeProviderExt::GetAlarmClcokTimestamp(int64_t timestamp, int32_t dayOffset, int32_t hour, int32_t minute)
{
    tm local = ToLocalTime(timestamp);
    local.tm_mday += dayOffset;
    local.tm_hour = hour;
    local.tm_min = minute;
    local.tm_sec = 0;
    // Let the conversion decide daylight saving for the target day, so the result is that day's
    // local clock time even when the offset crosses a daylight-saving change.
    local.tm_isdst = -1;
    return static_cast<int64_t>(mktime(&local)) * kMsPerSecond;
}

} // namespace OHOS::DevStandbyMgr
