#ifndef SIM_INCLUDE_BUILTIN_SCENARIOS_H
#define SIM_INCLUDE_BUILTIN_SCENARIOS_H

#include <string>
#include <vector>

#include "scenario.h"

namespace OHOS::Sim {

// A scenario that ships with sleepsim, chosen by name (sleepsim --builtin NAME).
struct BuiltinScenario {
    std::string name;
    std::string description; // one line for --help
    std::string json;        // the scenario fields that differ from the defaults
};

const std::vector<BuiltinScenario>& BuiltinScenarios();

// Each built-in scenario's name and description, for --help.
std::string BuiltinScenarioHelp();

// Applies the built-in scenario `name` on top of `scenario`; false with a message listing the
// known names when there is no such scenario.
bool ApplyBuiltinScenario(const std::string& name, Scenario& scenario, std::string& error);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_BUILTIN_SCENARIOS_H
