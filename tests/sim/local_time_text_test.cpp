// The local time text every timeline line carries, across zones, before 1970 and past year 9999.
#include <gtest/gtest.h>

#include "local_calendar.h"

namespace OHOS::Sim {
namespace {

struct TextCase {
    const char* zone;
    int64_t epochMs;
    const char* text;
};

TEST(LocalTimeTextTest, FormatsTheLocalTimeWithMilliseconds)
{
    const TextCase cases[] = {{"UTC0", 0, "1970-01-01 00:00:00.000"}, {"UTC0", -1, "1969-12-31 23:59:59.999"},
        {"CET-1CEST,M3.5.0,M10.5.0/3", 1767610800007, "2026-01-05 12:00:00.007"},
        {"CET-1CEST,M3.5.0,M10.5.0/3", 1774746000000, "2026-03-29 03:00:00.000"},
        {"CST-8", 1795359600999, "2026-11-22 23:00:00.999"}, {"UTC0", 253402300799999, "9999-12-31 23:59:59.999"},
        {"UTC0", 253402300800000, "10000-01-01 00:00:00.000"}, {"UTC0", -62135596800000, "0001-01-01 00:00:00.000"}};
    for (const TextCase& c : cases) {
        SCOPED_TRACE(c.text);
        SetProcessTimeZone(c.zone);
        EXPECT_EQ(FormatLocalTime(c.epochMs), c.text);
    }
}

} // namespace
} // namespace OHOS::Sim
