#ifndef SIM_INCLUDE_LOCAL_CALENDAR_H
#define SIM_INCLUDE_LOCAL_CALENDAR_H

#include <cstdint>
#include <string>

#include "process_time_zone.h"

namespace OHOS::Sim {

// A calendar date without a time zone.
struct CivilDate {
    int32_t year = 1970;
    int32_t month = 1;
    int32_t day = 1;
};

constexpr int64_t kMsPerSecond = 1000;
constexpr int64_t kMsPerMinute = 60 * kMsPerSecond;
constexpr int64_t kMsPerHour = 60 * kMsPerMinute;
constexpr int64_t kMsPerDay = 24 * kMsPerHour;
constexpr double kMinutesPerDay = 24 * 60;
constexpr double kNoonMin = 12 * 60;

// The process time zone every local conversion below uses, and its save-and-restore.
using Emulator::SetProcessTimeZone;
using Emulator::TimeZoneGuard;

// Whether `zone` names a zone the C library understands: a POSIX TZ string, or a name found under
// /usr/share/zoneinfo. An empty string is not valid.
bool IsKnownTimeZone(const std::string& zone);

// "YYYY-MM-DD" -> date; false (and `date` untouched) unless it is a real calendar date.
bool ParseCivilDate(const std::string& text, CivilDate& date);
// The date `days` days after `date` (negative goes back).
CivilDate AddDays(const CivilDate& date, int32_t days);
// ISO week day, 1 = Monday ... 7 = Sunday.
int32_t WeekDay(const CivilDate& date);
std::string FormatCivilDate(const CivilDate& date);

// Epoch ms of `minuteOfDay` minutes after the local midnight that starts `date` (values of 1440
// and more run into the following days). Counts wall-clock minutes, so across a daylight-saving
// change 02:30 still means 02:30 local time.
int64_t LocalTimeMs(const CivilDate& date, double minuteOfDay);
// The local date on which `epochMs` falls.
CivilDate LocalDateOf(int64_t epochMs);
// Local hour of day as a fraction (21.5 = 21:30).
double LocalHourOf(int64_t epochMs);
// "YYYY-MM-DD HH:MM:SS.mmm" in local time.
std::string FormatLocalTime(int64_t epochMs);
// "HH:MM" in local time.
std::string FormatLocalClock(int64_t epochMs);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_LOCAL_CALENDAR_H
