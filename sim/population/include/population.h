#ifndef SIM_INCLUDE_POPULATION_H
#define SIM_INCLUDE_POPULATION_H

#include <cstdint>
#include <string>
#include <vector>

#include "scenario.h"

namespace OHOS::Sim {

// Draws `count` varied persons from `base.seed`, named "p001", "p002", ...: regular, early and late
// chronotypes, irregular sleepers, night-shift and afternoon day sleepers, and light sleepers who
// reach for the phone at night, each with their own phone place, charging habit, night
// notifications and calls, messages on waking and time zone (some starting just before a
// daylight-saving change). Everything else, including the number of days, comes from `base`.
// The same base and count give the same persons; person i does not depend on `count`.
std::vector<Scenario> GeneratePopulation(const Scenario& base, int32_t count);

// Reads a JSON list of persons, each a scenario object applied on top of `base`. A person without
// a name is called "p001", "p002", ... by position. On failure returns false and names the file,
// the person's index and the field in `error`.
bool LoadPopulationFile(
    const std::string& path, const Scenario& base, std::vector<Scenario>& persons, std::string& error);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_POPULATION_H
