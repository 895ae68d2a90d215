// Scenario files and the sleepsim command line: defaults, round trip, and clear refusals of bad input.
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "data_root.h"
#include "population.h"
#include "scenario.h"
#include "sim_cli.h"

namespace OHOS::Sim {
namespace {

struct BadScenario {
    std::string json;
    std::string message; // must appear in the error
};

TEST(ScenarioTest, BadFieldsAreNamedAndLeaveTheScenarioUnchanged)
{
    const BadScenario cases[] = {{"{", "not valid JSON"}, {"[1]", "must be a JSON object"},
        {R"({"days": 0})", "field 'days'"}, {R"({"days": 2.5})", "field 'days'"}, {R"({"seed": -1})", "field 'seed'"},
        {R"({"seed": "7"})", "field 'seed'"}, {R"({"startDate": "2026-02-30"})", "field 'startDate'"},
        {R"({"timeZone": "Nowhere/Atlantis"})", "field 'timeZone'"}, {R"({"standbyMode": 4})", "field 'standbyMode'"},
        {R"({"habits": {"weekday": {"bedtime": "24:10"}}})", "field 'habits.weekday.bedtime'"},
        {R"({"habits": {"weekend": {"wakeSpreadMin": -3}}})", "field 'habits.weekend.wakeSpreadMin'"},
        {R"({"habits": {"weekday": {"bedtime": "23:00", "wakeTime": "01:00"}}})", "field 'habits.weekday.wakeTime'"},
        {R"({"habits": {"wekday": {}}})", "unknown field 'habits.wekday'"},
        {R"({"habits": {"charging": "evening"}})", "field 'habits.charging': expected an object"},
        {R"({"habits": {"charging": {"mode": "always"}}})", "field 'habits.charging.mode'"},
        {R"({"habits": {"phonePlace": "pillow"}})", "field 'habits.phonePlace'"},
        {R"({"habits": {"alarm": {"weekdays": 1}}})", "field 'habits.alarm.weekdays'"},
        {R"({"habits": {"awakenings": {"phoneChance": 1.5}}})", "field 'habits.awakenings.phoneChance'"},
        {R"({"dumps": [{"words": []}]})", "field 'dumps[0].words'"},
        {R"({"dumps": [{"words": ["-D"], "at": "2026-01-05"}]})", "field 'dumps[0].at'"},
        {R"({"dumps": [{"words": ["-D"], "when": "x"}]})", "unknown field 'dumps[0].when'"},
        {R"({"name": "p 1"})", "field 'name'"}, {R"({"name": ""})", "field 'name'"},
        {R"({"name": "../x"})", "field 'name'"},
        {R"({"habits": {"weekday": {"bedtime": "16:00", "wakeTime": "18:30"}}})",
            "must be 3 to 16 hours after habits.weekday.bedtime"},
        {R"({"habits": {"weekend": {"bedtime": "08:00", "wakeTime": "00:30"}}})",
            "must be 3 to 16 hours after habits.weekend.bedtime"},
        {R"({"habits": {"notifications": {"onWakeChance": 2}}})", "field 'habits.notifications.onWakeChance'"},
        {R"({"schedule": {}})", "field 'schedule'"},
        {R"({"schedule": [{"wakeDate": "2026-01-06", "onsetMin": 1400}]})", "field 'schedule[0]'"},
        {R"({"schedule": [{"wakeDate": "2026-01-06", "onsetMin": 1400, "wakeMin": 60}]})",
            "field 'schedule[0].wakeMin': must be 2 to 16 hours"},
        {R"({"schedule": [{"wakeDate": "2026-01-06", "onsetMin": 1400, "wakeMin": 420, "unlocks": 1.5}]})",
            "field 'schedule[0].unlocks'"},
        {R"({"schedule": [{"wakeDate": "2026-01-06", "onsetMin": 1400, "wakeMin": 420, "naps": 1}]})",
            "unknown field 'schedule[0].naps'"},
        {R"({"schedule": [{"wakeDate": "2026-01-07", "onsetMin": 1400, "wakeMin": 420},
                                     {"wakeDate": "2026-01-06", "onsetMin": 1400, "wakeMin": 420}]})",
            "field 'schedule[1].wakeDate': the nights must be in increasing date order"}};
    for (const BadScenario& c : cases) {
        SCOPED_TRACE(c.json);
        Scenario scenario = DefaultScenario();
        const std::string before = ScenarioToJson(scenario);
        std::string error;
        EXPECT_FALSE(ParseScenario(c.json, scenario, error));
        EXPECT_NE(error.find(c.message), std::string::npos) << error;
        EXPECT_EQ(ScenarioToJson(scenario), before);
    }
}

struct AcceptedNight {
    std::string bedtime, wakeTime;
    double spanHours; // from bedtime to the wake time that follows it
};

// Any bedtime works with a wake time 3 to 16 hours later: nights across noon and day sleep too.
TEST(ScenarioTest, AcceptsAnySleepOfThreeToSixteenHours)
{
    const AcceptedNight cases[] = {{"23:00", "07:00", 8}, {"16:00", "20:13", 4 + 13 / 60.0}, {"08:30", "15:30", 7},
        {"03:00", "13:30", 10.5}, {"21:00", "00:00", 3}, {"20:00", "12:00", 16}, {"11:00", "19:00", 8}};
    for (const AcceptedNight& c : cases) {
        SCOPED_TRACE(c.bedtime);
        Scenario scenario = DefaultScenario();
        std::string error;
        ASSERT_TRUE(ParseScenario(
            R"({"habits": {"weekend": {"bedtime": ")" + c.bedtime + R"(", "wakeTime": ")" + c.wakeTime + R"("}}})",
            scenario, error))
            << error;
        EXPECT_DOUBLE_EQ(scenario.habits.weekend.SpanMin(), c.spanHours * 60);
    }
}

