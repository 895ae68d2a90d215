#ifndef SIM_INCLUDE_SCENARIO_FAULTS_H
#define SIM_INCLUDE_SCENARIO_FAULTS_H

#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "trace.h"

namespace OHOS::Sim {

// Timeline entry type of an applied fault: {"type": "fault", "kind": "...", ...}.
inline const std::string TIMELINE_FAULT = "fault";

// Something going wrong during a run, from the scenario's "faults" list. Every fault has a local
// time `at` ("YYYY-MM-DD HH:MM") and a kind; the other fields belong to some kinds only:
//   service_restart                      the standby service restarts (strategy destroyed, new one created)
//   user_switch        user              another user comes to the foreground
//   clock_set          minutes           the wall clock is set forward (> 0) or back (< 0)
//   time_zone          zone              the time zone changes (zoneinfo name or POSIX TZ)
//   notification_flood count, minutes, app   `count` notifications spread over `minutes`
//   unlock_flood       count, minutes    `count` screen-on, unlock, screen-off uses over `minutes`
//   never_charged                        from `at` on the phone is never on the charger
//   always_charging                      from `at` on the phone stays on the charger
//   sensors_silent     until             active sensors deliver no samples until `until` (or the end)
//   platform_fault     class, nth, persistent, until
//                                        the nth call of a platform fault class (platform_faults.h)
//                                        fails, with `persistent` every later one, until `until`
struct ScenarioFault {
    std::string at; // local time as written
    std::string kind;
    int64_t user = 101;
    int64_t minutes = 0;
    int64_t count = 0;
    std::string zone;
    std::string app = "com.example.flood";
    std::string faultClass;
    int64_t nth = 1;
    bool persistent = false;
    std::string until; // empty: to the end of the run
};

// Reads the scenario's "faults" value; on failure returns false with a message naming the field.
bool ReadScenarioFaults(const nlohmann::ordered_json& value, std::vector<ScenarioFault>& faults, std::string& error);
// Whether every fault happens within the run from `startMs` to `endMs`; false with a message naming
// the first that does not.
bool CheckScenarioFaultTimes(
    const std::vector<ScenarioFault>& faults, int64_t startMs, int64_t endMs, std::string& error);
// The faults in the scenario file format.
nlohmann::ordered_json ScenarioFaultsToJson(const std::vector<ScenarioFault>& faults);
// The help text of the "faults" field.
std::string ScenarioFaultsHelp();

// Turns the faults into trace events, with local times resolved in the process's time zone (faults
// outside the run are left out, and so are fault events past its end): adds
// events (fault markers, floods), drops the charger events the charging faults rule out, and for a
// clock set moves every later event and night by the change, so the trace stays in the phone's
// clock order.
void ApplyScenarioFaults(const std::vector<ScenarioFault>& faults, Trace& trace);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_SCENARIO_FAULTS_H
