// The person model and trace generator: true sleep follows the habits, and the phone's events
// tell one consistent story (screen, unlock, charging) around it.
#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "local_calendar.h"
#include "scenario.h"
#include "sim_random.h"
#include "trace_generator.h"

namespace OHOS::Sim {
namespace {

struct TraceCase {
    std::string name;
    std::string overrides; // scenario JSON applied on top of the defaults
};

void PrintTo(const TraceCase& c, std::ostream* os)
{
    *os << c.name;
}

class TraceGeneratorTest : public testing::TestWithParam<TraceCase> {
protected:
    void SetUp() override
    {
        scenario_ = DefaultScenario();
        std::string error;
        ASSERT_TRUE(ParseScenario(GetParam().overrides, scenario_, error)) << error;
        SetProcessTimeZone(scenario_.timeZone);
        trace_ = GenerateTrace(scenario_);
    }

    // How far the local clock time of `ms` lies from `clockMin`, wrapped into [-720, 720) minutes.
    static double ClockOffsetMin(int64_t ms, double clockMin)
    {
        const double offset = std::fmod(LocalHourOf(ms) * 60 - clockMin + 1440 + 720, 1440);
        return (offset < 0 ? offset + 1440 : offset) - 720;
    }

    bool IsAlarmTime(int64_t ms) const
    {
        return std::any_of(
            trace_.nights.begin(), trace_.nights.end(), [ms](const NightTruth& n) { return n.alarmMs == ms; });
    }