TEST(ScenarioTest, ScheduleAndNameRoundTripThroughTheFileFormat)
{
    Scenario scenario = DefaultScenario();
    std::string error;
    ASSERT_TRUE(ParseScenario(R"({"name": "INS-W_004", "schedule": [
        {"wakeDate": "2026-01-06", "onsetMin": 1483.25, "wakeMin": 493.5, "unlocks": 9, "unlockMin": 38.6558333333333,
         "firstUnlockMin": 17.2166666666667},
        {"wakeDate": "2026-01-08", "onsetMin": 900, "wakeMin": -300}]})",
        scenario, error))
        << error;
    EXPECT_EQ(scenario.name, "INS-W_004");
    ASSERT_EQ(scenario.schedule.size(), 2u);
    EXPECT_EQ(scenario.schedule[0].unlocks, 9);
    EXPECT_EQ(scenario.schedule[1].wakeMin, -300);
    Scenario again = DefaultScenario();
    ASSERT_TRUE(ParseScenario(ScenarioToJson(scenario), again, error)) << error;
    EXPECT_EQ(ScenarioToJson(again), ScenarioToJson(scenario));
    EXPECT_EQ(again.schedule[0].unlockMin, 38.6558333333333);
}

TEST(ScenarioTest, ReadsNestedFieldsAndDumpTimesInTheScenarioZone)
{
    Scenario scenario = DefaultScenario();
    std::string error;
    ASSERT_TRUE(ParseScenario(R"({"timeZone": "CST-8", "days": 3, "habits": {"weekday": {"bedtime": "00:30"},
        "charging": {"mode": "night"}, "phonePlace": "holster"},
        "dumps": [{"words": ["-D", "--strategy"], "at": "2026-01-06 03:00"}, {"words": ["-D"]}]})",
        scenario, error))
        << error;
    EXPECT_EQ(scenario.days, 3);
    EXPECT_EQ(scenario.habits.weekday.bedtimeMin, 30);
    EXPECT_EQ(scenario.habits.charging, ChargingHabit::NIGHT);
    EXPECT_EQ(scenario.habits.phonePlace, PhonePlace::HOLSTER);
    ASSERT_EQ(scenario.dumps.size(), 2u);
    EXPECT_EQ(scenario.dumps[0].atMs, 1767639600000); // 2026-01-05 19:00 UTC
    EXPECT_EQ(scenario.dumps[1].atMs, -1);
    EXPECT_EQ(scenario.habits.weekend.bedtimeMin, DefaultScenario().habits.weekend.bedtimeMin);
}

// Every field that the file format holds is documented in the help.
TEST(ScenarioTest, HelpDocumentsEveryField)
{
    const std::string help = SleepsimUsage();
    std::vector<std::pair<std::string, nlohmann::ordered_json>> pending = {
        {"", nlohmann::ordered_json::parse(ScenarioToJson(DefaultScenario()))}};
    while (!pending.empty()) {
        const auto [prefix, node] = pending.back();
        pending.pop_back();
        for (auto it = node.begin(); it != node.end(); ++it) {
            const std::string path = prefix + it.key();
            if (it.value().is_object()) {
                pending.emplace_back(path + ".", it.value());
            } else {
                EXPECT_NE(help.find("  " + path + "\n"), std::string::npos) << path;
            }
        }
    }
}

TEST(CommandLineTest, ScenarioFileErrorsNameTheFileAndTheField)
{
    Emulator::ScopedDataRoot folder;
    const std::string path = folder.Path() + "/bad.json";
    std::ofstream(path) << R"({"habits": {"light": {"nightLux": "dark"}}})";
    std::ostringstream out, err;
    EXPECT_EQ(RunSleepsimCli({"--scenario", path}, out, err), EXIT_BAD_INPUT);
    EXPECT_NE(err.str().find(path + ": field 'habits.light.nightLux'"), std::string::npos) << err.str();
}

// Built-in scenarios, persons of a population and command-line overrides stack in that order.
TEST(CommandLineTest, PicksABuiltinScenarioOrOnePersonOfAPopulation)
{
    std::ostringstream out, err;
    ASSERT_EQ(RunSleepsimCli({"--builtin", "night-shift", "--days", "4", "--print-scenario"}, out, err), EXIT_RUN_OK)
        << err.str();
    const auto shift = nlohmann::json::parse(out.str());
    EXPECT_EQ(shift["name"], "night-shift");
    EXPECT_EQ(shift["habits"]["weekday"]["bedtime"], "08:30");
    EXPECT_EQ(shift["days"], 4);

    std::ostringstream person;
    ASSERT_EQ(
        RunSleepsimCli({"--person", "population:p003", "--seed", "5", "--print-scenario"}, person, err), EXIT_RUN_OK)
        << err.str();
    Scenario base = DefaultScenario();
    Scenario expected = GeneratePopulation(base, 3)[2];
    expected.seed = 5;
    EXPECT_EQ(person.str(), ScenarioToJson(expected));
}

} // namespace
} // namespace OHOS::Sim
