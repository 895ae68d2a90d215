#ifndef SIM_INCLUDE_REPORT_HTML_H
#define SIM_INCLUDE_REPORT_HTML_H

#include <string>

namespace OHOS::Sim {

class RunDigest;

inline const std::string REPORT_FILE = "report.html";

// Builds <outDir>/report.html, one self-contained page (inline CSS and SVG, nothing fetched), from
// the files of a finished output folder:
// - a single run (trace.jsonl, timeline.jsonl, scenario.json, and metrics.json when present): the
//   run's metrics, the plug-in beside the yardstick rules, then a picture of every night;
// - a population (persons/<name>/ single-run folders and metrics.json): the distributions of
//   onset latency and coverage per rule and one row per person, worst first, linking to the
//   person's own page (written by the person's run).
// Restores the process time zone it found. False with an error naming the missing or bad file.
bool WriteReport(const std::string& outDir, std::string& error);

// WriteReport for a single run whose trace and timeline lines `runRead` holds (see RunDigest).
bool WriteRunReport(const std::string& runDir, RunDigest& runRead, std::string& error);

// Like WriteReport, and for a population rebuilds every person's page first.
bool RebuildReports(const std::string& outDir, std::string& error);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_REPORT_HTML_H
