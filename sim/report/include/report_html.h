#ifndef SIM_INCLUDE_REPORT_HTML_H
#define SIM_INCLUDE_REPORT_HTML_H

#include <string>

namespace OHOS::Sim {

class RunDigest;

inline const std::string REPORT_FILE = "report.html";
// The folder of a population output that holds one single-run folder per person.
inline const std::string PERSONS_DIR = "persons";

// Builds <runDir>/report.html, one self-contained page (inline CSS and SVG, nothing fetched), from
// the files of a finished single run (trace.jsonl, timeline.jsonl, scenario.json, and metrics.json
// when present): the run's metrics, the plug-in beside the yardstick rules, then a picture of every
// night. With `runRead`, the trace and timeline lines it holds (see RunDigest) stand in for the
// files. Restores the process time zone it found. False with an error naming the missing or bad file.
bool WriteRunReport(const std::string& runDir, std::string& error, RunDigest* runRead = nullptr);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_REPORT_HTML_H
