#ifndef SIM_INCLUDE_RECORDED_SCHEDULES_H
#define SIM_INCLUDE_RECORDED_SCHEDULES_H

#include <string>
#include <vector>

#include "scenario.h"

namespace OHOS::Sim {

// Reads recorded nights in the globem-nights.csv format (a header line naming at least pid, date,
// bedtime_min, waketime_min, awake_min, night_unlocks, night_unlock_min and
// first_unlock_after_midnight_min; one row per person and wake date; empty cells are missing) and
// turns each participant, in order of first appearance, into a person on top of `base`: named after
// the pid, running from the evening before the first recorded date to the last one, every night
// following its row. Missing values, nights shorter than 2 or longer than 16 hours, and dates
// without a row take the person's own medians. The person has no alarm and no awakenings besides
// the recorded ones (docs/recorded-nights.md says how a row becomes a night).
// On failure returns false with the file, line and column of the bad value in `error`.
bool LoadPersonsFromCsv(
    const std::string& path, const Scenario& base, std::vector<Scenario>& persons, std::string& error);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_RECORDED_SCHEDULES_H
