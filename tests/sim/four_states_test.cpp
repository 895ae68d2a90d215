// The built-in "four-states" scenario makes the plug-in publish each of its four sleep states.
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "builtin_scenarios.h"
#include "data_root.h"
#include "scenario.h"
#include "sim_driver.h"
#include "timeline.h"

namespace OHOS::Sim {
namespace {

const std::string kDeep = "COMMON_EVENT_USER_SLEEP_STATE_CHANGED";
const std::string kLight = "common.event.USER_LIGHT_SLEEP_STATE_CHANGED";
const std::string kEasyWakeup = "common.event.USER_EASY_WAKEUP_SLP_STATE_CHANGED";
const std::string kNotCareCharge = "common.event.USER_NOT_CARE_CHARGE_SLEEP";
constexpr int32_t kLightSleepMessage = 2004;

struct Counts {
    std::map<std::string, int32_t> starts; // by action: events with isSleep true
    std::map<std::string, int32_t> stops;
    int32_t lightSleepMessages = 0;
};

Counts CountStates(const std::string& timelinePath)
{
    Counts counts;
    std::ifstream in(timelinePath);
    for (std::string text; std::getline(in, text);) {
        const auto line = nlohmann::json::parse(text);
        if (line["type"] == TIMELINE_COMMON_EVENT) {
            const auto& want = line["want"];
            auto& count = want["params"].value("isSleep", false) ? counts.starts : counts.stops;
            ++count[want.value("action", "")];
        } else if (line["type"] == TIMELINE_HOST_MESSAGE && line.value("id", 0) == kLightSleepMessage) {
            ++counts.lightSleepMessages;
        }
    }
    return counts;
}

TEST(FourStatesScenarioTest, EachPublishedStateStartsAndEnds)
{
    Scenario scenario = DefaultScenario();
    std::string error;
    ASSERT_TRUE(ApplyBuiltinScenario("four-states", scenario, error)) << error;
    Emulator::ScopedDataRoot folder;
    const std::string outDir = folder.Path() + "/out";
    const pid_t child = fork(); // the platform's singletons are per process
    if (child == 0) {
        SimOptions options;
        options.outDir = outDir;
        _exit(RunSimulation(scenario, options).ok ? 0 : 1);
    }
    int status = 0;
    ASSERT_TRUE(child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0);

    const Counts counts = CountStates(outDir + "/" + TIMELINE_FILE);
    for (const std::string& action : {kDeep, kLight, kEasyWakeup, kNotCareCharge}) {
        SCOPED_TRACE(action);
        EXPECT_GE(counts.starts.count(action) ? counts.starts.at(action) : 0, 1);
        EXPECT_GE(counts.stops.count(action) ? counts.stops.at(action) : 0, 1);
    }
    EXPECT_GE(counts.lightSleepMessages, 1);
}

} // namespace
} // namespace OHOS::Sim
