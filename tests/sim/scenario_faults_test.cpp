// Scenario faults: how the "faults" field is read and turned into trace events, and what a run
// with each fault must show (each run in its own process).
#include <algorithm>
#include <filesystem>
#include <functional>

#include <gtest/gtest.h>

#include "fault_week.h"
#include "scenario.h"
#include "scoped_time_zone.h"
#include "trace_reader.h"
#include "trace_writer.h"
#include "trace_generator.h"

namespace OHOS::Sim {
namespace {

constexpr int64_t kMsPerMinute = 60 * 1000;

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define UNDER_ADDRESS_SANITIZER 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define UNDER_ADDRESS_SANITIZER 1
#endif

// A flood may not make the run hold much more memory than the same run without it. Under the
// address sanitizer the resident size is mostly its quarantine of freed memory, so it is not compared.
void ExpectMemoryBounded(const SimRunOutcome& run, const SimRunOutcome& clean)
{
#ifdef UNDER_ADDRESS_SANITIZER
    (void)run;
    (void)clean;
#else
    EXPECT_LT(run.peakRssKb, clean.peakRssKb * 3 / 2);
#endif
}

std::string WithFaults(const std::string& faults)
{
    return "{\"days\": 7, \"faults\": [" + faults + "]}";
}

struct BadFault {
    std::string faults, message;
};

TEST(ScenarioFaultsTest, ABadFaultIsNamedByItsField)
{
    const BadFault cases[] = {{R"("restart")", "field 'faults[0]': expected an object"},
        {R"({"at": "2026-01-06 02:00"})", "field 'faults[0].kind': expected one of"},
        {R"({"at": "2026-01-06 02:00", "kind": "meteor"})", "got \"meteor\""},
        {R"({"kind": "service_restart"})", "field 'faults[0].at': missing"},
        {R"({"at": "2026-01-06 2:00", "kind": "service_restart"})", "field 'faults[0].at': expected a local time"},
        {R"({"at": "2026-01-06 02:00", "kind": "service_restart", "user": 3})",
            "unknown field 'faults[0].user' for kind \"service_restart\""},
        {R"({"at": "2026-01-06 02:00", "kind": "clock_set"})", "field 'faults[0].minutes': missing"},
        {R"({"at": "2026-01-06 02:00", "kind": "clock_set", "minutes": 0})", "non-zero"},
        {R"({"at": "2026-01-06 02:00", "kind": "clock_set", "minutes": 20000})", "from -10080 to 10080"},
        {R"({"at": "2026-01-06 02:00", "kind": "unlock_flood", "count": 0})", "'faults[0].count'"},
        {R"({"at": "2026-01-06 02:00", "kind": "time_zone", "zone": ""})", "non-empty string"},
        {R"({"at": "2026-01-06 02:00", "kind": "platform_fault", "class": "disk"})",
            "expected one of database, preferences_write"},
        {R"({"at": "2026-01-06 02:00", "kind": "platform_fault", "class": "database", "nth": 0})", "'faults[0].nth'"},
        {R"({"at": "2026-01-12 12:00", "kind": "service_restart"})",
            "field 'faults[0].at': \"2026-01-12 12:00\" is outside the run (2026-01-05 12:00 to 2026-01-12 12:00)"},
        {R"({"at": "2026-01-05 11:59", "kind": "service_restart"})", "is outside the run"}};
    for (const BadFault& c : cases) {
        SCOPED_TRACE(c.faults);
        Scenario scenario = DefaultScenario();
        std::string error;
        EXPECT_FALSE(ParseScenario(WithFaults(c.faults), scenario, error));
        EXPECT_NE(error.find(c.message), std::string::npos) << error;
        EXPECT_TRUE(scenario.faults.empty());
    }
}

TEST(ScenarioFaultsTest, EveryKindSurvivesTheFileRoundTrip)
{
    const std::string faults = R"({"at": "2026-01-06 02:00", "kind": "service_restart"},
        {"at": "2026-01-06 02:00", "kind": "user_switch", "user": 102},
        {"at": "2026-01-06 03:00", "kind": "clock_set", "minutes": -60},
        {"at": "2026-01-06 04:00", "kind": "time_zone", "zone": "GMT0"},
        {"at": "2026-01-06 23:00", "kind": "notification_flood", "count": 10000, "minutes": 300, "app": "chat"},
        {"at": "2026-01-07 23:00", "kind": "unlock_flood", "count": 300},
        {"at": "2026-01-08 12:00", "kind": "never_charged"},
        {"at": "2026-01-09 12:00", "kind": "always_charging"},
        {"at": "2026-01-09 13:00", "kind": "sensors_silent", "until": "2026-01-10 13:00"},
        {"at": "2026-01-09 14:00", "kind": "platform_fault", "class": "database", "nth": 4, "persistent": true})";
    Scenario first = DefaultScenario();
    std::string error;
    ASSERT_TRUE(ParseScenario(WithFaults(faults), first, error)) << error;
    ASSERT_EQ(first.faults.size(), 10U);
    Scenario second = DefaultScenario();
    ASSERT_TRUE(ParseScenario(ScenarioToJson(first), second, error)) << error;
    EXPECT_EQ(ScenarioToJson(second), ScenarioToJson(first));
    EXPECT_NE(ScenarioFieldHelp().find("platform_fault {class"), std::string::npos);
}

// The clean trace and the one with `faults`, for comparison.
struct TracePair {
    Trace clean, faulty;
    int64_t Ms(const std::string& localTime) const
    {
        CivilDate date;
        EXPECT_TRUE(ParseCivilDate(localTime.substr(0, 10), date));
        return LocalTimeMs(date, std::stoi(localTime.substr(11, 2)) * 60 + std::stoi(localTime.substr(14, 2)));
    }
};

TracePair Traces(const std::string& faults)
{
    Scenario scenario = DefaultScenario();
    std::string error;
    EXPECT_TRUE(ParseScenario(WithFaults(faults), scenario, error)) << error;
    TracePair pair;
    pair.faulty = GenerateTrace(scenario);
    scenario.faults.clear();
    pair.clean = GenerateTrace(scenario);
    return pair;
}

int64_t CountKind(const Trace& trace, TraceKind kind, int64_t fromMs, int64_t toMs)
{
    return std::count_if(trace.events.begin(), trace.events.end(),
        [&](const TraceEvent& event) { return event.kind == kind && event.timeMs >= fromMs && event.timeMs < toMs; });
}

TEST(ScenarioFaultsTest, FloodsAddTheirEventsWithinTheirSpan)
{
    const TracePair traces = Traces(R"({"at": "2026-01-07 23:00", "kind": "notification_flood", "count": 10000},
        {"at": "2026-01-08 23:00", "kind": "unlock_flood", "count": 300, "minutes": 60})");
    const int64_t night = traces.Ms("2026-01-07 23:00");
    EXPECT_EQ(CountKind(traces.faulty, TraceKind::NOTIFICATION, night, night + 480 * kMsPerMinute) -
                  CountKind(traces.clean, TraceKind::NOTIFICATION, night, night + 480 * kMsPerMinute),
        10000);
    const int64_t next = traces.Ms("2026-01-08 23:00");
    for (TraceKind kind : {TraceKind::SCREEN_ON, TraceKind::UNLOCK, TraceKind::SCREEN_OFF}) {
        EXPECT_EQ(CountKind(traces.faulty, kind, next, next + 61 * kMsPerMinute) -
                      CountKind(traces.clean, kind, next, next + 61 * kMsPerMinute),
            300)
            << TraceKindName(kind);
    }
    EXPECT_TRUE(std::is_sorted(traces.faulty.events.begin(), traces.faulty.events.end(),
        [](const TraceEvent& a, const TraceEvent& b) { return a.timeMs < b.timeMs; }));
}

TEST(ScenarioFaultsTest, ChargingFaultsHoldTheChargerFromTheirTime)
{
    struct Case {
        std::string kind;
        int64_t connectsAfter; // POWER_CONNECTED events from the fault on
    };
    for (const Case& c : {Case{"never_charged", 0}, Case{"always_charging", 1}}) {
        const TracePair traces = Traces(R"({"at": "2026-01-06 15:00", "kind": ")" + c.kind + R"("})");
        const int64_t at = traces.Ms("2026-01-06 15:00");
        EXPECT_EQ(CountKind(traces.faulty, TraceKind::POWER_CONNECTED, at, traces.faulty.endMs + 1), c.connectsAfter)
            << c.kind;
        EXPECT_EQ(CountKind(traces.faulty, TraceKind::POWER_DISCONNECTED, at + 1, traces.faulty.endMs + 1), 0)
            << c.kind;
        EXPECT_EQ(CountKind(traces.faulty, TraceKind::POWER_CONNECTED, 0, at),
            CountKind(traces.clean, TraceKind::POWER_CONNECTED, 0, at))
            << c.kind;
    }
}

TEST(ScenarioFaultsTest, ClockSetMovesEveryLaterEventAndNight)
{
    for (int64_t minutes : {-1440, -60, 60, 1440}) {
        const TracePair traces =
            Traces(R"({"at": "2026-01-08 03:00", "kind": "clock_set", "minutes": )" + std::to_string(minutes) + "}");
        const int64_t at = traces.Ms("2026-01-08 03:00");
        const int64_t shift = minutes * kMsPerMinute;
        auto set = std::find_if(traces.faulty.events.begin(), traces.faulty.events.end(),
            [](const TraceEvent& event) { return event.kind == TraceKind::CLOCK_SET; });
        ASSERT_NE(set, traces.faulty.events.end());
        EXPECT_EQ(set->timeMs, at);
        EXPECT_EQ(set->number, shift);
        const size_t index = static_cast<size_t>(set - traces.faulty.events.begin());
        ASSERT_EQ(traces.faulty.events.size(), traces.clean.events.size() + 1);
        for (size_t i = 0; i < traces.clean.events.size(); ++i) {
            const size_t j = i < index ? i : i + 1;
            ASSERT_EQ(traces.faulty.events[j].timeMs, traces.clean.events[i].timeMs + (i < index ? 0 : shift))
                << "event " << i << " with a change of " << minutes << " minutes";
        }
        EXPECT_EQ(traces.faulty.endMs, traces.clean.endMs + shift);
        EXPECT_EQ(traces.faulty.nights.back().onsetMs, traces.clean.nights.back().onsetMs + shift);
        EXPECT_EQ(traces.faulty.nights.front().onsetMs, traces.clean.nights.front().onsetMs);
        // The night in progress at 03:00 keeps its onset and wakes in the new clock.
        const auto inProgress = std::find_if(traces.clean.nights.begin(), traces.clean.nights.end(),
            [at](const NightTruth& night) { return night.onsetMs < at && night.wakeMs > at; });
        ASSERT_NE(inProgress, traces.clean.nights.end());
        const NightTruth& moved = traces.faulty.nights[static_cast<size_t>(inProgress - traces.clean.nights.begin())];
        EXPECT_EQ(moved.onsetMs, inProgress->onsetMs) << minutes;
        EXPECT_EQ(moved.wakeMs, inProgress->wakeMs + shift) << minutes;
    }
}

// Each night is judged in the zone in force at its true onset: the nights before a change of zone
// keep the old zone's noons and the later ones take the new zone's, in the trace as generated and as
// read back from its file, whatever zone the process is in when they are judged.
TEST(ScenarioFaultsTest, EachNightIsJudgedInTheZoneOfItsOwnNight)
{
    const std::string newZone = "America/New_York";
    for (const char* at : {"2026-01-08 12:00", "2026-01-09 03:00"}) {
        const TracePair traces = Traces(std::string(R"({"at": ")") + at + R"(", "kind": "time_zone", "zone": ")" +
                                        newZone + "\"}");
        const int64_t changeMs = traces.Ms(at);
        const std::string path = testing::TempDir() + "zone_change_trace.jsonl";
        ASSERT_TRUE(WriteTraceFile(path, DefaultScenario(), traces.faulty));
        Scenario readScenario;
        Trace read;
        std::string error;
        ASSERT_TRUE(ParseTraceFile(path, readScenario, read, error)) << error;
        std::filesystem::remove(path);
        const Trace& readBack = read;
        Emulator::ScopedTimeZone elsewhere("UTC0");
        size_t inNewZone = 0;
        for (size_t i = 0; i < traces.faulty.nights.size(); ++i) {
            const NightTruth& night = traces.faulty.nights[i];
            const bool afterChange = night.onsetMs >= changeMs;
            inNewZone += afterChange ? 1 : 0;
            TimeSpan expected;
            {
                Emulator::ScopedTimeZone zone(afterChange ? newZone : DefaultScenario().timeZone);
                expected = {LocalTimeMs(AddDays(night.wakeDate, -1), kNoonMin), LocalTimeMs(night.wakeDate, kNoonMin)};
            }
            for (const Trace* trace : {&traces.faulty, &readBack}) {
                EXPECT_EQ(trace->nights[i].window.beginMs, expected.beginMs) << at << ", night " << i;
                EXPECT_EQ(trace->nights[i].window.endMs, expected.endMs) << at << ", night " << i;
            }
        }
        EXPECT_GT(inNewZone, 0u) << at;
        EXPECT_LT(inNewZone, traces.faulty.nights.size()) << at;
    }
}

// What a run with faults must show. Nights are counted noon to noon from the start of the run in
// the phone's clock; "the nights after" are the two nights after the one in which the fault falls.
struct FaultOutcomeCase {
    std::string name, faults;
    int firstNightAfter; // deep sleep must be published on this night and the next
    std::function<void(const SimRunOutcome& run, const SimRunOutcome& clean)> check;
};

void PrintTo(const FaultOutcomeCase& c, std::ostream* os)
{
    *os << c.name;
}

class ScenarioFaultOutcomeTest : public testing::TestWithParam<FaultOutcomeCase> {
protected:
    static void SetUpTestSuite() { clean_ = new SimRunOutcome(RunSimulationInChild(WeekScenario(""), Dir("clean"))); }
    static void TearDownTestSuite()
    {
        delete clean_;
        clean_ = nullptr;
        std::error_code ec;
        std::filesystem::remove_all(Dir(""), ec);
    }
    static Scenario WeekScenario(const std::string& faults)
    {
        Scenario scenario = DefaultScenario();
        std::string error;
        EXPECT_TRUE(ParseScenario(WithFaults(faults), scenario, error)) << error;
        return scenario;
    }
    static std::string Dir(const std::string& name)
    {
        static const ScratchFolder scratch("scenario-faults"); // removed when the test program ends
        return scratch.Path() + "/" + name;
    }
    static SimRunOutcome* clean_;
};

SimRunOutcome* ScenarioFaultOutcomeTest::clean_ = nullptr;

TEST_P(ScenarioFaultOutcomeTest, RunSurvivesAndTheNightsAfterDetect)
{
    const FaultOutcomeCase& c = GetParam();
    ASSERT_EQ(clean_->ending, "exit 0");
    const SimRunOutcome run = RunSimulationInChild(WeekScenario(c.faults), Dir(c.name));
    EXPECT_EQ(run.ending, "exit 0");
    EXPECT_EQ(run.integrity, "ok");
    EXPECT_FALSE(run.faults.empty() && c.faults.find("platform") != std::string::npos);
    for (int night = c.firstNightAfter; night >= 0 && night < c.firstNightAfter + 2; ++night) {
        ASSERT_LT(night, static_cast<int>(run.deepStartsByNight.size()));
        EXPECT_GT(run.deepStartsByNight[night], 0) << "no deep sleep published on night " << night + 1;
    }
    if (c.check) {
        c.check(run, *clean_);
    }
}

const int64_t kRestartMs = 1767834000000; // 2026-01-08 02:00 CET, during the third night's deep sleep

INSTANTIATE_TEST_SUITE_P(Kinds, ScenarioFaultOutcomeTest,
    testing::Values(
        FaultOutcomeCase{"service_restart_mid_sleep", R"({"at": "2026-01-08 02:00", "kind": "service_restart"})", 3,
            [](const SimRunOutcome& run, const SimRunOutcome&) {
                // The deep sleep active at the restart is published as ended by the new strategy.
                EXPECT_EQ(std::count(run.deepEndsMs.begin(), run.deepEndsMs.end(), kRestartMs), 1);
            }},
        FaultOutcomeCase{"user_switch_mid_night",
            R"({"at": "2026-01-08 01:00", "kind": "user_switch", "user": 101},
               {"at": "2026-01-08 07:30", "kind": "user_switch", "user": 100})",
            3, nullptr},
        FaultOutcomeCase{
            "clock_back_an_hour", R"({"at": "2026-01-08 03:00", "kind": "clock_set", "minutes": -60})", 3, nullptr},
        FaultOutcomeCase{
            "clock_forward_an_hour", R"({"at": "2026-01-08 03:00", "kind": "clock_set", "minutes": 60})", 3, nullptr},
        FaultOutcomeCase{
            "clock_back_a_day", R"({"at": "2026-01-08 03:00", "kind": "clock_set", "minutes": -1440})", 2, nullptr},
        FaultOutcomeCase{
            "clock_forward_a_day", R"({"at": "2026-01-08 03:00", "kind": "clock_set", "minutes": 1440})", 4, nullptr},
        FaultOutcomeCase{
            "time_zone_change", R"({"at": "2026-01-08 03:00", "kind": "time_zone", "zone": "GMT0"})", 3, nullptr},
        FaultOutcomeCase{"ten_thousand_notifications",
            R"({"at": "2026-01-07 23:00", "kind": "notification_flood", "count": 10000})", 3,
            [](const SimRunOutcome& run, const SimRunOutcome& clean) {
                // Memory and stored records stay bounded: the flood is not kept one row per notification.
                ExpectMemoryBounded(run, clean);
                EXPECT_LT(run.Rows("sleep_notification_records"), clean.Rows("sleep_notification_records") + 100);
            }},
        FaultOutcomeCase{"three_hundred_unlocks", R"({"at": "2026-01-07 23:00", "kind": "unlock_flood", "count": 300})",
            3,
            [](const SimRunOutcome& run, const SimRunOutcome& clean) {
                ExpectMemoryBounded(run, clean);
                EXPECT_LE(run.Rows("raw_screen_state"), clean.Rows("raw_screen_state") + 900);
            }},
        FaultOutcomeCase{"never_charged", R"({"at": "2026-01-05 12:00", "kind": "never_charged"})", 1,
            [](const SimRunOutcome& run, const SimRunOutcome& clean) {
                // Training needs the charger; detection goes on without it.
                EXPECT_GT(clean.trainingsFinished, 0);
                EXPECT_EQ(run.trainingsFinished, 0);
                EXPECT_GT(*std::min_element(run.deepStartsByNight.begin(), run.deepStartsByNight.end()), 0);
            }},
        FaultOutcomeCase{"always_charging", R"({"at": "2026-01-05 12:00", "kind": "always_charging"})", -1,
            [](const SimRunOutcome& run, const SimRunOutcome&) {
                // A charging phone never enters deep sleep; training runs every night.
                EXPECT_EQ(*std::max_element(run.deepStartsByNight.begin(), run.deepStartsByNight.end()), 0);
                EXPECT_GE(run.trainingsFinished, 6);
            }},
        FaultOutcomeCase{"sensors_never_answer", R"({"at": "2026-01-05 12:00", "kind": "sensors_silent"})", 1,
            [](const SimRunOutcome& run, const SimRunOutcome& clean) {
                EXPECT_EQ(run.Rows("sleep_environment"), clean.Rows("sleep_environment"));
            }}),
    [](const testing::TestParamInfo<FaultOutcomeCase>& info) { return info.param.name; });

} // namespace
} // namespace OHOS::Sim