    Scenario scenario_;
    Trace trace_;
};

TEST_P(TraceGeneratorTest, TrueSleepFollowsTheHabits)
{
    const Habits& habits = scenario_.habits;
    ASSERT_EQ(trace_.nights.size(), static_cast<size_t>(scenario_.days));
    for (size_t i = 0; i < trace_.nights.size(); ++i) {
        const NightTruth& night = trace_.nights[i];
        SCOPED_TRACE(FormatCivilDate(night.wakeDate));
        EXPECT_EQ(FormatCivilDate(night.wakeDate), FormatCivilDate(LocalDateOf(night.wakeMs)));
        EXPECT_EQ(night.weekend, WeekDay(night.wakeDate) >= 6);
        const NightHabits& kind = night.weekend ? habits.weekend : habits.weekday;
        EXPECT_LE(std::fabs(ClockOffsetMin(night.bedMs, kind.bedtimeMin)), 3 * kind.bedtimeSpreadMin + 1);
        EXPECT_LT(night.bedMs, night.phoneDownMs);
        EXPECT_LE(night.onsetMs - night.phoneDownMs, (4 * habits.sleepLatencyMin + 1) * kMsPerMinute);
        EXPECT_GE(night.onsetMs - night.phoneDownMs, kMsPerMinute);
        EXPECT_GE(night.wakeMs - night.onsetMs, 2 * kMsPerHour);
        EXPECT_LE(night.wakeMs - night.bedMs,
            (kind.SpanMin() + 3 * (kind.bedtimeSpreadMin + kind.wakeSpreadMin) + 1) * kMsPerMinute);
        const double wakeOffset = ClockOffsetMin(night.wakeMs, kind.wakeMin);
        if (night.alarmMs > 0) {
            EXPECT_FALSE(night.weekend);
            EXPECT_LE(night.wakeMs, night.alarmMs + 3 * kMsPerMinute);
        } else {
            const int64_t alarmThatDay = LocalTimeMs(night.wakeDate, habits.alarmMin);
            EXPECT_TRUE(night.weekend || !habits.alarmOnWeekdays || alarmThatDay <= night.onsetMs + 2 * kMsPerHour ||
                        alarmThatDay > night.wakeMs + 3 * kMsPerHour);
            EXPECT_LE(wakeOffset, 3 * kind.wakeSpreadMin + 1); // late wake times are not cut short
        }
        EXPECT_GE(wakeOffset, -3 * kind.wakeSpreadMin - 1);
        int64_t previousEnd = night.onsetMs;
        for (const TimeSpan& awake : night.awakenings) {
            EXPECT_GT(awake.beginMs, previousEnd);
            EXPECT_LT(awake.endMs, night.wakeMs);
            previousEnd = awake.endMs;
        }
        if (i > 0) {
            EXPECT_GT(night.bedMs, trace_.nights[i - 1].wakeMs);
        }
    }
}

// Screen on/off alternate, unlocks happen only with the screen on, the phone is never unlocked
// or charged while its owner sleeps, and evening charging ends before bed.
TEST_P(TraceGeneratorTest, PhoneEventsAreConsistentWithTheTruth)
{
    bool screenOn = false;
    bool charging = false;
    int64_t last = trace_.startMs;
    for (const TraceEvent& event : trace_.events) {
        SCOPED_TRACE(TraceEventToJson(event));
        ASSERT_GE(event.timeMs, last);
        ASSERT_LT(event.timeMs, trace_.endMs);
        last = event.timeMs;
        const bool asleep = std::any_of(trace_.nights.begin(), trace_.nights.end(), [&event](const NightTruth& n) {
            const auto spans = n.SleepSpans();
            return std::any_of(spans.begin(), spans.end(),
                [&event](const TimeSpan& s) { return s.beginMs < event.timeMs && event.timeMs < s.endMs; });
        });
        switch (event.kind) {
        case TraceKind::SCREEN_ON:
            EXPECT_FALSE(screenOn);
            screenOn = true;
            EXPECT_TRUE(!asleep || IsAlarmTime(event.timeMs)); // only the alarm lights the screen
            break;
        case TraceKind::SCREEN_OFF:
            EXPECT_TRUE(screenOn);
            screenOn = false;
            break;
        case TraceKind::UNLOCK:
            EXPECT_TRUE(screenOn);
            EXPECT_FALSE(asleep);
            break;
        case TraceKind::POWER_CONNECTED:
            EXPECT_FALSE(charging);
            charging = true;
            break;
        case TraceKind::POWER_DISCONNECTED:
            EXPECT_TRUE(charging);
            charging = false;
            break;
        case TraceKind::BATTERY_LEVEL:
            EXPECT_GE(event.number, 1);
            EXPECT_LE(event.number, 100);
            break;
        default:
            break;
        }
        if (asleep && scenario_.habits.charging != ChargingHabit::NIGHT) {
            EXPECT_FALSE(charging);
        }
    }
    EXPECT_FALSE(screenOn);
}

TEST_P(TraceGeneratorTest, SameSeedSameTraceOtherSeedOtherTrace)
{
    const Trace again = GenerateTrace(scenario_);
    ASSERT_EQ(again.events.size(), trace_.events.size());
    for (size_t i = 0; i < again.events.size(); ++i) {
        ASSERT_EQ(TraceEventToJson(again.events[i]), TraceEventToJson(trace_.events[i]));
    }
    Scenario other = scenario_;
    other.seed += 1;
    EXPECT_NE(NightTruthToJson(GenerateTrace(other).nights[0]), NightTruthToJson(trace_.nights[0]));
}

// The group of the plan whose events a kind belongs to; events of equal times follow the order of
// these groups. Boot and stillness come from more than one group: -1.
int KindGroup(TraceKind kind)
{
    switch (kind) {
    case TraceKind::NEXT_ALARM:
        return 0;
    case TraceKind::MOVE:
    case TraceKind::SCREEN_ON:
    case TraceKind::SCREEN_OFF:
    case TraceKind::UNLOCK:
    case TraceKind::CALL_STATE:
        return 1;
    case TraceKind::POWER_CONNECTED:
    case TraceKind::POWER_DISCONNECTED:
        return 2;
    case TraceKind::NOTIFICATION:
    case TraceKind::BADGE_CLEARED:
        return 3;
    case TraceKind::LIGHT:
    case TraceKind::PROXIMITY:
        return 4;
    case TraceKind::BATTERY_LEVEL:
        return 5;
    default:
        return -1;
    }
}

// The events are produced a day at a time: none may be lost, come out of time order or, at equal
// times, out of the order of their groups, and a streamed trace produces the same events on each
// visit.
TEST_P(TraceGeneratorTest, EventsComeWholeInTimeOrderAndStreamedAsHeld)
{
    const PersonPlan plan = PlanPerson(scenario_);
    std::map<TraceKind, size_t> counts;
    for (size_t i = 0; i < trace_.events.size(); ++i) {
        const TraceEvent& event = trace_.events[i];
        ++counts[event.kind];
        if (i > 0 && event.timeMs == trace_.events[i - 1].timeMs && KindGroup(event.kind) >= 0) {
            EXPECT_GE(KindGroup(event.kind), KindGroup(trace_.events[i - 1].kind)) << TraceEventToJson(event);
        }
        if (i > 0) {
            ASSERT_GE(event.timeMs, trace_.events[i - 1].timeMs) << TraceEventToJson(event);
        }
    }
    EXPECT_EQ(counts[TraceKind::SCREEN_ON], plan.sessions.size());
    EXPECT_EQ(counts[TraceKind::POWER_CONNECTED], plan.charges.size());
    EXPECT_EQ(counts[TraceKind::NOTIFICATION], plan.notices.size());
    EXPECT_EQ(counts[TraceKind::NEXT_ALARM], plan.alarms.size() + 1);
    EXPECT_LT(trace_.events.back().timeMs, trace_.endMs);

    const Trace streamed = GenerateStreamedTrace(scenario_);
    EXPECT_TRUE(streamed.events.empty());
    for (int visit = 0; visit < 2; ++visit) {
        size_t index = 0;
        streamed.ForEachEvent([&](const TraceEvent& event) {
            ASSERT_LT(index, trace_.events.size());
            EXPECT_EQ(TraceEventToJson(event), TraceEventToJson(trace_.events[index++]));
        });
        EXPECT_EQ(index, trace_.events.size());
    }
}

INSTANTIATE_TEST_SUITE_P(People, TraceGeneratorTest,
    testing::Values(TraceCase{"Default", "{}"},
        TraceCase{"NightOwlNoAlarmHolsterAllNightCharge",
            R"({"days": 10, "seed": 7, "timeZone": "CST-8", "habits": {"alarm": {"weekdays": false},
               "weekday": {"bedtime": "01:30", "wakeTime": "09:30", "bedtimeSpreadMin": 60},
               "charging": {"mode": "night"}, "phonePlace": "holster",
               "awakenings": {"perNight": 3, "phoneChance": 1, "unlockChance": 1},
               "calls": {"nightChance": 1}}})"},
        TraceCase{"DaySleeperWithEveningCharging",
            R"({"days": 9, "seed": 5, "habits": {"weekday": {"bedtime": "16:00", "wakeTime": "20:13"},
               "weekend": {"bedtime": "16:30", "wakeTime": "21:00"}, "charging": {"start": "21:30"},
               "notifications": {"onWakeChance": 1}}})"},
        TraceCase{"NightShiftAcrossNoon",
            R"({"days": 9, "seed": 6, "habits": {"weekday": {"bedtime": "08:30", "wakeTime": "15:30"},
               "weekend": {"bedtime": "09:00", "wakeTime": "16:30"}, "alarm": {"weekdays": false},
               "charging": {"mode": "night"}}})"},
        TraceCase{"VeryLateSleeper",
            R"({"days": 9, "seed": 8, "habits": {"weekday": {"bedtime": "03:30", "wakeTime": "12:45"},
               "weekend": {"bedtime": "04:00", "wakeTime": "14:00", "wakeSpreadMin": 20},
               "alarm": {"weekdays": false}}})"},
        TraceCase{"AcrossDaylightSavingWithDayCharging",
            R"({"startDate": "2026-03-23", "days": 14, "seed": 3, "habits": {"charging": {"mode": "day",
               "start": "13:00"}, "phonePlace": "faceDown", "notifications": {"nightPerHour": 4}}})"}),
    [](const testing::TestParamInfo<TraceCase>& info) { return info.param.name; });

