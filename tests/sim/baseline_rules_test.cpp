// The yardstick rules on hand-made event sequences with known answers.
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "baseline_rules.h"
#include "local_calendar.h"
#include "scoped_time_zone.h"

namespace OHOS::Sim {
namespace {

using Emulator::ScopedTimeZone;

constexpr int64_t kMin = kMsPerMinute;

TraceEvent EventAt(int64_t timeMs, TraceKind kind)
{
    TraceEvent event;
    event.timeMs = timeMs;
    event.kind = kind;
    return event;
}

// An event `minute` minutes after the start of a trace at time 0.
TraceEvent At(int64_t minute, TraceKind kind)
{
    return EventAt(minute * kMin, kind);
}

Trace TraceOf(std::vector<TraceEvent> events, int64_t endMinute)
{
    Trace trace;
    trace.endMs = endMinute * kMin;
    trace.events = std::move(events);
    return trace;
}

// Spans as [begin, end) in minutes, for readable expectations.
std::vector<std::pair<int64_t, int64_t>> InMinutes(const SpanList& spans)
{
    std::vector<std::pair<int64_t, int64_t>> minutes;
    for (const TimeSpan& span : spans) {
        minutes.emplace_back(span.beginMs / kMin, span.endMs / kMin);
    }
    return minutes;
}

using Minutes = std::vector<std::pair<int64_t, int64_t>>;

TEST(IdleRuleTest, AsleepAnHourAfterTheScreenIsOffTheChargerOutAndThePhoneStill)
{
    ScopedTimeZone zone("UTC0");
    using K = TraceKind;
    struct Case {
        const char* name;
        std::vector<TraceEvent> events;
        Minutes expected;
    };
    const std::vector<Case> cases = {
        {"quiet from the start until the screen goes on", {At(0, K::STILL), At(120, K::SCREEN_ON)}, {{60, 120}}},
        {"a move restarts the wait", {At(0, K::STILL), At(50, K::MOVE), At(55, K::STILL), At(200, K::SCREEN_ON)},
            {{115, 200}}},
        {"the charger ends it and unplugging restarts the wait",
            {At(0, K::STILL), At(100, K::POWER_CONNECTED), At(130, K::POWER_DISCONNECTED)}, {{60, 100}, {190, 300}}},
        {"a screen on for less than the wait never counts",
            {At(0, K::STILL), At(30, K::SCREEN_ON), At(31, K::SCREEN_OFF), At(80, K::SCREEN_ON)}, {}},
        {"motion unknown until the first still", {At(0, K::SCREEN_OFF), At(100, K::STILL)}, {{160, 300}}},
        {"notifications and light do not matter",
            {At(0, K::STILL), At(70, K::NOTIFICATION), At(80, K::LIGHT), At(90, K::MOVE)}, {{60, 90}}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(InMinutes(IdleRuleSpans(TraceOf(c.events, 300))), c.expected) << c.name;
    }
}

TEST(ScreenUseTest, ScreenOffSpansAndTheNightsRestWithGlancesBridged)
{
    ScopedTimeZone zone("UTC0");
    using K = TraceKind;
    const Trace trace = TraceOf({At(10, K::SCREEN_ON), At(20, K::SCREEN_OFF), At(20, K::SCREEN_OFF),
                                    At(100, K::SCREEN_ON), At(103, K::SCREEN_OFF), At(200, K::SCREEN_ON),
                                    At(230, K::SCREEN_OFF), At(260, K::SCREEN_ON), At(262, K::SCREEN_OFF)},
        400);
    const SpanList off = ScreenOffSpans(trace);
    EXPECT_EQ(InMinutes(off), (Minutes{{0, 10}, {20, 100}, {103, 200}, {230, 260}, {262, 400}}));
    struct Case {
        const char* name;
        TimeSpan window;
        Minutes expected;
    };
    const std::vector<Case> cases = {
        {"a three-minute glance is bridged, a half-hour session is not", {0, 400 * kMin}, {{20, 200}}},
        {"cut to the window", {150 * kMin, 250 * kMin}, {{150, 200}}},
        {"a later rest wins when it is longer", {215 * kMin, 400 * kMin}, {{230, 400}}},
        {"no screen-off time in the window", {12 * kMin, 18 * kMin}, {}},
    };
    for (const Case& c : cases) {
        const auto rest = ScreenRestOfNight(off, c.window);
        EXPECT_EQ(rest ? InMinutes({*rest}) : Minutes{}, c.expected) << c.name;
    }
}

// The time-of-day rule learns each night's rest from the screen and applies the medians of the
// earlier nights of the same kind, on the wall clock.
TEST(TimeOfDayRuleTest, LearnsMedianBedAndWakeTimesFromEarlierNightsOfTheSameKind)
{
    ScopedTimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    // Nights ending Tuesday 2026-03-24 to Tuesday 2026-03-31; clocks go forward on Sunday the 29th.
    const CivilDate firstEvening{2026, 3, 23};
    struct Rest {
        double bedMin; // local minutes after the evening's midnight
        double wakeMin;
    };
    const std::vector<Rest> rests = {{23 * 60, 31 * 60}, {22 * 60, 30 * 60}, {24 * 60, 32 * 60},
        {23 * 60 + 30, 30 * 60 + 30}, {25 * 60, 33 * 60}, {26 * 60, 34 * 60}, {23 * 60, 31 * 60}, {23 * 60, 31 * 60}};
    Trace trace;
    trace.startMs = LocalTimeMs(firstEvening, kNoonMin);
    for (size_t i = 0; i < rests.size(); ++i) {
        const CivilDate evening = AddDays(firstEvening, static_cast<int32_t>(i));
        NightTruth night;
        night.wakeDate = AddDays(evening, 1);
        night.window = NoonToNoon(night.wakeDate);
        trace.nights.push_back(night);
        trace.events.push_back(EventAt(LocalTimeMs(evening, kNoonMin), TraceKind::SCREEN_ON));
        trace.events.push_back(EventAt(LocalTimeMs(evening, rests[i].bedMin), TraceKind::SCREEN_OFF));
        trace.events.push_back(EventAt(LocalTimeMs(evening, rests[i].wakeMin), TraceKind::SCREEN_ON));
    }
    trace.endMs = LocalTimeMs(AddDays(firstEvening, static_cast<int32_t>(rests.size())), kNoonMin);
    const std::vector<TimeSpan> guesses = TimeOfDayRuleSpans(trace);
    ASSERT_EQ(guesses.size(), rests.size());
    struct Case {
        size_t night;
        const char* why;
        double bedMin;
        double wakeMin;
    };
    const std::vector<Case> cases = {
        {1, "only the first weekday", 23 * 60, 31 * 60},
        {2, "median of two weekdays", 22 * 60 + 30, 30 * 60 + 30},
        {4, "first weekend night (Saturday): all four weekdays", 23 * 60 + 15, 31 * 60 - 15},
        {5, "Sunday, across the change: the Saturday only, as wall-clock times", 25 * 60, 33 * 60},
        {6, "Monday: the four weekdays again", 23 * 60 + 15, 31 * 60 - 15},
        {7, "five weekdays", 23 * 60, 31 * 60},
    };
    for (const Case& c : cases) {
        const CivilDate evening = AddDays(firstEvening, static_cast<int32_t>(c.night));
        EXPECT_EQ(guesses[c.night].beginMs, LocalTimeMs(evening, c.bedMin)) << c.why;
        EXPECT_EQ(guesses[c.night].endMs, LocalTimeMs(evening, c.wakeMin)) << c.why;
    }
    EXPECT_EQ(guesses[0].endMs, guesses[0].beginMs) << "nothing to learn from before the first night";
}

} // namespace
} // namespace OHOS::Sim
