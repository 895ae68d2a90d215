#include "builtin_scenarios.h"

#include <algorithm>
#include <sstream>

namespace OHOS::Sim {

const std::vector<BuiltinScenario>& BuiltinScenarios()
{
    static const std::vector<BuiltinScenario> scenarios = {
        {"four-states",
            "10 nights in which the plug-in publishes each of its four sleep states: an early riser whose alarm "
            "is set late and who reads a message on waking (light sleep starts once the plug-in has learned a week of "
            "wake-up times), with a tester's "
            "dump command forcing sleep on one night (not-care-charge)",
            R"({
  "name": "four-states",
  "startDate": "2026-01-05",
  "days": 10,
  "habits": {
    "weekday": {"wakeTime": "06:00", "wakeSpreadMin": 25},
    "weekend": {"wakeTime": "06:30", "wakeSpreadMin": 25},
    "alarm": {"time": "07:30"},
    "notifications": {"onWakeChance": 1}
  },
  "dumps": [
    {"words": ["-S", "--strategy", "-RT", "--Sleep", "into"], "at": "2026-01-08 02:00"},
    {"words": ["-S", "--strategy", "-RT", "--Sleep", "exit"], "at": "2026-01-08 04:00"}
  ]
})"},
        {"night-shift",
            "a night-shift worker who sleeps by day, 08:30 to 15:30, with the phone charging beside the bed",
            R"({
  "name": "night-shift",
  "habits": {
    "weekday": {"bedtime": "08:30", "wakeTime": "15:30"},
    "weekend": {"bedtime": "09:00", "wakeTime": "16:30"},
    "alarm": {"weekdays": false},
    "charging": {"mode": "night"},
    "light": {"nightLux": 2}
  }
})"},
        {"late-sleeper", "a late chronotype: bed near 02:30 and up near noon, later at weekends, no alarm",
            R"({
  "name": "late-sleeper",
  "habits": {
    "weekday": {"bedtime": "02:30", "wakeTime": "11:45"},
    "weekend": {"bedtime": "03:30", "wakeTime": "13:00"},
    "alarm": {"weekdays": false},
    "charging": {"start": "14:00"}
  }
})"},
    };
    return scenarios;
}

std::string BuiltinScenarioHelp()
{
    constexpr size_t kWidth = 92;
    std::string help;
    for (const BuiltinScenario& builtin : BuiltinScenarios()) {
        help += "  " + builtin.name + "\n";
        std::istringstream words(builtin.description);
        std::string line = "     ";
        for (std::string word; words >> word;) {
            if (line.size() + 1 + word.size() > kWidth) {
                help += line + "\n";
                line = "     ";
            }
            line += " " + word;
        }
        help += line + ".\n";
    }
    return help;
}

bool ApplyBuiltinScenario(const std::string& name, Scenario& scenario, std::string& error)
{
    const auto& scenarios = BuiltinScenarios();
    const auto found = std::find_if(
        scenarios.begin(), scenarios.end(), [&name](const BuiltinScenario& builtin) { return builtin.name == name; });
    if (found == scenarios.end()) {
        error = "no built-in scenario '" + name + "' (known:";
        for (const BuiltinScenario& builtin : scenarios) {
            error += " " + builtin.name;
        }
        error += ")";
        return false;
    }
    if (!ParseScenario(found->json, scenario, error)) {
        error = "built-in scenario '" + name + "': " + error;
        return false;
    }
    return true;
}

} // namespace OHOS::Sim
