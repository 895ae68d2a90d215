// Generated populations and population files: varied, reproducible persons, and bad entries named.
#include <fstream>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "data_root.h"
#include "population.h"
#include "scenario.h"
#include "trace_generator.h"

namespace OHOS::Sim {
namespace {

constexpr int32_t kPopulation = 60;

std::vector<Scenario> Population(uint64_t seed, int32_t count)
{
    Scenario base = DefaultScenario();
    base.seed = seed;
    return GeneratePopulation(base, count);
}

TEST(PopulationTest, SameSeedSamePersonsAndPersonsDoNotDependOnTheCount)
{
    const auto persons = Population(9, kPopulation);
    const auto again = Population(9, kPopulation);
    const auto fewer = Population(9, 5);
    const auto other = Population(10, 5);
    ASSERT_EQ(persons.size(), static_cast<size_t>(kPopulation));
    for (size_t i = 0; i < fewer.size(); ++i) {
        EXPECT_EQ(ScenarioToJson(persons[i]), ScenarioToJson(again[i]));
        EXPECT_EQ(ScenarioToJson(persons[i]), ScenarioToJson(fewer[i]));
        EXPECT_NE(ScenarioToJson(persons[i]), ScenarioToJson(other[i]));
    }
    EXPECT_EQ(persons[0].name, "p001");
    EXPECT_EQ(persons[kPopulation - 1].name, "p060");
}

// Every person is a valid scenario that survives the file format unchanged (so a run can be replayed).
TEST(PopulationTest, PersonsAreValidScenarios)
{
    std::set<uint64_t> seeds;
    for (const Scenario& person : Population(3, kPopulation)) {
        Scenario parsed = DefaultScenario();
        std::string error;
        ASSERT_TRUE(ParseScenario(ScenarioToJson(person), parsed, error)) << person.name << ": " << error;
        EXPECT_EQ(ScenarioToJson(parsed), ScenarioToJson(person));
        EXPECT_EQ(person.days, DefaultScenario().days);
        seeds.insert(person.seed);
    }
    EXPECT_EQ(seeds.size(), static_cast<size_t>(kPopulation));
}

// Every kind of person yields a trace that tells one story: nights in order, the screen switching
// on and off in turn, every event inside the run.
TEST(PopulationTest, EveryKindOfPersonGivesAConsistentTrace)
{
    Scenario base = DefaultScenario();
    base.days = 12;
    for (const Scenario& person : GeneratePopulation(base, 10)) {
        SCOPED_TRACE(ScenarioToJson(person));
        SetProcessTimeZone(person.timeZone);
        const Trace trace = GenerateTrace(person);
        ASSERT_EQ(trace.nights.size(), static_cast<size_t>(person.days));
        for (size_t i = 0; i < trace.nights.size(); ++i) {
            const NightTruth& night = trace.nights[i];
            EXPECT_GE(night.wakeMs - night.onsetMs, 2 * kMsPerHour);
            EXPECT_LE(night.wakeMs - night.bedMs, 20 * kMsPerHour);
            if (i > 0) {
                EXPECT_GT(night.bedMs, trace.nights[i - 1].wakeMs);
            }
        }
        bool screenOn = false;
        int64_t last = trace.startMs;
        for (const TraceEvent& event : trace.events) {
            ASSERT_GE(event.timeMs, last);
            ASSERT_LT(event.timeMs, trace.endMs);
            last = event.timeMs;
            if (event.kind == TraceKind::SCREEN_ON || event.kind == TraceKind::SCREEN_OFF) {
                EXPECT_NE(screenOn, event.kind == TraceKind::SCREEN_ON) << TraceEventToJson(event);
                screenOn = event.kind == TraceKind::SCREEN_ON;
            }
        }
    }
}

struct Kind {
    std::string name;
    std::function<bool(const Scenario&)> is;
};

double EveningBedHour(const Scenario& s)
{
    return s.habits.weekday.EveningBedtimeMin() / 60;
}

TEST(PopulationTest, SixtyPersonsIncludeEveryKind)
{
    const Kind cases[] = {{"early", [](const Scenario& s) { return EveningBedHour(s) < 22; }},
        {"late", [](const Scenario& s) { return EveningBedHour(s) >= 25 && EveningBedHour(s) < 28; }},
        {"nightShiftDaySleep", [](const Scenario& s) { return EveningBedHour(s) >= 30; }},
        {"afternoonDaySleep", [](const Scenario& s) { return EveningBedHour(s) < 18; }},
        {"wakesAfterNoon", [](const Scenario& s) { return s.habits.weekday.wakeMin >= 12 * 60; }},
        {"irregular", [](const Scenario& s) { return s.habits.weekday.bedtimeSpreadMin >= 60; }},
        {"lightSleeperWithPhone",
            [](const Scenario& s) { return s.habits.awakeningsPerNight >= 2 && s.habits.awakeningPhoneChance >= 0.6; }},
        {"faceDown", [](const Scenario& s) { return s.habits.phonePlace == PhonePlace::FACE_DOWN; }},
        {"holster", [](const Scenario& s) { return s.habits.phonePlace == PhonePlace::HOLSTER; }},
        {"chargesAllNight", [](const Scenario& s) { return s.habits.charging == ChargingHabit::NIGHT; }},
        {"neverChargesAtNight", [](const Scenario& s) { return s.habits.charging != ChargingHabit::NIGHT; }},
        {"notificationHeavyNights", [](const Scenario& s) { return s.habits.nightNotificationsPerHour >= 2; }},
        {"nightCalls", [](const Scenario& s) { return s.habits.nightCallChance >= 0.15; }},
        {"messageOnWaking", [](const Scenario& s) { return s.habits.wakeNotificationChance >= 0.5; }},
        {"withoutDaylightSaving", [](const Scenario& s) { return s.timeZone.find(',') == std::string::npos; }},
        {"withDaylightSaving", [](const Scenario& s) { return s.timeZone.find(',') != std::string::npos; }},
        {"startsNearADaylightSavingChange",
            [](const Scenario& s) { return FormatCivilDate(s.startDate) != "2026-01-05"; }},
        {"weekdayAlarm", [](const Scenario& s) { return s.habits.alarmOnWeekdays; }}};
    const auto persons = Population(1, kPopulation);
    for (const Kind& c : cases) {
        SCOPED_TRACE(c.name);
        int32_t count = 0;
        for (const Scenario& person : persons) {
            count += c.is(person) ? 1 : 0;
        }
        EXPECT_GE(count, 2);
        EXPECT_LT(count, kPopulation) << "should not be everybody";
    }
}

class PopulationFileTest : public testing::Test {
protected:
    bool Load(const std::string& text, std::vector<Scenario>& persons, std::string& error)
    {
        std::ofstream(path_, std::ios::binary) << text;
        return LoadPopulationFile(path_, DefaultScenario(), persons, error);
    }

