#include "time_provider_ext.h"

#include <gtest/gtest.h>

#include <string>

#include "scoped_time_zone.h"

namespace OHOS::DevStandbyMgr {
namespace {

using Emulator::ScopedTimeZone;

// POSIX zone strings, so no test depends on the machine's zone database.
constexpr const char* kUtc = "UTC0";
constexpr const char* kChina = "CST-8";
constexpr const char* kBerlin = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr const char* kNewYork = "EST5EDT,M3.2.0,M11.1.0";

struct CalendarCase {
    const char* zone;
    int64_t timestamp;
    const char* date;
    int32_t daySecond, weekIndex;
    float dayHour;
};

TEST(TimestampToCalendarTest, ConvertsInTheLocalZone)
{
    const CalendarCase cases[] = {{kUtc, 1711843200000, "2024-03-31 00:00:00", 0, 7, 0.0f},
        {kUtc, 1711979130250, "2024-04-01 13:45:30", 49530, 1, 13.75840278f},
        {kChina, 1711900800000, "2024-04-01 00:00:00", 0, 1, 0.0f},
        {kChina, 1711950330250, "2024-04-01 13:45:30", 49530, 1, 13.75840278f},
        {kChina, 1711900799999, "2024-03-31 23:59:59", 86399, 7, 23.9999997f},
        // Berlin springs forward at 02:00 and falls back at 03:00.
        {kBerlin, 1711846799000, "2024-03-31 01:59:59", 7199, 7, 1.99972222f},
        {kBerlin, 1711846800000, "2024-03-31 03:00:00", 10800, 7, 3.0f},
        {kBerlin, 1729989000000, "2024-10-27 02:30:00", 9000, 7, 2.5f},
        {kBerlin, 1729989000000 + 3600000, "2024-10-27 02:30:00", 9000, 7, 2.5f},
        {kNewYork, 1710052200000, "2024-03-10 01:30:00", 5400, 7, 1.5f},
        {kNewYork, 1710055800000, "2024-03-10 03:30:00", 12600, 7, 3.5f},
        {kNewYork, 1730696399999, "2024-11-03 23:59:59", 86399, 7, 23.9999997f}};
    for (const CalendarCase& c : cases) {
        SCOPED_TRACE(c.timestamp);
        ScopedTimeZone zone(c.zone);
        EXPECT_EQ(TimeProviderExt::TimestampToDateString(c.timestamp), c.date);
        EXPECT_EQ(TimeProviderExt::TimestampToDaySecond(c.timestamp), c.daySecond);
        EXPECT_EQ(TimeProviderExt::TimestampToWeekIndex(c.timestamp), c.weekIndex);
        EXPECT_FLOAT_EQ(TimeProviderExt::TimestampToDayHour(c.timestamp), c.dayHour);
    }
}

TEST(TimestampToDayHourTest, LastMillisecondOfTheDayStaysBelowTwentyFour)
{
    for (const char* zoneName : {kUtc, kChina, kBerlin, kNewYork}) {
        ScopedTimeZone zone(zoneName);
        // 2024-11-03 23:59:59.999 in each zone: the day's midnight minus one millisecond.
        const int64_t nextMidnight = TimeProviderExt::GetAlarmClcokTimestamp(1730635200000, 1, 0, 0);
        const float dayHour = TimeProviderExt::TimestampToDayHour(nextMidnight - 1);
        EXPECT_LT(dayHour, 24.0f) << zoneName;
        EXPECT_GT(dayHour, 23.9999f) << zoneName;
        EXPECT_EQ(TimeProviderExt::TimestampToDayHour(nextMidnight), 0.0f) << zoneName;
    }
}

struct AlarmCase {
    const char* label;
    const char* zone;
    int64_t timestamp;
    int32_t dayOffset, hour, minute;
    int64_t expected;
};

TEST(AlarmClockTimestampTest, LandsOnTheLocalClockTimeOfTheTargetDay)
{
    const AlarmCase cases[] = {{"sameDay", kUtc, 1709114400000, 0, 7, 30, 1709105400000},
        {"januaryEndWithMillis", kUtc, 1706738400123, 1, 7, 30, 1706772600000},
        {"leapDay", kUtc, 1709114400000, 1, 7, 30, 1709191800000},
        {"noLeapDay", kUtc, 1677578400000, 1, 7, 30, 1677655800000},
        {"backIntoLeapDay", kUtc, 1709272800000, -1, 21, 0, 1709240400000},
        {"yearEnd", kChina, 1735659000000, 1, 7, 30, 1735687800000},
        {"julyEndSummerTime", kBerlin, 1722456000000, 1, 7, 30, 1722490200000},
        {"intoSummerTime", kBerlin, 1711836000000, 1, 7, 30, 1711863000000},
        {"intoSummerTimeNewYork", kNewYork, 1709965800000, 1, 7, 30, 1710070200000},
        {"outOfSummerTime", kNewYork, 1730599200000, 1, 7, 30, 1730637000000}};
    for (const AlarmCase& c : cases) {
        SCOPED_TRACE(c.label);
        ScopedTimeZone zone(c.zone);
        const int64_t alarm = TimeProviderExt::GetAlarmClcokTimestamp(c.timestamp, c.dayOffset, c.hour, c.minute);
        EXPECT_EQ(alarm, c.expected) << TimeProviderExt::TimestampToDateString(alarm);
        EXPECT_EQ(alarm % 1000, 0);
    }
}

} // namespace
} // namespace OHOS::DevStandbyMgr
