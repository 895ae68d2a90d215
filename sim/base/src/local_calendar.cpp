#include "local_calendar.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <sys/stat.h>

#include "decimal_text.h"

namespace OHOS::Sim {

namespace {

int64_t FloorDiv(int64_t value, int64_t divisor)
{
    int64_t quotient = value / divisor;
    if ((value % divisor != 0) && ((value < 0) != (divisor < 0))) {
        --quotient;
    }
    return quotient;
}

// Days since 1970-01-01 of a proleptic Gregorian date (Howard Hinnant's algorithm).
int64_t DaysFromCivil(const CivilDate& date)
{
    const int64_t year = date.year - (date.month <= 2 ? 1 : 0);
    const int64_t era = FloorDiv(year, 400);
    const int64_t yearOfEra = year - era * 400;
    const int64_t shiftedMonth = date.month > 2 ? date.month - 3 : date.month + 9;
    const int64_t dayOfYear = (153 * shiftedMonth + 2) / 5 + date.day - 1;
    const int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

CivilDate CivilFromDays(int64_t days)
{
    days += 719468;
    const int64_t era = FloorDiv(days, 146097);
    const int64_t dayOfEra = days - era * 146097;
    const int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int64_t shiftedMonth = (5 * dayOfYear + 2) / 153;
    CivilDate date;
    date.day = static_cast<int32_t>(dayOfYear - (153 * shiftedMonth + 2) / 5 + 1);
    date.month = static_cast<int32_t>(shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9);
    date.year = static_cast<int32_t>(yearOfEra + era * 400 + (date.month <= 2 ? 1 : 0));
    return date;
}

// Milliseconds past the whole second (0..999, also before 1970).
int64_t MsInSecond(int64_t epochMs)
{
    return epochMs - FloorDiv(epochMs, kMsPerSecond) * kMsPerSecond;
}

constexpr int kLargestFourDigitYear = 9999;

std::tm LocalTm(int64_t epochMs)
{
    const std::time_t seconds = static_cast<std::time_t>(FloorDiv(epochMs, kMsPerSecond));
    std::tm local{};
    localtime_r(&seconds, &local);
    return local;
}

bool IsPosixZoneString(const std::string& zone)
{
    // "CST-8", "CET-1CEST,M3.5.0,M10.5.0/3": letters for the name, then an offset with a digit.
    size_t pos = 0;
    while (pos < zone.size() && std::isalpha(static_cast<unsigned char>(zone[pos]))) {
        ++pos;
    }
    if (pos < 3 || pos == zone.size()) {
        return false;
    }
    if (zone[pos] == '+' || zone[pos] == '-') {
        ++pos;
    }
    return pos < zone.size() && std::isdigit(static_cast<unsigned char>(zone[pos]));
}

} // namespace

bool IsKnownTimeZone(const std::string& zone)
{
    if (zone.empty() || zone.find("..") != std::string::npos) {
        return false;
    }
    if (IsPosixZoneString(zone)) {
        return true;
    }
    struct stat info {};
    const std::string path = "/usr/share/zoneinfo/" + zone;
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

bool ParseCivilDate(const std::string& text, CivilDate& date)
{
    int year = 0;
    int month = 0;
    int day = 0;
    char tail = 0;
    if (text.size() != 10 || std::sscanf(text.c_str(), "%4d-%2d-%2d%c", &year, &month, &day, &tail) != 3) {
        return false;
    }
    const CivilDate candidate{year, month, day};
    const CivilDate normalised = CivilFromDays(DaysFromCivil(candidate));
    if (month < 1 || month > 12 || normalised.day != day || normalised.month != month) {
        return false;
    }
    date = candidate;
    return true;
}

CivilDate AddDays(const CivilDate& date, int32_t days)
{
    return CivilFromDays(DaysFromCivil(date) + days);
}

int32_t WeekDay(const CivilDate& date)
{
    // 1970-01-01 was a Thursday (4).
    const int64_t shifted = DaysFromCivil(date) + 3;
    return static_cast<int32_t>(shifted - FloorDiv(shifted, 7) * 7) + 1;
}

std::string FormatCivilDate(const CivilDate& date)
{
    char text[16];
    std::snprintf(text, sizeof(text), "%04d-%02d-%02d", date.year, date.month, date.day);
    return text;
}

int64_t LocalTimeMs(const CivilDate& date, double minuteOfDay)
{
    const int64_t wholeMinutes = static_cast<int64_t>(std::floor(minuteOfDay));
    const int64_t extraMs = static_cast<int64_t>(std::llround((minuteOfDay - wholeMinutes) * kMsPerMinute));
    constexpr int64_t kMinutesInDay = kMsPerDay / kMsPerMinute;
    const int64_t dayOffset = FloorDiv(wholeMinutes, kMinutesInDay);
    const CivilDate day = AddDays(date, static_cast<int32_t>(dayOffset));
    const int64_t minuteInDay = wholeMinutes - dayOffset * kMinutesInDay;
    std::tm local{};
    local.tm_year = day.year - 1900;
    local.tm_mon = day.month - 1;
    local.tm_mday = day.day;
    local.tm_hour = static_cast<int>(minuteInDay / 60);
    local.tm_min = static_cast<int>(minuteInDay % 60);
    local.tm_isdst = -1;
    return static_cast<int64_t>(mktime(&local)) * kMsPerSecond + extraMs;
}

CivilDate LocalDateOf(int64_t epochMs)
{
    const std::tm local = LocalTm(epochMs);
    return CivilDate{local.tm_year + 1900, local.tm_mon + 1, local.tm_mday};
}

double LocalHourOf(int64_t epochMs)
{
    const std::tm local = LocalTm(epochMs);
    return local.tm_hour + local.tm_min / 60.0 + (local.tm_sec + MsInSecond(epochMs) / 1000.0) / 3600.0;
}

std::string FormatLocalTime(int64_t epochMs)
{
    const std::tm local = LocalTm(epochMs);
    const int year = local.tm_year + 1900;
    const int millis = static_cast<int>(MsInSecond(epochMs));
    if (year < 0 || year > kLargestFourDigitYear) {
        char text[40];
        std::snprintf(text, sizeof(text), "%04d-%02d-%02d %02d:%02d:%02d.%03d", year, local.tm_mon + 1, local.tm_mday,
            local.tm_hour, local.tm_min, local.tm_sec, millis);
        return text;
    }
    // The same text without a formatting function: every timeline line carries one.
    return Emulator::DateTimeText(local, millis);
}

std::string FormatLocalClock(int64_t epochMs)
{
    const std::tm local = LocalTm(epochMs);
    char text[8];
    std::snprintf(text, sizeof(text), "%02d:%02d", local.tm_hour, local.tm_min);
    return text;
}

} // namespace OHOS::Sim