    Emulator::ScopedDataRoot folder_; // a folder of this test process alone
    std::string path_ = folder_.Path() + "/population_test.json";
};

TEST_F(PopulationFileTest, EachPersonOverridesTheBaseAndUnnamedOnesAreNumbered)
{
    std::vector<Scenario> persons;
    std::string error;
    ASSERT_TRUE(Load(R"([{"name": "night-nurse", "habits": {"weekday": {"bedtime": "08:00", "wakeTime": "15:00"}}},
                         {"seed": 4}])",
        persons, error))
        << error;
    ASSERT_EQ(persons.size(), 2u);
    EXPECT_EQ(persons[0].name, "night-nurse");
    EXPECT_EQ(persons[0].habits.weekday.bedtimeMin, 8 * 60);
    EXPECT_EQ(persons[0].habits.weekend.bedtimeMin, DefaultScenario().habits.weekend.bedtimeMin);
    EXPECT_EQ(persons[1].name, "p002");
    EXPECT_EQ(persons[1].seed, 4u);
}

struct BadFile {
    std::string text, message;
};

TEST_F(PopulationFileTest, ABadFileIsNamedWithThePersonAndTheField)
{
    const BadFile cases[] = {{"{}", "expected a non-empty JSON list"}, {"[]", "expected a non-empty JSON list"},
        {"[{", "expected a non-empty JSON list"}, {R"([{}, {"days": 0}])", "person [1]: field 'days'"},
        {R"([{}, {}, 3])", "person [2]: the scenario must be a JSON object"},
        {R"([{"habits": {"weekday": {"bedtime": "16:00", "wakeTime": "17:00"}}}])",
            "person [0]: field 'habits.weekday.wakeTime'"},
        {R"([{"name": "a"}, {"name": "a"}])", "person [1]: field 'name': \"a\" is used by an earlier person"}};
    for (const BadFile& c : cases) {
        SCOPED_TRACE(c.text);
        std::vector<Scenario> persons = Population(1, 1);
        std::string error;
        EXPECT_FALSE(Load(c.text, persons, error));
        EXPECT_NE(error.find(path_), std::string::npos) << error;
        EXPECT_NE(error.find(c.message), std::string::npos) << error;
        EXPECT_EQ(persons.size(), 1u) << "left unchanged";
    }
}

TEST(PopulationFileErrorTest, AMissingFileIsNamed)
{
    std::vector<Scenario> persons;
    std::string error;
    EXPECT_FALSE(LoadPopulationFile("/nonexistent/people.json", DefaultScenario(), persons, error));
    EXPECT_EQ(error, "cannot read the population file '/nonexistent/people.json'");
}

} // namespace
} // namespace OHOS::Sim
