// The text of a trace event line, for every way a kind carries its values.
#include <cmath>

#include <gtest/gtest.h>

#include "local_calendar.h"
#include "trace.h"

namespace OHOS::Sim {
namespace {

struct LineCase {
    const char* name;
    TraceEvent event;
    const char* text; // after the time fields
};

constexpr int64_t kT = 1767610800000; // 2026-01-05 11:00:00 in UTC0
const std::string kTimeFields = R"({"t":1767610800000,"time":"2026-01-05 11:00:00.000",)";

TEST(TraceLineTest, WritesTheKindsValuesUnderTheirNames)
{
    const LineCase cases[] = {{"Plain", {kT, TraceKind::SCREEN_ON, 0, 0, ""}, R"("kind":"screen_on"})"},
        {"Light", {kT, TraceKind::LIGHT, 0.1, 0, ""}, R"("kind":"light","value":0.1})"},
        {"WholeProximity", {kT, TraceKind::PROXIMITY, 5, 0, ""}, R"("kind":"proximity","value":5.0})"},
        {"TinyLight", {kT, TraceKind::LIGHT, 2.5e-7, 0, ""}, R"("kind":"light","value":2.5e-07})"},
        {"NotFiniteLight", {kT, TraceKind::LIGHT, std::nan(""), 0, ""}, R"("kind":"light","value":null})"},
        {"Battery", {kT, TraceKind::BATTERY_LEVEL, 0, 42, ""}, R"("kind":"battery_level","value":42})"},
        {"Alarm", {kT, TraceKind::NEXT_ALARM, 0, kT + 3600000, ""},
            R"("kind":"next_alarm","value":1767614400000,"alarm":"2026-01-05 12:00:00.000"})"},
        {"NoAlarm", {kT, TraceKind::NEXT_ALARM, 0, 0, ""}, R"("kind":"next_alarm","value":0,"alarm":""})"},
        {"Notification", {kT, TraceKind::NOTIFICATION, 0, 0, "com.ex\"ample\n\xc3\xa9"},
            "\"kind\":\"notification\",\"pkg\":\"com.ex\\\"ample\\n\xc3\xa9\"}"},
        {"ClockSetBack", {kT, TraceKind::CLOCK_SET, 0, -3600000, ""}, R"("kind":"clock_set","value":-3600000})"},
        {"TimeZone", {kT, TraceKind::TIME_ZONE, 0, 0, "America/New_York"},
            R"("kind":"time_zone","text":"America/New_York"})"},
        {"PlatformFault", {kT, TraceKind::PLATFORM_FAULT, 1, 3, "database"},
            R"("kind":"platform_fault","text":"database","value":3,"persistent":true})"},
        {"OtherKindWithValues", {kT, TraceKind::SENSORS_SILENT, 1.5, 7, "x"},
            R"("kind":"sensors_silent","value":1.5,"number":7,"text":"x"})"}};
    for (const LineCase& c : cases) {
        SCOPED_TRACE(c.name);
        SetProcessTimeZone("UTC0");
        EXPECT_EQ(TraceEventToJson(c.event), kTimeFields + c.text);
    }
}

} // namespace
} // namespace OHOS::Sim