struct PlaceCase {
    std::string place;
    double lux;       // what the light sensor sees at the night spot after lights out
    double proximity; // and the proximity sensor
};

void PrintTo(const PlaceCase& c, std::ostream* os)
{
    *os << c.place;
}

class NightSpotTest : public testing::TestWithParam<PlaceCase> {};

// Where the phone lies decides what its sensors see while its owner sleeps.
TEST_P(NightSpotTest, SensorsSeeTheNightSpot)
{
    Scenario scenario = DefaultScenario();
    std::string error;
    ASSERT_TRUE(ParseScenario(
        R"({"days": 5, "habits": {"phonePlace": ")" + GetParam().place +
            R"(", "light": {"nightLux": 0.7}, "awakenings": {"perNight": 0}, "calls": {"nightChance": 0}}})",
        scenario, error))
        << error;
    SetProcessTimeZone(scenario.timeZone);
    const Trace trace = GenerateTrace(scenario);
    for (const NightTruth& night : trace.nights) {
        double lux = -1;
        double proximity = -1;
        bool charging = false;
        for (const TraceEvent& event : trace.events) {
            if (event.timeMs > night.onsetMs) {
                break;
            }
            lux = event.kind == TraceKind::LIGHT ? event.value : lux;
            proximity = event.kind == TraceKind::PROXIMITY ? event.value : proximity;
            charging =
                event.kind == TraceKind::POWER_CONNECTED || (charging && event.kind != TraceKind::POWER_DISCONNECTED);
        }
        EXPECT_EQ(lux, GetParam().lux) << FormatCivilDate(night.wakeDate);
        EXPECT_EQ(proximity, GetParam().proximity) << FormatCivilDate(night.wakeDate);
        EXPECT_FALSE(charging) << "the default person charges in the evening only";
    }
}

