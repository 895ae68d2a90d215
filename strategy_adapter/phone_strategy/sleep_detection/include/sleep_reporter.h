#ifndef SLEEP_DETECTION_INCLUDE_SLEEP_REPORTER_H
#define SLEEP_DETECTION_INCLUDE_SLEEP_REPORTER_H

#include <cstdint>
#include <vector>

#include "sleep_table.h"

namespace OHOS::DevStandbyMgr {

// Publishes the plug-in's statistics as system events of the RSS domain, each through the
// platform's rate-limited write path. Stateless; a failed or limited write is logged and the next
// record goes on. An empty input writes nothing.
class SleepReporter {
public:
    // One "SLEEP_KEY_FEATURE" event per stored observation.
    static void ReportSleepEnvironment(const std::vector<SleepEnvironment>& environments);
    // One "SLEEP_DURATION" event per sleep episode.
    static void ReportSleepDuration(const std::vector<SleepDurationRecord>& durations);
    // One "SLEEP_PARAMETERS" event: the parameters row and the learned time and ambient tables as lists.
    static void ReportSleepParameters(const SleepParameter& parameter,
        const std::vector<SleepProbability>& probabilities,
        const std::vector<SleepAmbientProbability>& ambientProbabilities);
    // One "SLEEP_KEY_INFO" event per stored observation, with its quantised durations and light.
    static void ReportQuantifySleepData(const std::vector<SleepEnvironment>& environments);
    // One "POWER_BRAIN_STATE" behaviour event.
    static void WritePowerBrainStateHiSysEvent(int32_t type, int32_t value, int64_t time);
};

} // namespace OHOS::DevStandbyMgr

#endif // SLEEP_DETECTION_INCLUDE_SLEEP_REPORTER_H
