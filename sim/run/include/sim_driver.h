#ifndef SIM_INCLUDE_SIM_DRIVER_H
#define SIM_INCLUDE_SIM_DRIVER_H

#include <atomic>
#include <ostream>
#include <string>
#include <vector>

#include "night_metrics.h"
#include "night_summary.h"
#include "run_files.h"
#include "scenario.h"
#include "trace.h"

namespace OHOS::Sim {

struct SimOptions {
    std::string outDir = "sleepsim-out";
    // Dump words passed to the plug-in at the end of the run, besides the scenario's own requests.
    std::vector<std::string> endDumpWords;
    // Where a progress line goes on runs that take more than a few seconds; nullptr for none.
    std::ostream* progress = nullptr;
    // Writes the run's SQLite stores and preferences files without syncing them to disk (see
    // Emulator::SetStorageSyncEnabled): the same files, much less waiting. For population runs
    // whose data folders are not kept for their durability.
    bool noSync = false;
    // Kept at the number of nights replayed so far, for a parent process showing the progress of
    // several runs (may live in memory shared across processes); nullptr for none.
    std::atomic<int64_t>* nightsDone = nullptr;
};

struct DumpAnswer {
    int64_t atMs = 0;
    std::vector<std::string> words;
    std::string answer;
};

struct SimResult {
    bool ok = false;
    std::string error; // why the run could not start or its outputs could not be written
    std::vector<NightReport> nights;
    std::vector<DumpAnswer> dumps;
    RunMetrics metrics; // the plug-in and the yardstick rules against the truth
};

// Output files inside SimOptions::outDir: see run_files.h.

// Runs one scenario end to end on virtual time: generates the person's trace, installs a virtual
// clock and handler for the host, the simulated phone and the notification service, sets the time
// zone and the data root (<outDir>/data, emptied first), creates and registers the plug-in's
// strategy, replays the trace (waiting for training threads before time moves), answers the dump
// requests and writes the timeline, trace, scenario, summary, metrics and log into outDir.
// Uses the process-wide platform singletons: run one simulation per process.
SimResult RunSimulation(const Scenario& scenario, const SimOptions& options);

// The same with a trace already built (generated, or read back by ParseTraceFile): what
// RunSimulation does after GenerateTrace. The timeline is written to its file during the run; only
// the lines the summaries need stay in memory.
SimResult RunTrace(const Scenario& scenario, const Trace& trace, const SimOptions& options);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_SIM_DRIVER_H