INSTANTIATE_TEST_SUITE_P(Places, NightSpotTest,
    testing::Values(PlaceCase{"table", 0.7, 5.0}, PlaceCase{"faceDown", 0.0, 0.0}, PlaceCase{"holster", 0.0, 5.0}),
    [](const testing::TestParamInfo<PlaceCase>& info) { return info.param.place; });

std::vector<int64_t> EventTimes(const Trace& trace, TraceKind kind, int64_t from, int64_t to)
{
    std::vector<int64_t> times;
    for (const TraceEvent& event : trace.events) {
        if (event.kind == kind && from <= event.timeMs && event.timeMs < to) {
            times.push_back(event.timeMs);
        }
    }
    return times;
}

// Recorded nights replace the habits on their dates: onset and wake as recorded (also a day sleep
// given as a negative wake time), with the night's unlocks spread evenly from the first one on.
TEST(RecordedNightTest, NightsFollowTheScheduleAndItsUnlocks)
{
    Scenario scenario = DefaultScenario();
    std::string error;
    ASSERT_TRUE(ParseScenario(R"({"days": 3, "habits": {"awakenings": {"perNight": 0}, "calls": {"nightChance": 0}},
        "schedule": [
          {"wakeDate": "2026-01-06", "onsetMin": 1483, "wakeMin": 493.5, "unlocks": 3, "unlockMin": 6,
           "firstUnlockMin": 60},
          {"wakeDate": "2026-01-08", "onsetMin": 900, "wakeMin": -300, "unlocks": 2, "unlockMin": 4}]})",
        scenario, error))
        << error;
    SetProcessTimeZone(scenario.timeZone);
    const Trace trace = GenerateTrace(scenario);
    ASSERT_EQ(trace.nights.size(), 3u);

    const NightTruth& first = trace.nights[0];
    EXPECT_EQ(first.onsetMs, LocalTimeMs(CivilDate{2026, 1, 6}, 43));
    EXPECT_EQ(first.wakeMs, LocalTimeMs(CivilDate{2026, 1, 6}, 493.5));
    EXPECT_EQ(first.alarmMs, -1) << "the recorded wake time is the truth";
    const auto unlocks = EventTimes(trace, TraceKind::UNLOCK, first.onsetMs, first.wakeMs);
    ASSERT_EQ(unlocks.size(), 3u);
    EXPECT_GE(unlocks.front(), LocalTimeMs(CivilDate{2026, 1, 6}, 60));
    EXPECT_LE(unlocks.back(), LocalTimeMs(CivilDate{2026, 1, 6}, 360));
    EXPECT_GT(unlocks.back() - unlocks.front(), 3 * kMsPerHour) << "spread over the night";
    EXPECT_EQ(first.awakenings.size(), 3u);

    const NightTruth& habitual = trace.nights[1];
    EXPECT_EQ(FormatCivilDate(habitual.wakeDate), "2026-01-07");
    EXPECT_TRUE(habitual.awakenings.empty());

    const NightTruth& daySleep = trace.nights[2];
    EXPECT_EQ(FormatCivilDate(daySleep.wakeDate), "2026-01-08");
    EXPECT_EQ(daySleep.onsetMs, LocalTimeMs(CivilDate{2026, 1, 7}, 15 * 60));
    EXPECT_EQ(daySleep.wakeMs, LocalTimeMs(CivilDate{2026, 1, 7}, 19 * 60));
    EXPECT_TRUE(EventTimes(trace, TraceKind::UNLOCK, daySleep.onsetMs, daySleep.wakeMs).empty())
        << "the unlocks of 00:00-06:00 do not fall into a day sleep";
}

