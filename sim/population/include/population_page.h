#ifndef SIM_INCLUDE_POPULATION_PAGE_H
#define SIM_INCLUDE_POPULATION_PAGE_H

#include <string>
#include <vector>

namespace OHOS::Sim {

// The names of the person folders of a population output (<dir>/persons/<name>/), sorted.
std::vector<std::string> PopulationPersons(const std::string& dir);

// Writes <dir>/report.html for a population: its metrics (<dir>/metrics.json), histograms of onset
// latency and coverage per rule over all nights, and one row per person, worst first (lowest mean
// plug-in coverage, then most missed nights), linking to the person's page when it exists.
bool WritePopulationReport(const std::string& dir, std::string& error);

// Builds <outDir>/report.html for any output folder: a population's page (see above) or a single
// run's (WriteRunReport). False with an error naming the missing or bad file; for a lean single-run
// folder, with the command that restores what its page is drawn from.
bool WriteReport(const std::string& outDir, std::string& error);

// Like WriteReport, and for a population rebuilds every person's page first, except that a lean
// person's folder (see KeepOutputs) keeps the page its run wrote.
bool RebuildReports(const std::string& outDir, std::string& error);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_POPULATION_PAGE_H
