// A 14-day run of the whole system: the published sleep states obey their rules, and two runs
// with one seed produce identical outputs.
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "data_root.h"
#include "local_calendar.h"
#include "night_summary.h"
#include "scenario.h"
#include "sim_driver.h"
#include "test_files.h"

namespace OHOS::Sim {
namespace {

using Emulator::ReadFile;

constexpr double kDayBeginHour = 7.83;
constexpr double kDayEndHour = 21.0;
const std::string kScreenOn = "usual.event.SCREEN_ON";
const std::string kScreenOff = "usual.event.SCREEN_OFF";

Scenario FourteenDays()
{
    Scenario scenario = DefaultScenario();
    scenario.days = 14;
    scenario.seed = 11;
    return scenario;
}

// Runs the simulation in a child process (the platform's singletons are per process) and
// returns whether it succeeded.
bool RunInChild(const Scenario& scenario, const std::string& outDir)
{
    const pid_t child = fork();
    if (child == 0) {
        SimOptions options;
        options.outDir = outDir;
        options.endDumpWords = {"-D", "--strategy"};
        _exit(RunSimulation(scenario, options).ok ? 0 : 1);
    }
    int status = 0;
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

std::vector<nlohmann::json> ReadTimeline(const std::string& outDir)
{
    std::vector<nlohmann::json> lines;
    std::istringstream in(ReadFile(outDir + "/" + TIMELINE_FILE));
    for (std::string line; std::getline(in, line);) {
        lines.push_back(nlohmann::json::parse(line));
    }
    return lines;
}

// The published states and the screen, replayed from the timeline.
struct PublishedStates {
    std::map<std::string, bool> on; // by event action
    bool screenOff = false;
};

bool IsSleepStart(const nlohmann::json& line)
{
    return line["type"] == TIMELINE_COMMON_EVENT && line["want"]["params"].value("isSleep", false);
}

class ScenarioRunTest : public testing::Test {
protected:
    void SetUp() override { SetProcessTimeZone(FourteenDays().timeZone); }
    Emulator::ScopedDataRoot folder_;
};

TEST_F(ScenarioRunTest, PublishedSleepStatesKeepTheirRules)
{
    const std::string out = folder_.Path() + "/run";
    ASSERT_TRUE(RunInChild(FourteenDays(), out));
    const auto lines = ReadTimeline(out);
    ASSERT_FALSE(lines.empty());
    PublishedStates states;
    int32_t starts = 0;
    int32_t trainings = 0;
    for (const auto& line : lines) {
        SCOPED_TRACE(line.dump());
        if (line["type"] == TIMELINE_HOST_MESSAGE) {
            trainings += line["id"] == TRAINING_FINISHED_MESSAGE ? 1 : 0;
            states.screenOff =
                line["action"] == kScreenOff ? true : (line["action"] == kScreenOn ? false : states.screenOff);
            continue;
        }
        if (line["type"] != TIMELINE_COMMON_EVENT) {
            continue;
        }
        const std::string action = line["action"];
        const bool start = IsSleepStart(line);
        EXPECT_TRUE(line["restricted"].get<bool>()) << "published without the permission";
        EXPECT_NE(states.on[action], start) << "a start must follow a stop and a stop a start";
        states.on[action] = start;
        EXPECT_FALSE(states.on[DEEP_SLEEP_EVENT] && states.on[LIGHT_SLEEP_EVENT]);
        if (start) {
            ++starts;
            const double hour = LocalHourOf(line["t"].get<int64_t>());
            EXPECT_TRUE(hour < kDayBeginHour || hour > kDayEndHour) << "started in day time";
            EXPECT_TRUE(states.screenOff) << "started with the screen on";
        }
    }
    for (const auto& [action, on] : states.on) {
        EXPECT_FALSE(on) << action << " never stopped";
    }
    EXPECT_GT(starts, 0);
    EXPECT_GT(trainings, 0);
    EXPECT_NE(ReadFile(out + "/" + SUMMARY_FILE).find("2026-01-19"), std::string::npos);
}

TEST_F(ScenarioRunTest, DumpsAreAnsweredAtTheirTimes)
{
    Scenario scenario = FourteenDays();
    std::string error;
    ASSERT_TRUE(ParseScenario(R"({"days": 2, "dumps": [{"words": ["-S", "--strategy", "-RT", "--Sleep", "into"],
        "at": "2026-01-06 02:00"}]})",
        scenario, error))
        << error;
    const std::string out = folder_.Path() + "/dumps";
    ASSERT_TRUE(RunInChild(scenario, out));
    std::vector<nlohmann::json> dumps;
    for (const auto& line : ReadTimeline(out)) {
        if (line["type"] == TIMELINE_DUMP) {
            dumps.push_back(line);
        }
    }
    ASSERT_EQ(dumps.size(), 2u);
    EXPECT_EQ(dumps[0]["time"], "2026-01-06 02:00:00.000");
    EXPECT_NE(dumps[0]["answer"].get<std::string>().find("start slp\n"), std::string::npos) << dumps[0].dump();
    EXPECT_EQ(dumps[1]["time"], "2026-01-07 12:00:00.000");
    EXPECT_EQ(dumps[1]["answer"], "\n\n=================UserSleepStrategy=========================\n");
}

// Training waits for more than 5 minutes of screen-off, checked exactly 5 minutes after the screen
// went off: only the phone's handling time of the screen-off event lets it start.
TEST_F(ScenarioRunTest, TrainingNeedsTheHandlingTimeOfEvents)
{
    for (const int32_t latencyMs : {0, 1}) {
        Scenario scenario = FourteenDays();
        scenario.days = 3;
        scenario.eventLatencyMs = latencyMs;
        const std::string out = folder_.Path() + "/latency" + std::to_string(latencyMs);
        ASSERT_TRUE(RunInChild(scenario, out));
        int32_t trainings = 0;
        for (const auto& line : ReadTimeline(out)) {
            trainings += line["type"] == TIMELINE_HOST_MESSAGE && line["id"] == TRAINING_FINISHED_MESSAGE ? 1 : 0;
        }
        EXPECT_EQ(trainings > 0, latencyMs > 0) << "latency " << latencyMs << " ms, " << trainings << " trainings";
    }
}

TEST_F(ScenarioRunTest, SameSeedGivesIdenticalOutputs)
{
    const std::string first = folder_.Path() + "/first";
    const std::string second = folder_.Path() + "/second";
    ASSERT_TRUE(RunInChild(FourteenDays(), first));
    ASSERT_TRUE(RunInChild(FourteenDays(), second));
    for (const std::string& file : {TIMELINE_FILE, TRACE_FILE, SUMMARY_FILE, METRICS_FILE, SCENARIO_FILE, LOG_FILE,
             DATA_DIR + "/data/log/hisysevent/sys_event.jsonl",
             DATA_DIR + "/data/service/el1/public/device_standby/sleep_shared_pref.xml"}) {
        const std::string a = ReadFile(first + "/" + file);
        EXPECT_FALSE(a.empty()) << file;
        EXPECT_TRUE(a == ReadFile(second + "/" + file)) << file << " differs";
    }
}

} // namespace
} // namespace OHOS::Sim
