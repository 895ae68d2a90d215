#ifndef SIM_INCLUDE_RUN_FILES_H
#define SIM_INCLUDE_RUN_FILES_H

#include <string>

namespace OHOS::Sim {

// The files a run writes into its output folder. The run writes them; the report, the population
// page and the kept-outputs step read them back.
inline const std::string TIMELINE_FILE = "timeline.jsonl";
inline const std::string TRACE_FILE = "trace.jsonl";
inline const std::string SUMMARY_FILE = "summary.txt";
inline const std::string METRICS_FILE = "metrics.json";
inline const std::string SCENARIO_FILE = "scenario.json";
inline const std::string LOG_FILE = "sleepsim.log";
inline const std::string DATA_DIR = "data";

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_RUN_FILES_H