// A person who gets a message on waking reads it within that first use of the phone.
TEST(WakeMessageTest, ArrivesAfterTheMorningUnlockAndIsReadBeforeTheScreenGoesOff)
{
    Scenario scenario = DefaultScenario();
    scenario.days = 6;
    scenario.habits.wakeNotificationChance = 1;
    scenario.habits.dayNotificationsPerHour = 0;
    scenario.habits.nightNotificationsPerHour = 0;
    SetProcessTimeZone(scenario.timeZone);
    const Trace trace = GenerateTrace(scenario);
    for (const NightTruth& night : trace.nights) {
        SCOPED_TRACE(FormatCivilDate(night.wakeDate));
        const int64_t morning = night.wakeMs + 20 * kMsPerMinute;
        const auto unlock = EventTimes(trace, TraceKind::UNLOCK, night.wakeMs, morning);
        const auto posted = EventTimes(trace, TraceKind::NOTIFICATION, night.wakeMs, morning);
        const auto read = EventTimes(trace, TraceKind::BADGE_CLEARED, night.wakeMs, morning);
        const auto off = EventTimes(trace, TraceKind::SCREEN_OFF, night.wakeMs, morning);
        ASSERT_FALSE(unlock.empty());
        ASSERT_EQ(posted.size(), 1u);
        ASSERT_EQ(read.size(), 1u);
        ASSERT_FALSE(off.empty());
        EXPECT_GT(posted[0], unlock[0]);
        EXPECT_LT(posted[0] - unlock[0], kMsPerMinute);
        EXPECT_GT(read[0], posted[0]);
        EXPECT_LT(read[0], off[0]);
    }
}

TEST(LocalCalendarTest, ConvertsLocalTimesAcrossDaylightSaving)
{
    SetProcessTimeZone("CET-1CEST,M3.5.0,M10.5.0/3");
    const CivilDate saturday{2026, 3, 28};
    EXPECT_EQ(WeekDay(saturday), 6);
    EXPECT_EQ(LocalTimeMs(AddDays(saturday, 1), 720) - LocalTimeMs(saturday, 720), 23 * kMsPerHour);
    EXPECT_EQ(FormatLocalTime(LocalTimeMs(saturday, 1440 + 180)), "2026-03-29 03:00:00.000");
    EXPECT_DOUBLE_EQ(LocalHourOf(LocalTimeMs(saturday, 21 * 60 + 30)), 21.5);
    CivilDate parsed;
    EXPECT_FALSE(ParseCivilDate("2026-02-29", parsed));
    EXPECT_FALSE(ParseCivilDate("2026-1-05", parsed));
    ASSERT_TRUE(ParseCivilDate("2028-02-29", parsed));
    EXPECT_EQ(FormatCivilDate(AddDays(parsed, 1)), "2028-03-01");
}

// The hand-written distributions have the moments they promise.
TEST(SimRandomTest, DistributionsHaveTheirMeans)
{
    SimRandom random(2024);
    constexpr int kDraws = 20000;
    double normal = 0;
    double normalSquares = 0;
    double exponential = 0;
    double poisson = 0;
    for (int i = 0; i < kDraws; ++i) {
        const double x = random.Normal(10, 2);
        normal += x;
        normalSquares += (x - 10) * (x - 10);
        exponential += random.Exponential(5);
        poisson += random.Poisson(1.5);
        const int64_t roll = random.UniformInt(-2, 3);
        ASSERT_GE(roll, -2);
        ASSERT_LE(roll, 3);
    }
    EXPECT_NEAR(normal / kDraws, 10, 0.05);
    EXPECT_NEAR(std::sqrt(normalSquares / kDraws), 2, 0.05);
    EXPECT_NEAR(exponential / kDraws, 5, 0.15);
    EXPECT_NEAR(poisson / kDraws, 1.5, 0.05);
}

} // namespace
} // namespace OHOS::Sim
